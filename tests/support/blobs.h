// Recurrence blobs built byte by byte, independently of the product's own writer, and dates in words.
#pragma once

#include "Platform/civil.h"
#include "Platform/types.h"

#include <cstdio>
#include <string>
#include <vector>

// "2010-03-01" or "2010-03-01 10:30" as minutes since 1601.
inline DWORD Minutes(const char* text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    std::sscanf(text, "%d-%d-%d %d:%d", &year, &month, &day, &hour, &minute);
    return static_cast<DWORD>(civil::DaysFromCivil(year, month, day) * 1440 + hour * 60 + minute);
}

inline SYSTEMTIME Date(const char* text) { return civil::SystemTimeFromMinutes(Minutes(text)); }

// "10:30" as minutes after midnight.
inline DWORD Clock(const char* text) {
    int hour = 0, minute = 0;
    std::sscanf(text, "%d:%d", &hour, &minute);
    return static_cast<DWORD>(hour * 60 + minute);
}

// A changed occurrence, as a blob holds it.
struct ChangedOccurrence {
    DWORD start;
    DWORD end;
    DWORD original; // with the series' start time
    WORD flags = 0;
    std::vector<BYTE> parts;

    ChangedOccurrence& Subject(const std::u16string& text) { return Text(0x0001, text); }
    ChangedOccurrence& Location(const std::u16string& text) { return Text(0x0010, text); }
    ChangedOccurrence& Busy(WORD status) {
        flags |= 0x0020;
        return Word(status).Word(0);
    }
    ChangedOccurrence& AllDay(bool allDay) {
        flags |= 0x0080;
        return Word(allDay ? 1 : 2).Word(0);
    }
    ChangedOccurrence& Word(WORD value) {
        parts.push_back(static_cast<BYTE>(value));
        parts.push_back(static_cast<BYTE>(value >> 8));
        return *this;
    }
    ChangedOccurrence& Text(WORD flag, const std::u16string& text) {
        flags |= flag;
        Word(static_cast<WORD>(text.size() + 1)).Word(static_cast<WORD>(text.size()));
        for (WCHAR c : text) Word(c);
        return *this;
    }
};

inline ChangedOccurrence Moved(const char* original, const char* start, const char* end) {
    return {Minutes(start), Minutes(end), Minutes(original), 0, {}};
}

// The bytes of a recurrence blob.
struct Blob {
    DWORD magic = 0x30043004;
    WORD recurType = 0;
    WORD patternType = 0;
    DWORD yearOffset = 0;
    DWORD period = 0;
    std::vector<DWORD> fields; // of the pattern
    DWORD endType = 0x2023;
    std::vector<DWORD> deleted; // dates of deleted and changed occurrences
    std::vector<DWORD> modified;
    DWORD startDate = 0;
    DWORD endDate = 1525252319; // never
    DWORD marker = 0x3005;
    DWORD startTime = 0;
    DWORD endTime = 0;
    std::vector<ChangedOccurrence> changes;

    std::vector<BYTE> Bytes() const {
        std::vector<BYTE> out;
        auto put = [&out](DWORD value, int width) {
            for (int i = 0; i < width; ++i) out.push_back(static_cast<BYTE>(value >> (8 * i)));
        };
        auto putAll = [&](const std::vector<DWORD>& values) {
            for (DWORD value : values) put(value, 4);
        };
        put(magic, 4);
        put(recurType, 2);
        put(patternType, 2);
        put(0, 2);
        put(yearOffset, 4);
        put(period, 4);
        put(0, 4);
        putAll(fields);
        if (magic == 0x30053005) out.insert(out.end(), 8, 0xAB);
        put(endType, 4);
        put(0, 4);
        put(0, 4);
        put(static_cast<DWORD>(deleted.size()), 4);
        putAll(deleted);
        put(static_cast<DWORD>(modified.size()), 4);
        putAll(modified);
        putAll({startDate, endDate, marker, marker, startTime, endTime});
        put(static_cast<DWORD>(modified.size()), 2);
        for (const ChangedOccurrence& change : changes) {
            putAll({change.start, change.end, change.original});
            put(change.flags, 2);
            put(0, 2);
            out.insert(out.end(), change.parts.begin(), change.parts.end());
        }
        return out;
    }
};
