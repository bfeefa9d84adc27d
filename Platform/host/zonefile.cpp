// Zone files of the system's database: the compiled form of RFC 8536 with its footer, a POSIX TZ rule.
#include "Platform/host/zonedata.h"

#include "Platform/civil.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

namespace plat {

namespace {

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr std::size_t kMostFileBytes = 1 << 20;

std::int64_t UnixDay(int year, int month, int day) {
    return civil::DaysFromCivil(year, month, day) - civil::kDaysTo1970;
}

// --- The footer -----------------------------------------------------------------------------------------------------

// One of the two dates of a POSIX rule.
struct FooterDate {
    enum class Form { Weekday, DayWithoutLeap, DayOfYear } form = Form::Weekday;
    int month = 0; // Weekday form: month, week (5 the last), weekday
    int week = 0;
    int day = 0; // weekday, or the day of the year
    int second = 2 * 3600;

    std::int64_t WallIn(int year) const {
        switch (form) {
        case Form::Weekday:
            return WeekdayIn(year) * kSecondsPerDay + second;
        case Form::DayWithoutLeap: // 1 to 365; 29 February is never counted
            return (UnixDay(year, 1, day) + (civil::IsLeapYear(year) && day > 59)) * kSecondsPerDay + second;
        case Form::DayOfYear:
            break;
        }
        return UnixDay(year, 1, day + 1) * kSecondsPerDay + second;
    }

private:
    std::int64_t WeekdayIn(int year) const {
        const int offset = (day - civil::Weekday(year, month, 1) + 7) % 7;
        int date = 1 + offset + 7 * (week - 1);
        if (date > civil::DaysInMonth(year, month)) date -= 7;
        return UnixDay(year, month, date);
    }
};

struct FooterRule {
    int standard = 0;
    std::optional<int> summer;
    FooterDate begin;
    FooterDate end;

    int OffsetAt(std::int64_t moment) const {
        if (!summer) return standard;
        const std::int64_t day = civil::FloorDiv(moment + standard, kSecondsPerDay) + civil::kDaysTo1970;
        const int year = civil::CivilFromDays(day).year;
        const std::int64_t from = begin.WallIn(year) - standard;
        const std::int64_t to = end.WallIn(year) - *summer;
        const bool holds = from < to ? moment >= from && moment < to : moment >= from || moment < to;
        return holds ? *summer : standard;
    }
};

// Reads "CET-1CEST,M3.5.0,M10.5.0/3" and the like from left to right; every step says whether it fitted.
class FooterReader {
public:
    explicit FooterReader(std::string_view text) : m_text(text) {}

    std::optional<FooterRule> Read() {
        FooterRule rule;
        int west = 0;
        if (!Name() || !Time(west)) return std::nullopt;
        rule.standard = -west;
        if (m_text.empty()) return rule;
        if (!Name()) return std::nullopt;
        rule.summer = rule.standard + 3600;
        if (!m_text.empty() && m_text[0] != ',') {
            if (!Time(west)) return std::nullopt;
            rule.summer = -west;
        }
        if (!Date(rule.begin) || !Date(rule.end) || !m_text.empty()) return std::nullopt;
        return rule;
    }

private:
    bool Take(char c) {
        if (m_text.empty() || m_text[0] != c) return false;
        m_text.remove_prefix(1);
        return true;
    }
    bool Name() {
        const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
        std::size_t length = 0;
        if (Take('<')) {
            length = m_text.find('>');
            if (length == std::string_view::npos) return false;
            m_text.remove_prefix(length + 1);
            return true;
        }
        while (length < m_text.size() && isLetter(m_text[length])) ++length;
        m_text.remove_prefix(length);
        return length >= 3;
    }
    bool Number(int& value, int most) {
        std::size_t length = 0;
        value = 0;
        for (; length < m_text.size() && m_text[length] >= '0' && m_text[length] <= '9' && value <= most;
             ++length)
            value = value * 10 + (m_text[length] - '0');
        m_text.remove_prefix(length);
        return length > 0 && value <= most;
    }
    // [+-]h[h[h]][:mm[:ss]] as seconds.
    bool Time(int& seconds) {
        constexpr int kMostHours = 167;
        const bool negative = Take('-');
        if (!negative) Take('+');
        int hours = 0, minutes = 0, rest = 0;
        if (!Number(hours, kMostHours)) return false;
        if (Take(':') && !Number(minutes, 59)) return false;
        if (Take(':') && !Number(rest, 59)) return false;
        seconds = hours * 3600 + minutes * 60 + rest;
        if (negative) seconds = -seconds;
        return true;
    }
    bool Date(FooterDate& date) {
        if (!Take(',')) return false;
        if (Take('M')) {
            if (!Number(date.month, 12) || !Take('.') || !Number(date.week, 5) || !Take('.') ||
                !Number(date.day, 6))
                return false;
            if (date.month < 1 || date.week < 1) return false;
        } else {
            date.form = Take('J') ? FooterDate::Form::DayWithoutLeap : FooterDate::Form::DayOfYear;
            if (!Number(date.day, 365)) return false;
        }
        return !Take('/') || Time(date.second);
    }

    std::string_view m_text;
};

// --- The file -------------------------------------------------------------------------------------------------------

// Big-endian numbers of a text that knows its end.
class Bytes {
public:
    explicit Bytes(std::string_view text) : m_text(text) {}
    std::size_t Left() const { return m_text.size(); }
    bool Skip(std::size_t count) {
        if (count > m_text.size()) return false;
        m_text.remove_prefix(count);
        return true;
    }
    std::int64_t Signed(std::size_t size) {
        std::uint64_t value =
            m_text.empty() || static_cast<signed char>(m_text[0]) >= 0 ? 0 : ~std::uint64_t{0};
        for (std::size_t i = 0; i < size && i < m_text.size(); ++i)
            value = value << 8 | static_cast<BYTE>(m_text[i]);
        Skip(std::min(size, m_text.size()));
        return static_cast<std::int64_t>(value);
    }
    std::string_view Rest() const { return m_text; }

private:
    std::string_view m_text;
};

struct Header {
    char version = 0;
    std::size_t isUtc = 0, isStandard = 0, leaps = 0, times = 0, types = 0, characters = 0;

    // Of the block behind the header.
    std::size_t Size(std::size_t timeSize) const {
        return times * (timeSize + 1) + types * 6 + characters + leaps * (timeSize + 4) + isStandard + isUtc;
    }
};

bool ReadHeader(Bytes& bytes, Header& header) {
    constexpr std::size_t kHeaderSize = 44;
    constexpr std::size_t kReserved = 15;
    if (bytes.Left() < kHeaderSize || bytes.Rest().substr(0, 4) != "TZif") return false;
    header.version = bytes.Rest()[4];
    bytes.Skip(5 + kReserved);
    for (std::size_t* count : {&header.isUtc, &header.isStandard, &header.leaps, &header.times, &header.types,
                               &header.characters}) {
        *count = static_cast<std::uint32_t>(bytes.Signed(4));
        if (*count > kMostFileBytes) return false;
    }
    return header.types > 0;
}

class ZoneFile final : public ZoneData {
public:
    // `timeSize` 4 or 8; the footer follows the second kind alone.
    bool Read(Bytes bytes, const Header& header, std::size_t timeSize) {
        if (bytes.Left() < header.Size(timeSize)) return false;
        for (std::size_t i = 0; i < header.times; ++i) m_times.push_back(bytes.Signed(timeSize));
        for (std::size_t i = 0; i < header.times; ++i) m_types.push_back(static_cast<BYTE>(bytes.Signed(1)));
        for (std::size_t i = 0; i < header.types; ++i) {
            m_offsets.push_back(static_cast<int>(bytes.Signed(4)));
            bytes.Skip(
                2); // whether it is summer time tells nothing that the offset doesn't; the abbreviation
        }
        bytes.Skip(header.characters + header.leaps * (timeSize + 4) + header.isStandard + header.isUtc);
        if (timeSize == 8) ReadFooter(bytes.Rest());
        return IsSound();
    }

    int OffsetAt(std::int64_t moment) const override {
        const auto after = std::upper_bound(m_times.begin(), m_times.end(), moment);
        if (after == m_times.end() && m_footer) return m_footer->OffsetAt(moment);
        if (after == m_times.begin()) return m_offsets[0];
        return m_offsets[m_types[static_cast<std::size_t>(after - m_times.begin() - 1)]];
    }

private:
    void ReadFooter(std::string_view text) {
        if (text.empty() || text[0] != '\n') return;
        text.remove_prefix(1);
        m_footer = FooterReader(text.substr(0, text.find('\n'))).Read();
    }
    bool IsSound() const {
        constexpr int kMostOffset = 26 * 3600;
        const auto known = [&](BYTE type) { return type < m_offsets.size(); };
        const auto sane = [&](int offset) { return offset > -kMostOffset && offset < kMostOffset; };
        return std::is_sorted(m_times.begin(), m_times.end()) &&
               std::all_of(m_types.begin(), m_types.end(), known) &&
               std::all_of(m_offsets.begin(), m_offsets.end(), sane);
    }

    std::vector<std::int64_t> m_times;
    std::vector<BYTE> m_types;
    std::vector<int> m_offsets;
    std::optional<FooterRule> m_footer;
};

} // namespace

std::unique_ptr<ZoneData> ParseZoneFile(const std::string& text) {
    Bytes bytes(text);
    Header header;
    if (!ReadHeader(bytes, header)) return nullptr;
    std::size_t timeSize = 4;
    if (header.version >= '2') { // the same again with 64-bit times
        if (!bytes.Skip(header.Size(timeSize)) || !ReadHeader(bytes, header)) return nullptr;
        timeSize = 8;
    }
    auto zone = std::make_unique<ZoneFile>();
    return zone->Read(bytes, header, timeSize) ? std::move(zone) : nullptr;
}

std::string ZoneFilePath(const std::string& name) {
    const auto allowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
               c == '-' || c == '+' || c == '/';
    };
    if (name.empty() || name.size() > 255 || name[0] == '/' ||
        !std::all_of(name.begin(), name.end(), allowed))
        return {};
    const char* folder = std::getenv("TZDIR");
    return std::string(folder && *folder ? folder : "/usr/share/zoneinfo") + "/" + name;
}

std::unique_ptr<ZoneData> OpenZoneFile(const std::string& name) {
    const std::string path = ZoneFilePath(name);
    if (path.empty()) return nullptr;
    std::ifstream file(path, std::ios::binary);
    std::string bytes;
    if (!file) return nullptr;
    char block[4096];
    while (bytes.size() <= kMostFileBytes && (file.read(block, sizeof block) || file.gcount() > 0))
        bytes.append(block, static_cast<std::size_t>(file.gcount()));
    return bytes.size() <= kMostFileBytes ? ParseZoneFile(bytes) : nullptr;
}

} // namespace plat
