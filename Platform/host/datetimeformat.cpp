// Dates and times by the device's pictures: see Platform/locale.h. Called for every row of a list, so the picture is
// walked straight into the caller's buffer.
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/host/call.h"
#include "Platform/host/localetables.h"
#include "Platform/locale.h"
#include "Platform/threads.h"

#include <string_view>

namespace {

using plat::LocaleTables;

// The caller's buffer; counts on when it is full.
class Output {
public:
    Output(WCHAR* buffer, int room) : m_buffer(buffer), m_room(room) {}
    void Put(WCHAR c) {
        if (m_size < m_room) m_buffer[m_size] = c;
        ++m_size;
    }
    void Put(std::u16string_view text) {
        for (const WCHAR c : text) Put(c);
    }
    void PutNumber(int value, int leastDigits) {
        WCHAR digits[8];
        int count = 0;
        for (; value > 0 || count < leastDigits || count == 0; value /= 10)
            digits[count++] = static_cast<WCHAR>(u'0' + value % 10);
        while (count > 0) Put(digits[--count]);
    }
    int Size() const { return m_size; }

private:
    WCHAR* m_buffer;
    int m_room;
    int m_size = 0;
};

// One run of a picture letter.
struct Field {
    WCHAR letter;
    std::size_t count;
};

// Hands every field to `putField`, which says whether the letter is one of its own; all else stands for itself.
template<class PutField>
void WalkPicture(std::u16string_view picture, Output& out, PutField putField) {
    for (std::size_t at = 0; at < picture.size();) {
        const WCHAR c = picture[at];
        if (c == u'\'') {
            for (++at; at < picture.size(); ++at) {
                if (picture[at] == u'\'' && (at + 1 >= picture.size() || picture[at + 1] != u'\'')) break;
                if (picture[at] == u'\'') ++at;
                out.Put(picture[at]);
            }
            ++at;
            continue;
        }
        std::size_t end = at + 1;
        while (end < picture.size() && picture[end] == c) ++end;
        if (!putField(Field{c, end - at})) out.Put(picture.substr(at, end - at));
        at = end;
    }
}

// A month beside its day has another form in many languages.
bool NamesDay(std::u16string_view picture) {
    bool quoted = false;
    for (std::size_t at = 0; at < picture.size(); ++at) {
        if (picture[at] == u'\'') quoted = !quoted;
        if (quoted || picture[at] != u'd') continue;
        std::size_t end = at;
        while (end < picture.size() && picture[end] == u'd') ++end;
        if (end - at <= 2) return true;
        at = end - 1;
    }
    return false;
}

void PutMonth(const LocaleTables& tables, int month, std::size_t count, bool besideDay, Output& out) {
    const auto index = static_cast<std::size_t>(month - 1);
    if (count <= 2) return out.PutNumber(month, static_cast<int>(count));
    if (count == 3) return out.Put(besideDay ? tables.shortMonths[index] : tables.aloneShortMonths[index]);
    out.Put(besideDay ? tables.months[index] : tables.aloneMonths[index]);
}

void PutDay(const LocaleTables& tables, const SYSTEMTIME& date, std::size_t count, Output& out) {
    if (count <= 2) return out.PutNumber(date.wDay, static_cast<int>(count));
    const auto weekday = static_cast<std::size_t>(civil::Weekday(date.wYear, date.wMonth, date.wDay));
    out.Put(count == 3 ? tables.shortWeekdays[weekday] : tables.weekdays[weekday]);
}

void PutYear(int year, std::size_t count, Output& out) {
    if (count <= 2) return out.PutNumber(year % 100, static_cast<int>(count));
    out.PutNumber(year, 4);
}

void PutDate(const LocaleTables& tables, const SYSTEMTIME& date, std::u16string_view picture, Output& out) {
    const bool besideDay = NamesDay(picture);
    WalkPicture(picture, out, [&](Field field) {
        switch (field.letter) {
        case u'd':
            PutDay(tables, date, field.count, out);
            return true;
        case u'M':
            PutMonth(tables, date.wMonth, field.count, besideDay, out);
            return true;
        case u'y':
            PutYear(date.wYear, field.count, out);
            return true;
        case u'g':
            out.Put(tables.era);
            return true;
        default:
            return false;
        }
    });
}

void PutTime(const LocaleTables& tables, const SYSTEMTIME& time, std::u16string_view picture, Output& out) {
    const std::u16string& mark = time.wHour < 12 ? tables.morning : tables.afternoon;
    const auto number = [&out](int value, std::size_t count) { out.PutNumber(value, count > 1 ? 2 : 1); };
    WalkPicture(picture, out, [&](Field field) {
        switch (field.letter) {
        case u'h':
            number(time.wHour % 12 == 0 ? 12 : time.wHour % 12, field.count);
            return true;
        case u'H':
            number(time.wHour, field.count);
            return true;
        case u'm':
            number(time.wMinute, field.count);
            return true;
        case u's':
            number(time.wSecond, field.count);
            return true;
        case u't':
            out.Put(std::u16string_view(mark).substr(0, field.count > 1 ? mark.size() : 1));
            return true;
        default:
            return false;
        }
    });
}

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

// Ends the text and says how long it is; fails when it did not fit.
int Finish(Output& out, int size) {
    out.Put(u'\0');
    return size == 0 || out.Size() <= size ? out.Size() : Fail(ERROR_INSUFFICIENT_BUFFER);
}

bool IsBuffer(const WCHAR* buffer, int size) { return size == 0 || (size > 0 && buffer); }

bool IsDate(const SYSTEMTIME& t) {
    return t.wYear >= 1 && t.wYear <= 9999 && t.wDay >= 1 && t.wDay <= civil::DaysInMonth(t.wYear, t.wMonth);
}
bool IsTime(const SYSTEMTIME& t) { return t.wHour < 24 && t.wMinute < 60 && t.wSecond < 60; }

} // namespace

int GetDateFormatW(LCID locale, DWORD flags, const SYSTEMTIME* date, const WCHAR* picture, WCHAR* buffer,
                   int size) {
    plat::HostCall call;
    SYSTEMTIME now;
    if (!date) GetLocalTime(&now), date = &now;
    if (!IsBuffer(buffer, size) || !IsDate(*date)) return Fail(ERROR_INVALID_PARAMETER);
    const LocaleTables& tables = plat::TablesOf(locale);
    Output out(buffer, size);
    const std::u16string_view own = flags & DATE_LONGDATE ? tables.longDate : tables.shortDate;
    PutDate(tables, *date, picture ? std::u16string_view(picture) : own, out);
    return Finish(out, size);
}

int GetTimeFormatW(LCID locale, DWORD flags, const SYSTEMTIME* time, const WCHAR* picture, WCHAR* buffer,
                   int size) {
    plat::HostCall call;
    SYSTEMTIME now;
    if (!time) GetLocalTime(&now), time = &now;
    if (!IsBuffer(buffer, size) || !IsTime(*time)) return Fail(ERROR_INVALID_PARAMETER);
    const LocaleTables& tables = plat::TablesOf(locale);
    Output out(buffer, size);
    PutTime(tables, *time, picture ? std::u16string_view(picture) : tables.timePictures[flags & 15], out);
    return Finish(out, size);
}
