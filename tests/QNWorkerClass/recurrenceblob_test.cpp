// The reader of recurrence blobs: the eight worked ones, what is inconsistent, and what is damaged.
#include "QNWorkerClass/recurrenceblob.h"
#include "QNWorkerClass/DATACALENDARDB.h"
#include "tests/support/appointments.h"
#include "tests/support/workedblobs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

struct Reading {
    DATACALENDARDB record;
    CeList<DWORD> deleted{0};
    int status = -1;

    std::string Deleted() const {
        std::string text;
        for (DWORD date : deleted) text += DateText(DayOfMinutes(date)) + " ";
        return text;
    }
    const CALENDAREXCEPTION& Change(int i) const { return *record.m_listExceptions.Get(i); }
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

std::string MomentOf(DWORD minutes) { return MomentText(VariantOfSeconds(LONGLONG{minutes} * 60)); }

TEST(RecurrenceBlob, WorkedBlobsHaveTheirStatus) {
    for (const WorkedBlob& blob : WorkedBlobs())
        EXPECT_EQ(blob.status, Read(blob.bytes)->status) << blob.name;
}

TEST(RecurrenceBlob, FieldsOfTheWeeklyOne) {
    auto reading = Read(WorkedBlobs()[2].bytes);
    const DATACALENDARDB& record = reading->record;
    EXPECT_EQ(kRecurWeekly, record.m_wRecurType);
    EXPECT_EQ(kPatternWeekdays, record.m_wPatternType);
    EXPECT_EQ(2u, record.m_dwPeriodWeeks);
    EXPECT_EQ(34u, record.m_dwWeekMask);
    EXPECT_EQ(34u, record.m_wDaysOfWeek);
    EXPECT_EQ(10u, record.m_dwOccurrences);
    EXPECT_EQ(40238.0, record.m_dtStart);
    EXPECT_EQ(215284320.0, record.m_dtEnd); // minutes, no variant time
    EXPECT_EQ(14, record.m_wStartHour);
    EXPECT_EQ(15, record.m_wEndHour);
    EXPECT_EQ("2010-03-05 ", reading->Deleted()); // the changed ones are not deleted
    ASSERT_EQ(2, record.m_listExceptions.GetCount());
    const CALENDAREXCEPTION& inPlace = reading->Change(1);
    EXPECT_EQ("Review", Narrow(inPlace.bstrSubject));
    EXPECT_EQ("Room 2", Narrow(inPlace.bstrLocation));
    EXPECT_EQ(3, inPlace.lBusyStatus);
    EXPECT_EQ(-1, inPlace.nAllDay);
    EXPECT_FALSE(inPlace.bMoved);
    EXPECT_EQ(14, inPlace.lStartHour);
    EXPECT_EQ(30, inPlace.lStartMinute);
    const CALENDAREXCEPTION& moved = reading->Change(2);
    EXPECT_TRUE(moved.bMoved);
    EXPECT_EQ("2010-03-20 10:00", MomentOf(moved.dwMovedTo));
    EXPECT_EQ(DayOfMinutes(Minutes("2010-03-19")), moved.RuleDay());
    EXPECT_EQ(nullptr, moved.bstrSubject);
    EXPECT_EQ(-1, moved.lBusyStatus);
}

TEST(RecurrenceBlob, DaysAndBodyOfChangedOccurrences) {
    auto nth = Read(WorkedBlobs()[4].bytes);
    const CALENDAREXCEPTION& allDay = nth->Change(1);
    EXPECT_EQ(1, allDay.nAllDay);
    EXPECT_TRUE(allDay.bHasBody);
    EXPECT_EQ(0x80, allDay.wFlags); // without the body's mark
    EXPECT_TRUE(allDay.bMultiDay);
    EXPECT_EQ(1, allDay.nExtraDays);
    EXPECT_EQ(24, allDay.lEndHour);
    auto yearly = Read(WorkedBlobs()[6].bytes);
    const CALENDAREXCEPTION& weekend = yearly->Change(1);
    EXPECT_TRUE(weekend.bMultiDay && weekend.bMoved);
    EXPECT_EQ(1, weekend.nExtraDays); // 34 hours
    EXPECT_EQ("Cabin", Narrow(weekend.bstrLocation));
    EXPECT_EQ(3, weekend.lBusyStatus);
    EXPECT_EQ(4, yearly->record.m_wNth);
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
    std::vector<BYTE> reserved = DailyBlob().Bytes();
    reserved[8] = 1;
    EXPECT_EQ(kBlobInconsistent, Read(reserved)->status);
    std::vector<BYTE> reservedLong = DailyBlob().Bytes();
    reservedLong[21] = 1;
    EXPECT_EQ(kBlobInconsistent, Read(reservedLong)->status);

    std::vector<BYTE> shortened = DailyBlob().Bytes(); // its last two bytes, the count of exceptions
    shortened.pop_back();
    auto cut = Read(shortened);
    EXPECT_EQ(kBlobInconsistent, cut->status);
    EXPECT_EQ(10, cut->record.m_wStartHour);

    Blob deletedOne = DailyBlob();
    deletedOne.deleted = {Minutes("2010-03-03")};
    auto reading = Read(deletedOne.Bytes());
    EXPECT_EQ(kBlobInconsistent, reading->status);
    EXPECT_EQ("2010-03-03 ", reading->Deleted());
}

// Modified dates are looked for only behind deleted ones: then the rest is taken from where they stand.
TEST(RecurrenceBlob, ModifiedDatesWithoutDeletedOnesAreNotRead) {
    Blob blob = DailyBlob();
    blob.modified = {Minutes("2010-03-03")};
    std::vector<BYTE> bytes = blob.Bytes();
    EXPECT_EQ(kBlobRefused, Read(bytes)->status); // the markers are 4 bytes off
    bytes.erase(bytes.begin() + 42, bytes.begin() + 46);
    auto reading = Read(bytes);
    EXPECT_EQ(kBlobInconsistent, reading->status);
    EXPECT_EQ(0, reading->record.m_listExceptions.GetCount());
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

TEST(RecurrenceBlob, PartsOfAChangedOccurrenceInTheirOrder) {
    ChangedOccurrence change = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:00");
    change.Subject(u"S");
    change.flags |= 0x000C; // a reminder: its minutes and its flag are passed over
    change.Word(0xAAAA).Word(0xBBBB).Word(0xCCCC).Word(0xDDDD);
    change.Location(u"Hall").Busy(1).AllDay(false);
    change.flags |= 0x0142; // 2 and 0x40 carry nothing; the body's mark
    change.Word(2).Word(0).Word(0).Word(0xEEEE);
    auto reading = ReadWithChange(change);
    ASSERT_EQ(1, reading->record.m_listExceptions.GetCount());
    const CALENDAREXCEPTION& read = reading->Change(1);
    EXPECT_EQ("S", Narrow(read.bstrSubject));
    EXPECT_EQ("Hall", Narrow(read.bstrLocation));
    EXPECT_EQ(1, read.lBusyStatus);
    EXPECT_EQ(0, read.nAllDay);
    EXPECT_TRUE(read.bHasBody);
    EXPECT_EQ(kBlobRead, reading->status);
}

TEST(RecurrenceBlob, BusyStatusBehindAForeignWord) {
    ChangedOccurrence change = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:00");
    change.flags |= 0x00A0;
    change.Word(0x0103).Word(0).Word(2).Word(0).Word(1).Word(0); // then all-day
    auto reading = ReadWithChange(change);
    EXPECT_EQ(2, reading->Change(1).lBusyStatus);
    EXPECT_EQ(1, reading->Change(1).nAllDay);
}

TEST(RecurrenceBlob, AChangedOccurrenceThatBeginsFourBytesOff) {
    ChangedOccurrence change = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:30");
    change.Subject(u"S");
    auto reading = ReadWithChange(change, {9, 0, 0, 0});
    const CALENDAREXCEPTION& read = reading->Change(1);
    EXPECT_EQ("2010-03-04 11:00", MomentOf(read.dwStart));
    EXPECT_EQ("2010-03-04 12:30", MomentOf(read.dwEnd));
    EXPECT_EQ("S", Narrow(read.bstrSubject));
}

// The record before it took four bytes too many: its busy status looked like two words.
TEST(RecurrenceBlob, AChangedOccurrenceThatBeganFourBytesBefore) {
    ChangedOccurrence first = Moved("2010-03-04 10:00", "2010-03-04 11:00", "2010-03-04 12:00");
    first.Busy(5); // no status: taken for the foreign word
    ChangedOccurrence second = Moved("2010-03-05 10:00", "2010-03-05 13:00", "2010-03-05 14:00");
    Blob blob = DailyBlob();
    blob.deleted = blob.modified = {Minutes("2010-03-04"), Minutes("2010-03-05")};
    blob.changes = {first, second};
    auto reading = Read(blob.Bytes());
    ASSERT_EQ(2, reading->record.m_listExceptions.GetCount());
    EXPECT_EQ("2010-03-05 13:00", MomentOf(reading->Change(2).dwStart));
    EXPECT_EQ("2010-03-05 14:00", MomentOf(reading->Change(2).dwEnd));
}

TEST(RecurrenceBlob, AMoveByAYearIsNoMove) {
    auto reading = ReadWithChange(Moved("2010-03-04 10:00", "2011-03-04 11:00", "2011-03-04 12:00"));
    EXPECT_FALSE(reading->Change(1).bMoved);
    EXPECT_EQ("2010-03-04 ", reading->Deleted());
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

} // namespace
