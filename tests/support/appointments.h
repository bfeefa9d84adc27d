// Appointments on a test device, in the words of a calendar:
//
//     AddAppointment(u"Standup").On("2010-03-01 10:00", 90).Daily(2).Until("2010-03-31").Except("2010-03-09").Save();
//     EXPECT_DAYS(Days("2010-03-01", "2010-03-02"), "Mon 2010-03-01 10:00..11:30 Standup\n" ...);
//
// Records are written through CeDb with the blobs of blobs.h.
#pragma once

#include "NorvoTools/CeDb.h"
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "QNWorkerClass/calendarthread.h"
#include "tests/support/blobs.h"
#include "tests/support/sidestores.h"
#include "tests/support/zones.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

// The appointments database of a device, open for writing.
class AppointmentStore {
public:
    AppointmentStore() {
        m_open = m_db.MountVolumeEDB(u"\\pim.vol", false) && m_db.Open(u"Appointments Database");
    }
    bool IsOpen() const { return m_open; }
    CeDb& Db() { return m_db; }

private:
    CeDb m_db;
    bool m_open;
};

class Appointment {
public:
    Appointment(AppointmentStore& store, std::u16string subject)
        : m_store(store), m_subject(std::move(subject)) {}

    // "2010-03-01" or "2010-03-01 10:00", by the item's own clock.
    Appointment& On(const char* moment, DWORD duration = 60) {
        m_blob.startDate = Minutes(moment) / 1440 * 1440;
        m_blob.startTime = Minutes(moment) % 1440;
        m_duration = duration;
        return *this;
    }
    Appointment& AllDay(DWORD days = 1) {
        m_allDay = true;
        m_duration = days * 1440;
        return *this;
    }
    Appointment& Location(std::u16string text) {
        m_location = std::move(text);
        return *this;
    }
    Appointment& NoSubject() {
        m_hasSubject = false;
        return *this;
    }
    Appointment& Busy(LONG status) {
        m_busy = status;
        return *this;
    }
    Appointment& Sensitivity(LONG value) {
        m_sensitivity = value;
        return *this;
    }
    Appointment& Meeting(DWORD value) {
        m_meeting = value;
        return *this;
    }
    // The zone of the item: the record's start is then that zone's wall-clock time in universal time.
    Appointment& Zone(const TIME_ZONE_INFORMATION& zone) {
        m_zone = zone;
        m_hasZone = true;
        return *this;
    }

    Appointment& Daily(DWORD days) { return Rule(8202, 0, days * 1440, {}); }
    Appointment& Weekdays() { return Rule(8202, 1, 0, {62}); }
    Appointment& Weekly(DWORD weeks, DWORD mask) { return Rule(8203, 1, weeks, {mask}); }
    Appointment& MonthlyDay(DWORD months, DWORD day) { return Rule(8204, 2, months, {day}); }
    Appointment& MonthlyNth(DWORD months, DWORD mask, DWORD nth) {
        return Rule(8204, 3, months, {mask, nth});
    }
    Appointment& YearlyDay(int month, DWORD day) { return Yearly(2, month, {day}); }
    Appointment& YearlyNth(int month, DWORD mask, DWORD nth) { return Yearly(3, month, {mask, nth}); }
    Appointment& Until(const char* date) {
        m_blob.endDate = Minutes(date);
        return *this;
    }
    Appointment& Except(const char* date) {
        m_blob.deleted.push_back(Minutes(date));
        return *this;
    }
    Appointment& Changed(const ChangedOccurrence& change) {
        m_blob.deleted.push_back(change.original / 1440 * 1440);
        m_blob.modified.push_back(change.start / 1440 * 1440);
        m_blob.changes.push_back(change);
        return *this;
    }
    // Bytes in place of the blob built here; they may be damaged.
    Appointment& RawBlob(std::vector<BYTE> bytes) {
        m_raw = std::move(bytes);
        m_recurring = true;
        return *this;
    }
    // The zone's block cut or filled to this size.
    Appointment& ZoneSize(std::size_t bytes) {
        m_zoneSize = bytes;
        return *this;
    }
    Appointment& NoStart() {
        m_hasStart = false;
        return *this;
    }
    // The blob as a plain property of the row instead of a stream.
    Appointment& BlobInRow() {
        m_blobInRow = true;
        return *this;
    }

    // The id of the record; 0 on failure.
    CEOID Save() {
        std::vector<CEPROPVAL> values;
        auto add = [&values](CEPROPID id) -> CEVALUNION& {
            values.push_back({});
            values.back().propid = id;
            return values.back().val;
        };
        if (m_hasStart)
            add(0x10420040).filetime = FileTimeFromTicks(static_cast<ULONGLONG>(StartUtc()) * 600000000ULL);
        add(0x10400013).ulVal = m_duration;
        add(0x0044000B).boolVal = m_allDay;
        add(0x0022000B).boolVal = m_recurring;
        add(0x0028000B).boolVal = 1;
        add(0x00210013).ulVal = static_cast<ULONG>(m_sensitivity);
        add(0x00450013).ulVal = static_cast<ULONG>(m_busy);
        add(0x00500013).ulVal = m_meeting;
        if (m_hasSubject) add(0x0020001F).lpwstr = m_subject.data();
        if (!m_location.empty()) add(0x0041001F).lpwstr = m_location.data();
        std::vector<BYTE> zone = ZoneBytes();
        if (m_hasZone) add(0x00480041).blob = {static_cast<DWORD>(zone.size()), zone.data()};
        std::vector<BYTE> blob = BlobBytes();
        if (m_recurring && !blob.empty())
            add(m_blobInRow ? 0x203F0041 : 0x203F0064).blob = {static_cast<DWORD>(blob.size()), blob.data()};
        return CeWriteRecordProps(m_store.Db().m_hDb, 0, static_cast<WORD>(values.size()), values.data());
    }

    std::vector<BYTE> BlobBytes() {
        if (!m_raw.empty()) return m_raw;
        m_blob.endTime = m_blob.startTime + m_duration;
        return m_blob.Bytes();
    }

private:
    Appointment& Rule(WORD recurType, WORD patternType, DWORD period, std::vector<DWORD> fields) {
        m_recurring = true;
        m_blob.recurType = recurType;
        m_blob.patternType = patternType;
        m_blob.period = period;
        m_blob.fields = std::move(fields);
        return *this;
    }
    Appointment& Yearly(WORD patternType, int month, std::vector<DWORD> fields) {
        m_blob.yearOffset = static_cast<DWORD>(
            (civil::DaysFromCivil(2001, month, 1) - civil::DaysFromCivil(2001, 1, 1)) * 1440);
        return Rule(8205, patternType, 12, std::move(fields));
    }

    // The wall-clock time of the item's own zone, or of the device's, in universal time.
    LONGLONG StartUtc() const {
        TIME_ZONE_INFORMATION zone = m_zone;
        if (!m_hasZone) GetTimeZoneInformation(&zone);
        const LONGLONG wallMinutes = m_blob.startDate + m_blob.startTime;
        SYSTEMTIME wall = civil::SystemTimeFromMinutes(wallMinutes);
        SYSTEMTIME utc = wall;
        // The midnight of an all-day item is the moment that shows as one, on the day of a change too.
        for (LONG bias : {zone.DaylightBias, zone.StandardBias}) {
            if (!m_allDay || m_recurring) break;
            utc = civil::SystemTimeFromMinutes(wallMinutes + zone.Bias + bias);
            SYSTEMTIME shown;
            bool summer;
            CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &shown, &summer);
            if (civil::MinutesOf(shown) == wallMinutes) return civil::MinutesOf(utc);
        }
        CeTzSpecificLocalTimeToSystemTime(&zone, &wall, IsInDST(wall.wYear, wall.wMonth, wall.wDay, &zone),
                                          &utc);
        return civil::MinutesOf(utc);
    }

    std::vector<BYTE> ZoneBytes() const {
        std::vector<BYTE> bytes(48, 0);
        if (m_zoneSize >= sizeof m_zone) {
            bytes.resize(m_zoneSize);
            std::memcpy(bytes.data(), &m_zone, sizeof m_zone);
            return bytes;
        }
        std::memcpy(bytes.data(), &m_zone.Bias, 4);
        std::memcpy(bytes.data() + 4, &m_zone.StandardBias, 4);
        std::memcpy(bytes.data() + 8, &m_zone.DaylightBias, 4);
        std::memcpy(bytes.data() + 14, &m_zone.StandardDate, 16);
        std::memcpy(bytes.data() + 32, &m_zone.DaylightDate, 16);
        bytes.resize(m_zoneSize);
        return bytes;
    }

    AppointmentStore& m_store;
    std::u16string m_subject;
    std::u16string m_location;
    bool m_hasSubject = true;
    bool m_allDay = false;
    bool m_recurring = false;
    bool m_blobInRow = false;
    bool m_hasZone = false;
    bool m_hasStart = true;
    std::size_t m_zoneSize = 48;
    DWORD m_duration = 60;
    LONG m_busy = 2;
    LONG m_sensitivity = 0;
    DWORD m_meeting = 0;
    TIME_ZONE_INFORMATION m_zone = {};
    Blob m_blob;
    std::vector<BYTE> m_raw;
};

// --- Text dumps ---------------------------------------------------------------------------------------------------

inline std::string DateText(LONG day) {
    civil::Date date = civil::CivilFromDays(day + civil::kDaysTo1899);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    return text;
}

inline std::string MomentText(double variant) {
    SYSTEMTIME t = {};
    VariantTimeToSystemTime(variant, &t);
    char text[48];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u", t.wYear, t.wMonth, t.wDay, t.wHour,
                  t.wMinute);
    return text;
}

inline std::string WeekdayText(LONG day) {
    static const char* const kNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return kNames[civil::WeekdayOfDays(day + civil::kDaysTo1899)];
}

// A moment of a line: the clock alone on the line's own day, with the date on another, with the year in another. Moments
// of all-day lines have no clock.
inline std::string MomentOfLine(const DATACALENDAR& line, double variant) {
    const std::string day = DateText(line.m_lDay);
    const std::string moment = MomentText(variant);
    const std::size_t blank = moment.find(' ');
    const std::string date = moment.substr(0, blank);
    const std::string shown = date.starts_with(day.substr(0, 5)) ? date.substr(5) : date;
    if (line.m_bAllDay) return shown;
    return (date == day ? "" : shown + " ") + moment.substr(blank + 1);
}

// "Sat 2010-03-20 22:00..03-21 01:00 EXC early", "Sat 2010-03-20 all-day"; a copy of an item of several days carries the
// item's own start and end.
inline std::string LineText(const DATACALENDAR& line) {
    const std::string day = DateText(line.m_lDay);
    std::string text = WeekdayText(line.m_lDay) + " " + day;
    if (line.IsHeader()) return text + " --";
    const std::string start = MomentOfLine(line, line.m_dtStart);
    const std::string end = MomentOfLine(line, line.m_dtEnd);
    if (line.m_bAllDay) text += " all-day";
    if (!line.m_bAllDay || start != end || start != day.substr(5)) text += " " + start + ".." + end;
    if (line.m_bException) text += " EXC";
    if (line.m_bEndsEarlier) text += " early";
    return text;
}

// A line of text a line, with the subjects that were given in the test.
inline constexpr WCHAR kPlainSubject[] = u"Item";
inline std::string ListText(CePtrList<DATACALENDAR*>& list, bool headers) {
    std::string text;
    for (const DATACALENDAR* line : list) {
        if (line->IsHeader() && !headers) continue;
        text += LineText(*line);
        const std::string subject = Narrow(line->m_bstrSubject);
        if (!subject.empty() && subject != Narrow(kPlainSubject)) text += " " + subject;
        text += "\n";
    }
    return text;
}

#define EXPECT_DAYS(actual, expected) EXPECT_EQ(std::string(expected), (actual))

// A device without summer time, at universal time, with an empty calendar.
class AppointmentTest : public SideStoresTest {
protected:
    AppointmentTest() {
        TIME_ZONE_INFORMATION zone = {};
        PlatSetTimeZone(&zone);
        m_store = std::make_unique<AppointmentStore>();
    }
    void SetUp() override { ASSERT_TRUE(m_store->IsOpen()); }
    ~AppointmentTest() override { m_store.reset(); }

    Appointment AddAppointment(std::u16string subject = kPlainSubject) {
        return {*m_store, std::move(subject)};
    }
    void RemoveAll() {
        while (CEOID oid = m_store->Db().SeekFirst()) CeDeleteRecord(m_store->Db().m_hDb, oid);
    }

    // Loads the days, both included, on this thread.
    static void Load(CCalendarThread& thread, const char* first, const char* last) {
        SYSTEMTIME from = Date(first);
        SYSTEMTIME to = Date(last);
        thread.SetRestrict(&from, &to, true);
        thread.CalendarThreadProc(nullptr, 0);
    }
    // The loaded lines, with the headers.
    static std::string List(CCalendarThread& thread, const char* first, const char* last) {
        Load(thread, first, last);
        return ListText(thread.GetList(), true);
    }
    // Without them.
    static std::string Days(const char* first, const char* last) {
        CCalendarThread thread;
        Load(thread, first, last);
        return ListText(thread.GetList(), false);
    }
    // Of this item alone.
    std::string DaysOf(Appointment item, const char* first, const char* last) {
        RemoveAll();
        EXPECT_NE(0u, item.Save());
        return Days(first, last);
    }
    // The subjects of one day, a star behind those that are private.
    static std::string Subjects(CCalendarThread& thread, const char* day) {
        Load(thread, day, day);
        std::string text;
        for (const DATACALENDAR* line : thread.GetList())
            if (!line->IsHeader()) text += Narrow(line->m_bstrSubject) + (line->m_bPrivate ? "*;" : ";");
        return text;
    }

    static void SetNumber(const WCHAR* name, DWORD value,
                          const WCHAR* key = u"Software\\Norvo\\Quillonary\\CAV") {
        CRegistry registry;
        registry.OpenKey(HKEY_CURRENT_USER, key);
        registry.SetValue(name, value);
        registry.CloseKey();
    }
    static void SetText(const WCHAR* name, const WCHAR* value,
                        const WCHAR* key = u"Software\\Norvo\\Quillonary\\CAV") {
        CRegistry registry;
        registry.OpenKey(HKEY_CURRENT_USER, key);
        registry.SetValue(name, value);
        registry.CloseKey();
    }

    std::unique_ptr<AppointmentStore> m_store;
};
