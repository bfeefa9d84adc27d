// The reader of recurrence blobs: the eight worked ones, what is inconsistent, and what is damaged.
#include "QNWorkerClass/recurrenceblob.h"
#include "QNWorkerClass/DATACALENDARDB.h"
#include "tests/support/appointments.h"
#include "tests/support/expander.h"
#include "tests/support/workedblobs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>

namespace {

std::string MomentOf(DWORD minutes) { return MomentText(VariantOfSeconds(LONGLONG{minutes} * 60)); }

// "2010-03-19: 2010-03-20 10:00..2010-03-20 11:00 (10:00-11:00) moved busy 3 'Review'": first its date by the rule.
std::string Text(const CALENDAREXCEPTION& change) {
    char hours[48];
    std::snprintf(hours, sizeof hours, " (%d:%02d-%d:%02d)", change.lStartHour, change.lStartMinute,
                  change.lEndHour, change.lEndMinute);
    std::string text =
        DateText(change.RuleDay()) + ": " + MomentOf(change.dwStart) + ".." + MomentOf(change.dwEnd) + hours;
    if (change.bMoved) text += change.dwMovedTo == change.dwStart ? " moved" : " moved elsewhere";
    if (change.bMultiDay) text += " +" + std::to_string(change.nExtraDays) + " days";
    if (change.nAllDay >= 0) text += change.nAllDay ? " all-day" : " timed";
    if (change.lBusyStatus >= 0) text += " busy " + std::to_string(change.lBusyStatus);
    if (change.bHasBody) text += " note";
    if (change.bstrSubject) text += " '" + Narrow(change.bstrSubject) + "'";
    if (change.bstrLocation) text += " in '" + Narrow(change.bstrLocation) + "'";
    return text + "\n";
}

struct Reading {
    DATACALENDARDB record;
    CeList<DWORD> deleted{0};
    int status = -1;

    std::string Deleted() const {
        std::string text;
        for (DWORD date : deleted) text += DateText(DayOfMinutes(date)) + " ";
        return text;
    }
    std::string Changes() const {
        std::string text;
        for (const CALENDAREXCEPTION* change : record.m_listExceptions) text += Text(*change);
        return text;
    }
};

std::unique_ptr<Reading> Read(const std::vector<BYTE>& bytes, CRecurrenceParser parser = {}) {
    auto reading = std::make_unique<Reading>();
    // A block of its own size, so that a read past its end is seen.
    auto block = std::make_unique<BYTE[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    reading->status = parser.Parse(block.get(), static_cast<DWORD>(bytes.size()), 1, &reading->record,
                                   &reading->deleted, false);
    return reading;
}

Blob DailyBlob() {
    Blob blob;
    blob.recurType = 8202;
    blob.period = 1440;
    blob.startDate = Minutes("2010-03-01");
    blob.startTime = 600;
    blob.endTime = 690;
    return blob;
}

TEST(RecurrenceBlob, WorkedBlobsAreReadWhole) {
    const struct {
        const char* deleted; // the changed ones are not
        const char* changes;
    } kRead[] = {
        {"", ""},
        {"2010-03-10 ", ""},
        {"2010-03-05 ",
         "2010-03-15: 2010-03-15 14:30..2010-03-15 16:00 (14:30-16:00) busy 3 'Review' in 'Room 2'\n"
         "2010-03-19: 2010-03-20 10:00..2010-03-20 11:00 (10:00-11:00) moved\n"},
        {"2010-05-31 ", "2010-03-31: 2010-04-01 00:00..2010-04-02 00:00 (0:00-24:00) moved +1 days\n"},
        {"", "2010-03-04: 2010-03-04 00:00..2010-03-05 00:00 (0:00-24:00) +1 days all-day note\n"},
        {"2010-02-28 ", "2009-02-28: 2009-02-28 00:00..2009-03-01 00:00 (0:00-24:00) +1 days 'Leap'\n"},
        {"",
         "2009-11-26: 2009-11-27 20:00..2009-11-29 06:00 (20:00-30:00) moved +1 days busy 3 in 'Cabin'\n"},
        {"", ""},
    };
    const auto& blobs = WorkedBlobs();
    ASSERT_EQ(std::size(kRead), blobs.size());
    for (std::size_t i = 0; i < blobs.size(); ++i) {
        auto reading = Read(blobs[i].bytes);
        EXPECT_EQ(blobs[i].status, reading->status) << blobs[i].name;
        EXPECT_EQ(kRead[i].deleted, reading->Deleted()) << blobs[i].name;
        EXPECT_EQ(kRead[i].changes, reading->Changes()) << blobs[i].name;
    }
}

TEST(RecurrenceBlob, FieldsOfTheRule) {
    auto weekly = Read(WorkedBlobs()[2].bytes);
    const DATACALENDARDB& r = weekly->record;
    EXPECT_EQ((std::vector<DWORD>{kRecurWeekly, kPatternWeekdays, 2, 34, 34, 10, 14, 15}),
              (std::vector<DWORD>{r.m_wRecurType, r.m_wPatternType, r.m_dwPeriodWeeks, r.m_dwWeekMask,
                                  r.m_wDaysOfWeek, r.m_dwOccurrences, r.m_wStartHour, r.m_wEndHour}));
    EXPECT_EQ(40238.0, r.m_dtStart);
    EXPECT_EQ(215284320.0, r.m_dtEnd); // minutes, no variant time
    EXPECT_EQ(0x80, Read(WorkedBlobs()[4].bytes)->record.m_listExceptions.Get(1)->wFlags); // less the note's
    EXPECT_EQ(4, Read(WorkedBlobs()[6].bytes)->record.m_wNth);
    Blob early = DailyBlob();
    early.startDate = Minutes("1899-12-29 06:00"); // the fraction counts on before the day 0 too
    EXPECT_EQ(-1.25, Read(early.Bytes())->record.m_dtStart);
    EXPECT_EQ(-1, Read(early.Bytes())->record.Rule().startDay);
}

TEST(RecurrenceBlob, WhatEndsTheReading) {
    const struct {
        const char* what;
        void (*spoil)(Blob&);
    } kCases[] = {
        {"magic", [](Blob& b) { b.magic = 0x30043005; }},
        {"type", [](Blob& b) { b.recurType = 8206; }},
        {"pair", [](Blob& b) { b.patternType = 2; }},
        {"marker", [](Blob& b) { b.marker = 0x3006; }},
    };
    ASSERT_EQ(kBlobRead, Read(DailyBlob().Bytes())->status);
    for (const auto& test : kCases) {
        Blob blob = DailyBlob();
        test.spoil(blob);
        auto reading = Read(blob.Bytes());
        EXPECT_EQ(kBlobRefused, reading->status) << test.what;
        EXPECT_EQ(0, reading->record.m_wRecurType) << test.what;
    }
    CRecurrenceParser parser;
    DATACALENDARDB record;
    CeList<DWORD> deleted(0);
    EXPECT_EQ(kBlobRefused, parser.Parse(nullptr, 0, 1, &record, &deleted, false));
}

TEST(RecurrenceBlob, WhatIsInconsistentIsReadAllTheSame) {
    const auto changed = [](std::size_t at) {
        std::vector<BYTE> bytes = DailyBlob().Bytes();
        bytes[at] = 1;
        return bytes;
    };
    std::vector<BYTE> shortened = DailyBlob().Bytes(); // its last two bytes, the count of exceptions
    shortened.pop_back();
    Blob deletedOne = DailyBlob();
    deletedOne.deleted = {Minutes("2010-03-03")};
    // Modified dates are looked for only behind deleted ones: then the rest is taken from where they stand.
    Blob modifiedOne = DailyBlob();
    modifiedOne.modified = {Minutes("2010-03-03")};
    std::vector<BYTE> unread = modifiedOne.Bytes();
    EXPECT_EQ(kBlobRefused, Read(unread)->status); // the markers are 4 bytes off
    unread.erase(unread.begin() + 42, unread.begin() + 46);
    for (const auto& bytes : {changed(8), changed(21), shortened, deletedOne.Bytes(), unread}) {
        auto reading = Read(bytes);
        EXPECT_EQ(kBlobInconsistent, reading->status);
        EXPECT_EQ(10, reading->record.m_wStartHour);
        EXPECT_EQ(bytes == deletedOne.Bytes() ? "2010-03-03 " : "", reading->Deleted());
        EXPECT_EQ("", reading->Changes());
    }
}

TEST(RecurrenceBlob, SeriesOutsideOfTheWindowAreRefused) {
    auto ticks = [](const char* date) { return FileTimeFromTicks(ULONGLONG{Minutes(date)} * 600000000ULL); };
    const struct {
        const char* start;
        const char* end;
        int status;
    } kSeries[] = {
        {"2010-03-01", "2010-03-10", kBlobRead},    {"2010-03-20", "2010-03-20", kBlobRead},
        {"2010-03-21", "2010-03-30", kBlobRefused}, {"2010-03-01", "2010-03-09", kBlobRefused},
        {"2010-01-01", "2011-01-01", kBlobRead},
    };
    for (const auto& series : kSeries) {
        CRecurrenceParser parser;
        parser.SetRestrict(ticks("2010-03-10"), ticks("2010-03-20"));
        Blob blob = DailyBlob();
        blob.startDate = Minutes(series.start);
        blob.endDate = Minutes(series.end);
        EXPECT_EQ(series.status, Read(blob.Bytes(), parser)->status) << series.start << ".." << series.end;
        parser.SetRestrictOpen();
        EXPECT_EQ(kBlobRead, Read(blob.Bytes(), parser)->status);
    }
}

// One changed occurrence, with bytes put before its record.
std::unique_ptr<Reading> ReadWithChange(const ChangedOccurrence& change, std::vector<BYTE> before = {}) {
    Blob blob = DailyBlob();
    blob.deleted = {change.original / 1440 * 1440};
    blob.modified = {change.start / 1440 * 1440};
    std::vector<BYTE> bytes = blob.Bytes();
    bytes.insert(bytes.end(), before.begin(), before.end());
    blob.changes = {change};
    std::vector<BYTE> whole = blob.Bytes();
    bytes.insert(bytes.end(), whole.begin() + static_cast<long>(bytes.size() - before.size()), whole.end());
    return Read(bytes);
}

TEST(RecurrenceBlob, PartsOfAChangedOccurrence) {
    using Make = void (*)(ChangedOccurrence&);
    const struct {
        const char* what;
        Make make;
        std::vector<BYTE> before;
        const char* change; // behind its dates
    } kCases[] = {
        {"all in their order",
         [](ChangedOccurrence& c) {
             c.Subject(u"S").flags |= 0x000C; // a reminder: its minutes and its flag are passed over
             c.Word(0xAAAA).Word(0xBBBB).Word(0xCCCC).Word(0xDDDD);
             c.Location(u"Hall").Busy(1).AllDay(false);
             c.flags |= 0x0142; // 2 and 0x40 carry nothing; the body's mark
             c.Word(2).Word(0).Word(0).Word(0xEEEE);
         },
         {},
         " timed busy 1 note 'S' in 'Hall'\n"},
        {"a busy status behind a foreign word, then all-day",
         [](ChangedOccurrence& c) {
             c.flags |= 0x00A0;
             c.Word(0x0103).Word(0).Word(2).Word(0).Word(1).Word(0);
         },
         {},
         " all-day busy 2\n"},
        {"begun four bytes off", [](ChangedOccurrence& c) { c.Subject(u"S"); }, {9, 0, 0, 0}, " 'S'\n"},
        {"no text", [](ChangedOccurrence& c) { c.Subject(u""); }, {}, " ''\n"},
    };
    for (const auto& test : kCases) {
        ChangedOccurrence change = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:30");
        test.make(change);
        auto reading = ReadWithChange(change, test.before);
        EXPECT_EQ(std::string("2010-03-04: 2010-03-04 11:00..2010-03-04 12:30 (11:00-12:30)") + test.change,
                  reading->Changes())
            << test.what;
        EXPECT_EQ(kBlobRead, reading->status) << test.what;
    }
}

TEST(RecurrenceBlob, AMoveByAYearIsNoMove) {
    auto reading = ReadWithChange(Moved("2010-03-04 10:00", "2011-03-04 11:00", "2011-03-04 12:00"));
    EXPECT_EQ("2011-03-04: 2011-03-04 11:00..2011-03-04 12:00 (11:00-12:00)\n", reading->Changes());
    EXPECT_EQ("2010-03-04 ", reading->Deleted());
}

// The record before it took four bytes too many: its busy status looked like two words.
TEST(RecurrenceBlob, AChangedOccurrenceThatBeganFourBytesBefore) {
    ChangedOccurrence first = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:00");
    first.Busy(5); // no status: taken for the foreign word, and the low word of the next start for the status
    ChangedOccurrence second = Moved("2010-03-05 10:00", "2010-03-05 13:00", "2010-03-05 14:00");
    Blob blob = DailyBlob();
    blob.deleted = blob.modified = {Minutes("2010-03-04"), Minutes("2010-03-05")};
    blob.changes = {first, second};
    EXPECT_EQ("2010-03-04: 2010-03-04 11:00..2010-03-04 12:00 (11:00-12:00) busy 49772\n"
              "2010-03-05: 2010-03-05 13:00..2010-03-05 14:00 (13:00-14:00)\n",
              Read(blob.Bytes())->Changes());
}

TEST(RecurrenceBlob, CountsBeyondTheBlobCostNothing) {
    for (DWORD count : {DWORD{1000}, DWORD{0x10000000}, std::numeric_limits<DWORD>::max()})
        for (std::size_t at :
             {std::size_t{34}, std::size_t{42}}) { // deleted dates; modified ones behind one deleted
            Blob blob = DailyBlob();
            if (at == 42) blob.deleted = {Minutes("2010-03-03")};
            std::vector<BYTE> bytes = blob.Bytes();
            for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<BYTE>(count >> (8 * i));
            auto reading = Read(bytes);
            EXPECT_EQ(kBlobRefused, reading->status) << count;
            EXPECT_EQ(0, reading->deleted.GetCount());
        }
}

TEST(RecurrenceBlob, EveryCutOfAWorkedBlobIsBounded) {
    const std::vector<BYTE> markers{0x05, 0x30, 0, 0, 0x05, 0x30, 0, 0};
    for (const WorkedBlob& blob : WorkedBlobs()) {
        auto found = std::search(blob.bytes.begin(), blob.bytes.end(), markers.begin(), markers.end());
        auto needed = static_cast<std::size_t>(found - blob.bytes.begin()) + markers.size();
        for (std::size_t size = 0; size < blob.bytes.size(); ++size) {
            auto reading = Read({blob.bytes.begin(), blob.bytes.begin() + static_cast<long>(size)});
            EXPECT_EQ(size < needed, reading->status == kBlobRefused) << blob.name << " cut to " << size;
            EXPECT_LE(reading->record.m_listExceptions.GetCount(), 2);
        }
    }
}

class HugeBlob : public DeviceTest {};

// The days of a walk don't each pay for all that a damaged blob lists. Of several changes of one day the last counts.
TEST_F(HugeBlob, IsExpandedInTime) {
    Blob blob = DailyBlob();
    auto change = [&blob](DWORD start, const char16_t* subject) {
        blob.deleted.push_back(start / 1440 * 1440);
        blob.modified.push_back(start / 1440 * 1440);
        blob.changes.push_back(ChangedOccurrence{start, start + 60, start, 0, {}}.Subject(subject));
    };
    for (DWORD i = 0; i < 200000; ++i) change(Minutes("2500-01-01") + i * 1440, u"x");
    for (const char16_t* subject : {u"a", u"b"}) change(Minutes("2010-03-02 09:00"), subject);
    const std::vector<BYTE> bytes = blob.Bytes();
    const LONG first = DayOfMinutes(blob.startDate);
    constexpr LONG kDays = 36500;
    Expander expander;
    expander.SetDays(first, first + kDays - 1);
    const auto began = std::chrono::steady_clock::now();
    expander.Expand(bytes.data(), static_cast<DWORD>(bytes.size()), DATACALENDAR(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(20)); // half a second as a rule
    ASSERT_EQ(kDays, expander.GetList().GetCount());
    EXPECT_EQ("b", Narrow(expander.GetList().Get(2)->m_bstrSubject));
}

} // namespace
