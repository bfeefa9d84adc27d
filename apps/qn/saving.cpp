#include "apps/qn/saving.h"

#include "Platform/databases.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace qn {

void Check(HRESULT result) {
    if (FAILED(result)) throw SaveFailed{result};
}

std::string WhyNotSaved(const SaveFailed& failed) {
    if (failed.result == static_cast<HRESULT>(0x80070000 | ERROR_DISK_FULL))
        throw StoreFailure("the disk is full");
    return "can't be saved: " + Reason(failed.result);
}

CEPROPVAL TextProperty(CEPROPID id, std::u16string& text) {
    CEPROPVAL value{};
    value.propid = id;
    value.val.lpwstr = text.data();
    if (text.empty()) value.wFlags = CEDB_PROPDELETE;
    return value;
}

void SetText(const Com<IItem>& item, CEPROPID property, const std::string& text) {
    std::u16string wide = Utf16(text);
    const CEPROPVAL value = TextProperty(property, wide);
    Check(item->SetProps(0, 1, &value));
}

std::string CategoryNames::Join(const std::vector<std::string>& names, unsigned& leftOut) {
    constexpr std::size_t kMostNames = 1000;
    std::string text;
    for (const std::string& name : names) {
        if (m_names.size() < kMostNames) m_names.insert(name);
        if (m_names.contains(name))
            text += (text.empty() ? "" : ", ") + name;
        else
            ++leftOut;
    }
    return text;
}

// --- Transactions and progress --------------------------------------------------------------------------------------

Batch::Batch(IPOutlookApp2* app) : m_app(app) {
    const HRESULT begun = PlatBeginItemBatch(app);
    if (FAILED(begun)) throw StoreFailure("the store can't be written: " + Reason(begun));
    m_open = true;
}

Batch::~Batch() {
    if (m_open) PlatEndItemBatch(m_app, false);
}

void Batch::Commit() {
    m_open = false;
    const HRESULT done = PlatEndItemBatch(m_app, true);
    if (FAILED(done)) throw StoreFailure("the store can't be written: " + Reason(done));
}

Progress::Progress(bool wanted) : m_on(wanted && isatty(STDERR_FILENO)) {}

void Progress::Show(const char* what, std::size_t done, std::size_t all) {
    const unsigned percent = all ? static_cast<unsigned>(std::min(done, all) * 100 / all) : 100;
    if (!m_on || (m_drawn && percent == m_percent && what == m_what)) return;
    constexpr unsigned kWidth = 40;
    const unsigned filled = percent * kWidth / 100;
    std::fprintf(stderr, "\r%-8s [%s%s] %3u%%", what, std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, ' ').c_str(), percent);
    m_drawn = true;
    m_percent = percent;
    m_what = what;
}

void Progress::Clear() {
    if (m_drawn) std::fputs("\r\033[K", stderr);
    m_drawn = false;
}

// --- Files --------------------------------------------------------------------------------------------------------

// Blocks of another stream; what is in the present one can be looked at.
class InputFile::Buffer : public std::streambuf {
public:
    Buffer(std::istream& from, const std::string& name) : m_from(from), m_name(name), m_bytes(1 << 16) {}
    std::string_view Look() {
        if (gptr() == egptr()) underflow();
        return {gptr(), egptr()};
    }

protected:
    int underflow() override {
        m_from.read(m_bytes.data(), static_cast<std::streamsize>(m_bytes.size()));
        if (m_from.bad()) throw Failure(m_name + ": can't be read: " + std::strerror(errno));
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_from.gcount());
        return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

private:
    std::istream& m_from;
    const std::string& m_name;
    std::vector<char> m_bytes;
};

InputFile::InputFile(const std::string& name) : m_shown(name), m_stream(nullptr) {
    std::istream* from = &std::cin;
    std::error_code error;
    if (name == "-") {
        m_shown = "standard input";
    } else {
        if (std::filesystem::is_directory(name, error)) throw Failure(name + ": is a folder");
        m_file = std::make_unique<std::ifstream>(name, std::ios::binary);
        if (!*m_file) throw Failure(name + ": " + std::strerror(errno));
        const auto size = std::filesystem::file_size(name, error); // a pipe has none
        m_size = error ? 0 : size;
        from = m_file.get();
    }
    m_buffer = std::make_unique<Buffer>(*from, m_shown);
    m_stream.rdbuf(m_buffer.get());
}

InputFile::~InputFile() = default;

std::string_view InputFile::Head() { return m_buffer->Look(); }

// --- The summary --------------------------------------------------------------------------------------------------

void PrintCount(unsigned number, const char* noun, const char* one, const char* many) {
    if (number) std::printf("  %s\n", Plural(number, noun, number == 1 ? one : many).c_str());
}

} // namespace qn
