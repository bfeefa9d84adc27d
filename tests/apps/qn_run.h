// The command line as a person uses it: the program as a child, in a device folder of its own, with a zone and a locale.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

struct Ran {
    int code = -1;
    std::string out;
    std::string err;
    bool Says(const std::string& text) const { return (out + err).find(text) != std::string::npos; }
};

// One line of `agenda --json` or `list --json`: texts as they are, everything else as it is written.
using JsonRecord = std::map<std::string, std::string>;

class QnTest : public ::testing::Test {
protected:
    QnTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qnapp-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        m_device = m_folder + "/device";
    }
    ~QnTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    Ran Qn(const std::vector<std::string>& words) const {
        std::string command = "cd " + Quoted(m_folder) + " && env -u QN_DEVICE TZ=" + Quoted(m_zone) +
                              " LC_ALL=" + Quoted(m_locale) + " " + Quoted(QN_PROGRAM);
        if (!m_device.empty()) command += " --device " + Quoted(m_device);
        for (const std::string& word : words) command += " " + Quoted(word);
        return Shell(m_before + command + m_redirect);
    }
    // Writes the components into a calendar file and imports it.
    Ran Import(const std::string& components, const std::string& name = "in.ics") const {
        Write(name, Calendar(components));
        return Qn({"import", name});
    }
    static std::string Calendar(const std::string& components) {
        return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + components + "END:VCALENDAR\r\n";
    }
    static std::string Event(const std::string& uid, const std::string& lines) {
        return "BEGIN:VEVENT\r\nUID:" + uid + "\r\n" + lines + "\r\nEND:VEVENT\r\n";
    }
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(m_folder + "/" + name, std::ios::binary) << bytes;
        return name;
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(m_folder + "/" + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // The lines of the day list but the headers.
    std::vector<JsonRecord> Agenda(const std::string& from, int days,
                                   std::vector<std::string> more = {}) const {
        more.insert(more.begin(),
                    {"agenda", "--json", "--no-headers", "--from", from, "--days", std::to_string(days)});
        const Ran ran = Qn(more);
        EXPECT_EQ(ran.code, 0) << ran.err;
        return Records(ran.out);
    }
    // "2026-12-01 10:00-11:00 Subject", one for each line; "all day" for all-day ones.
    std::vector<std::string> Lines(const std::string& from, int days,
                                   const std::vector<std::string>& more = {}) const {
        std::vector<std::string> lines;
        for (JsonRecord& record : Agenda(from, days, more))
            lines.push_back(record["day"] + " " +
                            (record["allday"] == "true"
                                 ? "all day"
                                 : record["start"].substr(11, 5) + "-" + record["end"].substr(11, 5)) +
                            " " + record["subject"]);
        return lines;
    }

    static std::vector<JsonRecord> Records(const std::string& text) {
        std::vector<JsonRecord> records;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            records.push_back(Record(text.substr(at, end - at)));
            at = end + 1;
        }
        return records;
    }

    std::string m_folder;
    std::string m_device;
    std::string m_zone = "Europe/Berlin";
    std::string m_locale = "en_US.UTF-8";
    std::string m_before; // of the shell, before the program starts
    std::string m_redirect;

private:
    static std::string Quoted(const std::string& word) {
        std::string quoted = "'";
        for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
        return quoted + "'";
    }
    Ran Shell(const std::string& command) const {
        const bool ownOut = m_redirect.find('>') != std::string::npos;
        const std::string line = "(" + command + ")" + (ownOut ? "" : " >" + Quoted(m_folder + "/.out")) +
                                 " 2>" + Quoted(m_folder + "/.err");
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ownOut ? "" : Read(".out"), Read(".err")};
    }

    // A flat object, arrays kept as written.
    static JsonRecord Record(const std::string& line) {
        JsonRecord record;
        std::size_t at = 1;
        while (at < line.size() && line[at] == '"') {
            const std::string name = Text(line, at);
            ++at; // the colon
            record[name] = line[at] == '"' ? Text(line, at) : Bare(line, at);
            ++at; // the comma or the end
        }
        EXPECT_TRUE(line.ends_with('}') && at == line.size()) << line;
        return record;
    }
    static std::string Text(const std::string& line, std::size_t& at) {
        std::string text;
        for (++at; at < line.size() && line[at] != '"'; ++at) {
            if (line[at] != '\\') {
                text += line[at];
                continue;
            }
            const char escaped = line[++at];
            text += escaped == 'n' ? '\n' : escaped == 't' ? '\t' : escaped == 'r' ? '\r' : escaped;
        }
        ++at;
        return text;
    }
    static std::string Bare(const std::string& line, std::size_t& at) {
        const std::size_t begin = at;
        for (int depth = 0; at < line.size(); ++at) {
            if (line[at] == '[') ++depth;
            if (line[at] == ']') --depth;
            if (depth == 0 && (line[at] == ',' || line[at] == '}')) break;
        }
        return line.substr(begin, at - begin);
    }
};

using LineList = std::vector<std::string>;
