// Standard output or a file, whole or not at all.
#pragma once

#include "apps/qn/support.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

namespace qn {

// Where the calendar goes. A file is written beside its name and renamed, so that a failure leaves the old one whole. No
// name, or "-", is standard output; what is no plain file, a pipe say, is written as it stands.
class Output {
public:
    explicit Output(const std::string& name) : m_name(name) {
        if (m_name.empty() || m_name == "-") return;
        std::error_code error;
        m_beside = !std::filesystem::exists(m_name, error) || std::filesystem::is_regular_file(m_name, error);
        m_file = std::fopen((m_beside ? m_name + ".part" : m_name).c_str(), "wb");
        if (!m_file) throw Failure(m_name + ": " + std::strerror(errno));
    }
    ~Output() {
        if (!m_file) return;
        std::fclose(m_file);
        if (m_beside) std::remove((m_name + ".part").c_str());
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), m_file ? m_file : stdout) != text.size()) Fail();
    }
    void Finish() {
        if (!m_file) {
            if (std::fflush(stdout) != 0) Fail();
            return;
        }
        const bool flushed = std::fflush(m_file) == 0 && (!m_beside || fsync(fileno(m_file)) == 0);
        const bool closed = std::fclose(std::exchange(m_file, nullptr)) == 0 && flushed;
        std::error_code error;
        if (m_beside && closed) std::filesystem::rename(m_name + ".part", m_name, error);
        if (m_beside && (!closed || error)) std::remove((m_name + ".part").c_str());
        if (!closed || error) throw Failure(m_name + ": can't be written");
    }

private:
    [[noreturn]] void Fail() {
        throw Failure((m_name.empty() ? "standard output" : m_name) + ": " + std::strerror(errno));
    }

    std::string m_name;
    FILE* m_file = nullptr;
    bool m_beside = false;
};

} // namespace qn
