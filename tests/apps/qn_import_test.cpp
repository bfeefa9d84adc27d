// What a calendar file says is what the day list shows: zones, all-day items, changed and deleted occurrences, broken and
// hostile input, and importing once more.
#include "tests/apps/qn_run.h"

namespace {

class QnImport : public QnTest {};

// --- Times --------------------------------------------------------------------------------------------------------

struct ZoneCase {
    const char* device;
    const char* start; // a DTSTART with its parameters
    const char* shown;
};

TEST_F(QnImport, TimesOfZonesOnTheDeviceClock) {
    const ZoneCase cases[] = {
        {"Europe/Berlin", "DTSTART;TZID=America/New_York:20261128T164500", "2026-11-28T22:45:00"},
        {"Europe/Berlin", "DTSTART;TZID=America/New_York:20260312T090000",
         "2026-03-12T14:00:00"}, // summer there only
        {"Europe/Berlin", "DTSTART:20260701T120000Z", "2026-07-01T14:00:00"},
        {"Europe/Berlin", "DTSTART:20260701T120000", "2026-07-01T12:00:00"}, // floats
        {"Europe/Berlin", "DTSTART;TZID=W. Europe Standard Time:20260701T080000", "2026-07-01T08:00:00"},
        {"Europe/Berlin", "DTSTART;TZID=/example.org/2005/Asia/Tokyo:20260701T080000", "2026-07-01T01:00:00"},
        {"Europe/Berlin", "DTSTART;TZID=tzone://Example/Utc:20260701T080000", "2026-07-01T10:00:00"},
        {"Europe/Berlin", "DTSTART;TZID=No/Where:20260701T080000", "2026-07-01T08:00:00"},
        {"Europe/Berlin", "DTSTART;TZID=\"../../etc/passwd\":20260701T080000", "2026-07-01T08:00:00"},
        {"America/New_York", "DTSTART;TZID=America/New_York:20060320T090000",
         "2006-03-20T09:00:00"}, // older rules
        {"Europe/Berlin", "DTSTART;TZID=America/New_York:20060320T090000", "2006-03-20T15:00:00"},
        {"UTC", "DTSTART;TZID=America/New_York:20261101T013000", "2026-11-01T05:30:00"}, // the first of two
        {"UTC", "DTSTART;TZID=America/New_York:20260308T023000", "2026-03-08T07:30:00"}, // a time that isn't
        {"Australia/Sydney", "DTSTART:20260115T220000Z", "2026-01-16T09:00:00"},
        {"Asia/Kathmandu", "DTSTART:20260115T000000Z", "2026-01-15T05:45:00"},
        {"Europe/Berlin", "DTSTART:20260701T240000", "2026-07-02T00:00:00"},
    };
    int number = 0;
    for (const ZoneCase& one : cases) {
        SCOPED_TRACE(std::string(one.device) + " " + one.start);
        m_zone = one.device;
        m_device = m_folder + "/d" + std::to_string(number++);
        EXPECT_EQ(Import(Event("z", std::string(one.start) + "\r\nSUMMARY:x")).code, 0);
        const auto lines = Agenda(std::string(one.shown).substr(0, 10), 1);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_EQ(lines[0].at("start"), one.shown);
    }
}

TEST_F(QnImport, SeriesKeepsItsZone) {
    // New York leaves summer time a week after Berlin, and enters it two weeks before.
    EXPECT_EQ(Import(Event("s", "DTSTART;TZID=America/New_York:20261019T100000\r\nDURATION:PT1H\r\n"
                                "RRULE:FREQ=WEEKLY;UNTIL=20261102T150000Z\r\nSUMMARY:call"))
                  .code,
              0);
    EXPECT_EQ(Lines("2026-10-01", 60), (LineList{"2026-10-19 16:00-17:00 call", "2026-10-26 15:00-16:00 call",
                                                 "2026-11-02 16:00-17:00 call"}));
    m_zone = "America/New_York"; // the device travels
    EXPECT_EQ(Lines("2026-10-26", 1), LineList{"2026-10-26 10:00-11:00 call"});
}

TEST_F(QnImport, ZoneThatTheFileDefines) {
    const std::string zone =
        "BEGIN:VTIMEZONE\r\nTZID:Our house\r\nBEGIN:STANDARD\r\nDTSTART:19700101T000000\r\n"
        "TZOFFSETFROM:+0330\r\nTZOFFSETTO:+0330\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n"
        "BEGIN:VTIMEZONE\r\nTZID:Tokyo Standard Time\r\nEND:VTIMEZONE\r\n"; // tells nothing but its name
    EXPECT_EQ(
        Import(
            zone + Event("a", "DTSTART;TZID=Our house:20260701T120000\r\nSUMMARY:one") +
            Event("t", "DTSTART;TZID=Tokyo Standard Time:20260703T150000\r\nSUMMARY:tokyo") +
            Event("b", "DTSTART;TZID=Our house:20260701T130000\r\nRRULE:FREQ=DAILY;COUNT=2\r\nSUMMARY:two"))
            .code,
        0);
    EXPECT_EQ(Lines("2026-07-01", 3),
              (LineList{"2026-07-01 10:30-10:30 one", "2026-07-01 11:30-11:30 two",
                        "2026-07-02 11:30-11:30 two", "2026-07-03 08:00-08:00 tokyo"}));
}

TEST_F(QnImport, AllDayItemsKeepTheirDays) {
    const std::string events =
        Event("a", "DTSTART;VALUE=DATE:20260328\r\nDTEND;VALUE=DATE:20260331\r\nSUMMARY:three") +
        Event("b", "DTSTART;VALUE=DATE:20260401\r\nRRULE:FREQ=MONTHLY;COUNT=2\r\nSUMMARY:series");
    int number = 0;
    for (const char* zone : {"Europe/Berlin", "America/New_York", "Pacific/Auckland", "UTC"}) {
        SCOPED_TRACE(zone);
        m_zone = zone;
        m_device = m_folder + "/d" + std::to_string(number++);
        EXPECT_EQ(Import(events).code, 0);
        EXPECT_EQ(Lines("2026-03-20", 60), (LineList{"2026-03-28 all day three", "2026-03-29 all day three",
                                                     "2026-03-30 all day three", "2026-04-01 all day series",
                                                     "2026-05-01 all day series"}));
    }
}

// --- Occurrences --------------------------------------------------------------------------------------------------

constexpr const char* kWeek =
    "DTSTART;TZID=Europe/Berlin:20261207T100000\r\nDTEND;TZID=Europe/Berlin:20261207T110000\r\n"
    "RRULE:FREQ=DAILY;COUNT=6\r\nSUMMARY:daily";

// A line of more values than its reader takes at once.
TEST_F(QnImport, ManyExcludedDatesInOneLine) {
    std::string dates;
    for (int i = 0; i < 700; ++i) {
        char date[32];
        std::snprintf(date, sizeof date, "%s2026%02d%02dT%02d0000", i ? "," : "", 1 + i / 28 % 12, 1 + i % 28,
                      i < 336 ? 10 : 11);
        dates += date + std::string(i % 4 == 3 ? "\r\n " : "");
    }
    Import(Event("w", "DTSTART;TZID=\"Europe/Berlin\":20260101T100000\r\nRRULE:FREQ=HOURLY;COUNT=2\r\n"
                      "RDATE;TZID=\"Europe/Berlin\":" +
                          dates + "\r\nSUMMARY:x"));
    EXPECT_EQ(Lines("2026-01-01", 365).size(), 672u);
}

TEST_F(QnImport, ChangedAndDeletedOccurrences) {
    const Ran ran = Import(
        Event("w", std::string(kWeek) + "\r\nEXDATE;TZID=Europe/Berlin:20261208T100000,20261209T100000\r\n"
                                        "EXDATE;VALUE=DATE:20261210\r\nEXDATE:20270101T100000") +
        Event("w", "RECURRENCE-ID;TZID=Europe/"
                   "Berlin:20261207T100000\r\nDTSTART;VALUE=DATE:20261207\r\nSUMMARY:whole") +
        Event(
            "w",
            "RECURRENCE-ID:20261211T090000Z\r\nDTSTART:20261210T140000Z\r\nDURATION:PT2H\r\nSUMMARY:moved\r\n"
            "LOCATION:there") +
        Event("w", "RECURRENCE-ID:20261212T090000Z\r\nDTSTART:20261212T090000Z\r\nSTATUS:CANCELLED") +
        Event("w", "RECURRENCE-ID:20261208T090000Z\r\nDTSTART:20261208T110000Z\r\nSUMMARY:back") +
        Event("w", "RECURRENCE-ID:20270212T090000Z\r\nDTSTART:20261212T090000Z\r\nSUMMARY:none"));
    EXPECT_EQ(ran.code, 0);
    EXPECT_TRUE(ran.Says("2 occurrences changed")) << ran.out;
    EXPECT_TRUE(ran.Says("4 occurrences taken out"));
    EXPECT_TRUE(ran.Says("1 EXDATE that the rule doesn't have"));
    EXPECT_TRUE(ran.Says("2 changed dates that their series doesn't have")); // kept all the same
    EXPECT_EQ(Lines("2026-12-01", 90),
              (LineList{"2026-12-07 all day whole", "2026-12-08 12:00-12:00 back",
                        "2026-12-10 15:00-17:00 moved", "2026-12-12 10:00-10:00 none"}));
    const JsonRecord moved = Agenda("2026-12-01", 90)[2];
    EXPECT_EQ(moved.at("exception"), "true");
    EXPECT_EQ(moved.at("location"), "there");
    EXPECT_EQ(moved.at("uid"), "w");
}

TEST_F(QnImport, ChangeThatComesInAFileOfItsOwn) {
    const std::string change =
        Event("w", "RECURRENCE-ID;TZID=Europe/Berlin:20261208T100000\r\n"
                   "DTSTART;TZID=Europe/Berlin:20261208T150000\r\nDURATION:PT1H\r\nSUMMARY:later");
    // Without its series it stands for itself ...
    EXPECT_EQ(Import(change).code, 0);
    EXPECT_EQ(Lines("2026-12-07", 3), LineList{"2026-12-08 15:00-16:00 later"});
    // ... and goes into the series when that comes; an update leaves the others alone.
    EXPECT_EQ(Import(Event("w", kWeek) + change).code, 0);
    const LineList expected{"2026-12-07 10:00-11:00 daily", "2026-12-08 15:00-16:00 later",
                            "2026-12-09 10:00-11:00 daily"};
    EXPECT_EQ(Lines("2026-12-07", 3), expected);
    EXPECT_EQ(Import(change).code, 0);
    EXPECT_EQ(Lines("2026-12-07", 3), expected);
}

// A series that was split is changed in the single appointment of that date, however often the change comes.
TEST_F(QnImport, ChangeOfASeriesThatWasSplit) {
    const auto change = [](const char* lines) {
        return Event("w", std::string("RECURRENCE-ID:20261209T100000\r\n") + lines);
    };
    const auto series = [](int count) {
        return Event("w", "DTSTART:20261207T100000\r\nRRULE:FREQ=DAILY;BYMONTH=12;COUNT=" +
                              std::to_string(count) + "\r\nSUMMARY:daily");
    };
    const std::string first = "2026-12-07 10:00-10:00 daily", second = "2026-12-08 10:00-10:00 daily";
    const std::string third = "2026-12-09 15:00-15:00 later", fourth = "2026-12-10 10:00-10:00 daily";
    const struct {
        std::string components;
        LineList lines;
    } steps[] = {
        {series(4), {first, second, "2026-12-09 10:00-10:00 daily", fourth}},
        {change("DTSTART:20261209T150000\r\nSUMMARY:later"), {first, second, third, fourth}},
        {change("DTSTART:20261209T150000\r\nSUMMARY:later"), {first, second, third, fourth}},
        {change("DTSTART:20261209T150000\r\nSTATUS:CANCELLED"), {first, second, fourth}},
        {series(2), {first, second}},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(Import(step.components).code, 0);
        EXPECT_EQ(Lines("2026-12-07", 7), step.lines);
    }
}

TEST_F(QnImport, DatesBesideTheRule) {
    const Ran ran = Import(
        Event(
            "r",
            "DTSTART:20261207T100000\r\nDURATION:PT1H\r\nRRULE:FREQ=WEEKLY;COUNT=2\r\nRDATE:20261214T100000,"
            "20261209T120000\r\nRDATE;VALUE=DATE:20261211\r\nRDATE;VALUE=PERIOD:20261210T080000/"
            "PT3H\r\nEXDATE:20261209T120000\r\nSUMMARY:r") +
        Event(
            "two",
            "DTSTART:20261207T130000\r\nRRULE:FREQ=DAILY;COUNT=2\r\nRRULE:FREQ=WEEKLY;COUNT=2\r\nSUMMARY:t") +
        Event("hours",
              "DTSTART:20261208T060000\r\nRRULE:FREQ=HOURLY;INTERVAL=6;COUNT=3\r\nEXDATE:20261208T120000\r\n"
              "SUMMARY:h") +
        Event("ended",
              "DTSTART:20261208T200000\r\nRRULE:FREQ=WEEKLY;BYDAY=FR;UNTIL=20261210T230000\r\nSUMMARY:e"));
    EXPECT_EQ(ran.code, 0) << ran.out;
    EXPECT_EQ(Lines("2026-12-01", 30),
              (LineList{"2026-12-07 10:00-11:00 r", "2026-12-07 13:00-13:00 t", "2026-12-08 06:00-06:00 h",
                        "2026-12-08 13:00-13:00 t", "2026-12-08 18:00-18:00 h", "2026-12-08 20:00-20:00 e",
                        "2026-12-10 08:00-11:00 r", "2026-12-11 10:00-11:00 r", "2026-12-14 10:00-11:00 r",
                        "2026-12-14 13:00-13:00 t"}));
}

// --- Once more ----------------------------------------------------------------------------------------------------

TEST_F(QnImport, TheSameFileAgainChangesNothing) {
    const std::string source = std::string(QN_SOURCE_DIR) + "/samples/";
    const std::vector<std::string> import{"import",
                                          source + "work.ics",
                                          source + "family.ics",
                                          source + "travel.ics",
                                          source + "tasks.ics",
                                          source + "contacts.vcf"};
    Qn(import);
    // Two without a UID, and one that is split.
    const std::string own =
        Calendar("BEGIN:VEVENT\r\nDTSTART:20261120T100000\r\nSUMMARY:a\r\nEND:VEVENT\r\n"
                 "BEGIN:VEVENT\r\nDTSTART:20261120T100000\r\nSUMMARY:a\r\nEND:VEVENT\r\n" +
                 Event("h", "DTSTART:20261120T100000\r\nRRULE:FREQ=HOURLY;COUNT=3\r\nSUMMARY:h"));
    Write("own.ics", own);
    Qn({"import", "own.ics"});
    const std::string before = Qn({"agenda", "--json", "--from", "2026-11-01", "--days", "400"}).out;
    const std::string list = Qn({"list", "--json"}).out;
    EXPECT_GT(Records(before).size(), 400u);
    Qn(import);
    const Ran again = Qn({"import", "own.ics"});
    EXPECT_TRUE(again.Says("5 appointments were there")) << again.out;
    EXPECT_EQ(Qn({"agenda", "--json", "--from", "2026-11-01", "--days", "400"}).out, before);
    EXPECT_EQ(Qn({"list", "--json"}).out, list);
}

TEST_F(QnImport, AChangedFileUpdates) {
    // Each stands for the event from then on; what the one before left behind is gone.
    const struct {
        const char* event;
        LineList lines;
    } steps[] = {
        {"DTSTART:20261207T100000\r\nRRULE:FREQ=HOURLY;INTERVAL=2;COUNT=3\r\nATTENDEE:mailto:a@b.example\r\n"
         "CATEGORIES:One\r\nSUMMARY:x",
         {"2026-12-07 10:00-10:00 x", "2026-12-07 12:00-12:00 x", "2026-12-07 14:00-14:00 x"}},
        {"DTSTART:20261207T100000\r\nRRULE:FREQ=HOURLY;INTERVAL=2;COUNT=2\r\nSUMMARY:x",
         {"2026-12-07 10:00-10:00 x", "2026-12-07 12:00-12:00 x"}},
        {"DTSTART:20261208T100000\r\nRRULE:FREQ=DAILY;COUNT=2\r\nEXDATE:20261208T100000\r\nSUMMARY:s",
         {"2026-12-09 10:00-10:00 s"}},
        {"DTSTART:20261207T150000\r\nSUMMARY:single", {"2026-12-07 15:00-15:00 single"}},
        {"DTSTART;VALUE=DATE:20261207\r\nRRULE:FREQ=YEARLY\r\nSUMMARY:all", {"2026-12-07 all day all"}},
        {"DTSTART:20261207T150000\r\nRDATE:20261208T150000\r\nSUMMARY:two",
         {"2026-12-07 15:00-15:00 two", "2026-12-08 15:00-15:00 two"}},
        {"DTSTART:20261207T150000\r\nSTATUS:CANCELLED\r\nSUMMARY:two", {}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.event);
        EXPECT_EQ(Import(Event("u", step.event)).code, 0);
        EXPECT_EQ(Lines("2026-12-01", 30), step.lines);
    }
    EXPECT_EQ(Qn({"list"}).out, "");
}

// --- Broken and hostile input -------------------------------------------------------------------------------------

struct Broken {
    const char* name;
    std::string bytes;
    int code;
    const char* said;
    LineList lines; // of 1 December 2026
};

// "0,1,2" for 3.
std::string Numbers(int count) {
    std::string text = "0";
    for (int i = 1; i < count; ++i) text += "," + std::to_string(i);
    return text;
}

TEST_F(QnImport, BrokenFiles) {
    const std::string good = Event("g", "DTSTART:20261201T100000\r\nSUMMARY:good");
    const LineList onlyGood{"2026-12-01 10:00-10:00 good"};
    const auto vevent = [&](const std::string& lines) { return Calendar(Event("b", lines) + good); };
    const Broken cases[] = {
        {"empty", "", 1, "bad.ics: the file is empty", {}},
        {"no calendar", "hello\r\n", 1, "bad.ics:1: not an iCalendar file", {}},
        {"a program",
         std::string("\x7f"
                     "ELF\0\1\2",
                     7),
         1,
         "not an iCalendar file",
         {}},
        {"no items", Calendar(""), 0, "0 appointments and 0 tasks imported, 0 split, 0 skipped", {}},
        {"cut inside", "BEGIN:VCALENDAR\r\n" + good + "BEGIN:VEVENT\r\nUID:b\r\nDTSTA", 1,
         "bad.ics:7: the file ends inside of it", onlyGood},
        {"cut between", "BEGIN:VCALENDAR\r\n" + good, 1, "without END:VCALENDAR", onlyGood},
        {"no end", Calendar("BEGIN:VEVENT\r\nUID:b\r\nDTSTART:20261201T080000\r\n" + good), 1,
         "bad.ics:3: its end is missing", onlyGood},
        {"alarm left open",
         Calendar("BEGIN:VEVENT\r\nUID:b\r\nDTSTART:20261201T090000\r\nSUMMARY:b\r\nBEGIN:VALARM\r\n"
                  "TRIGGER:-PT5M\r\nEND:VEVENT\r\n" +
                  good),
         0,
         "2 appointments",
         {"2026-12-01 09:00-09:00 b", "2026-12-01 10:00-10:00 good"}},
        {"other components", Calendar("BEGIN:VFREEBUSY\r\nUID:j\r\nEND:VFREEBUSY\r\n" + good), 1,
         "bad.ics:3: a component of kind VFREEBUSY", onlyGood},
        {"bare line feeds, lower case",
         "begin:vcalendar\nbegin:vevent\nuid:b\ndtstart:20261201T090000\nsummary:low\n"
         "end:vevent\nend:vcalendar\n",
         0,
         "1 appointment and",
         {"2026-12-01 09:00-09:00 low"}},
        {"bare carriage returns",
         "BEGIN:VCALENDAR\rBEGIN:VEVENT\rUID:b\rDTSTART:20261201T090000\rSUMMARY:old\rEND:VEVENT\rEND:"
         "VCALENDAR\r",
         0,
         "1 appointment and",
         {"2026-12-01 09:00-09:00 old"}},
        {"an answer to an invitation", Calendar("METHOD:REPLY\r\n" + good), 1, "(METHOD:REPLY)", {}},
        {"an invitation taken back", Calendar("METHOD:CANCEL\r\n" + good), 0, "1 item cancelled", {}},
        {"one date of a to-do",
         Calendar("BEGIN:VTODO\r\nUID:b\r\nRECURRENCE-ID:20261201T100000\r\nEND:VTODO\r\n" + good), 1,
         "0 tasks imported, 0 split, 1 skipped", onlyGood},
        {"values without a place",
         vevent("DTSTART:20261201T080000\r\nORGANIZER;CN=A:mailto:a@b.example\r\nSUMMARY:b"),
         0,
         "1 addresses of organizers",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"lines of nonsense",
         vevent("DTSTART:20261201T080000\r\nwhat now\r\nSUMMARY:b"),
         0,
         "1 lines that make no sense",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"rule of another calendar that fits no day",
         vevent("DTSTART:20261201T080000\r\nRRULE:RSCALE=CHINESE;FREQ=MONTHLY;BYDAY=6MO\r\nSUMMARY:b"),
         0,
         "1 rules that can't be followed date by date",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"zone that changes each second",
         Calendar("BEGIN:VTIMEZONE\r\nTZID:q\r\nBEGIN:STANDARD\r\nDTSTART:16010101T000000\r\nRRULE:FREQ="
                  "SECONDLY\r\n"
                  "TZOFFSETFROM:+0000\r\nTZOFFSETTO:+0900\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n" +
                  Event("b", "DTSTART;TZID=q:20261201T080000\r\nSUMMARY:b")),
         0,
         "time zone \"q\" is not known",
         {"2026-12-01 08:00-08:00 b"}},
        {"more people and categories than anyone has",
         vevent("DTSTART:20261201T080000\r\nCATEGORIES:c" + Numbers(1001) + "\r\n" +
                [] {
                    std::string people;
                    for (int i = 0; i < 1001; ++i) people += "ATTENDEE:mailto:p@x.example\r\n";
                    return people;
                }() +
                "SUMMARY:b"),
         0,
         "1 attendees beyond a thousand\n  not kept: 1 categories behind the first thousand",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"rule of every second",
         vevent("DTSTART:20261201T080000\r\nRRULE:FREQ=YEARLY;BYSECOND=" + Numbers(60) +
                ";BYMINUTE=" + Numbers(60) + ";BYHOUR=" + Numbers(24) + "\r\nSUMMARY:b"),
         0,
         "1 rules that can't be followed date by date",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"byte-order mark", "\xEF\xBB\xBF" + Calendar(good), 0, "1 appointment and", onlyGood},
        {"no start", vevent("SUMMARY:b"), 1, "without a date that it starts on", onlyGood},
        {"no such day", vevent("DTSTART:20260231T100000\r\nSUMMARY:b"), 1, "without a date", onlyGood},
        {"start as period", vevent("DTSTART;VALUE=PERIOD:20261201T100000Z/PT1H"), 1, "DTSTART can't be read",
         onlyGood},
        {"years out of range", vevent("DTSTART:00010101T000000Z\r\nSUMMARY:b"), 1, "without a date",
         onlyGood},
        {"rule of nonsense", vevent("DTSTART:20261201T100000\r\nRRULE:FREQ=OFTEN"), 1, "RRULE can't be read",
         onlyGood},
        {"this and future",
         Calendar(Event("g", "DTSTART:20261201T100000\r\nRRULE:FREQ=DAILY;COUNT=3\r\nSUMMARY:good") +
                  Event("g", "RECURRENCE-ID;RANGE=THISANDFUTURE:20261201T100000\r\n"
                             "DTSTART:20261201T110000\r\nSUMMARY:b")),
         1, "changes an occurrence and all that follow", onlyGood},
        {"end before start",
         vevent("DTSTART:20261201T080000\r\nDTEND:20261201T070000\r\nSUMMARY:b"),
         0,
         "1 ends before the start",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"negative duration",
         vevent("DTSTART:20261201T080000\r\nDURATION:-PT1H\r\nSUMMARY:b"),
         0,
         "1 ends before the start",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"endless duration",
         vevent("DTSTART:20261201T080000\r\nDURATION:P99999999W\r\nSUMMARY:b"),
         0,
         "more than ten years",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"unreadable values",
         vevent("DTSTART:20261201T080000\r\nDTEND:then\r\nEXDATE:never\r\nSUMMARY:b"),
         0,
         "1 EXDATE that can't be read",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"UID twice",
         Calendar(good + Event("g", "SEQUENCE:2\r\nDTSTART:20261201T100000\r\nSUMMARY:newer")),
         1,
         "bad.ics:3: its UID stands in the file once more",
         {"2026-12-01 10:00-10:00 newer"}},
        {"UID twice, the later one first",
         Calendar(Event("b", "DTSTAMP:20261102T000000Z\r\nDTSTART:20261201T080000\r\nSUMMARY:newer") +
                  Event("b", "DTSTAMP:20261101T000000Z\r\nDTSTART:20261201T080000\r\nSUMMARY:older") +
                  Event("c", "DTSTAMP:20261101T000000Z\r\nDTSTART:20261201T090000\r\nSUMMARY:older") +
                  Event("c", "DTSTAMP:20261102T000000Z\r\nDTSTART:20261201T090000\r\nSUMMARY:newer")),
         1,
         "2 skipped\n",
         {"2026-12-01 08:00-08:00 newer", "2026-12-01 09:00-09:00 newer"}},
        {"a count behind all years",
         vevent("DTSTART:20261201T080000\r\nRRULE:FREQ=YEARLY;COUNT=9999\r\nSUMMARY:b"),
         0,
         "2 appointments",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"seconds",
         vevent("DTSTART:20261201T080000\r\nRRULE:FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30\r\nSUMMARY:b"),
         0,
         "no pattern can hold the rule",
         {"2026-12-01 08:00-08:00 b", "2026-12-01 10:00-10:00 good"}},
        {"alarms deep in alarms",
         [&] {
             std::string deep = "BEGIN:VEVENT\r\nUID:b\r\nDTSTART:20261201T080000\r\n";
             for (int i = 0; i < 20000; ++i) deep += "BEGIN:VALARM\r\n";
             return Calendar(deep + "END:VEVENT\r\n" + good);
         }(),
         1, "nested too deeply", onlyGood},
    };
    int number = 0;
    for (const Broken& one : cases) {
        SCOPED_TRACE(one.name);
        m_device = m_folder + "/d" + std::to_string(number++);
        Write("bad.ics", one.bytes);
        const Ran ran = Qn({"import", "bad.ics"});
        EXPECT_EQ(ran.code, one.code);
        EXPECT_TRUE(ran.Says(one.said)) << ran.out << ran.err;
        EXPECT_EQ(Lines("2026-12-01", 1), one.lines);
    }
}

TEST_F(QnImport, TextsComeThroughWhole) {
    const std::string megabyte(1'000'000, 'x');
    EXPECT_EQ(
        Import(
            Event("a",
                  "DTSTART:20261201T080000\r\nSUMMARY:Stra\xC3\r\n \x9F"
                  "e\\, \\\"Haus\\\" \xE6\x9D\xB1\xE4\xBA\xAC"
                  "\r\nLOCATION:a\\;b\\nc\r\nCATEGORIES:Big things , Work\r\nCATEGORIES:Work,with\\, comma") +
            Event("b", "DTSTART:20261201T090000\r\nSUMMARY:bad \xFF\xC3 bytes\x1B[31m") +
            Event("c", "DTSTART:20261201T100000\r\nSUMMARY:long\r\nDESCRIPTION:" + megabyte))
            .code,
        0);
    auto lines = Agenda("2026-12-01", 1);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0]["subject"], "Straße, \"Haus\" 東京");
    EXPECT_EQ(lines[0]["location"], "a;b\nc");
    EXPECT_EQ(lines[0]["categories"], "[\"Big things\",\"Work\",\"with; comma\"]");
    EXPECT_EQ(lines[2]["note"], "true");
    EXPECT_NE(Qn({"show", lines[2]["oid"]}).out.find(megabyte), std::string::npos);
    // What would steer a terminal is a blank there.
    EXPECT_EQ(Qn({"agenda", "--from", "2026-12-01", "--days", "1"}).out.find('\x1B'), std::string::npos);
    EXPECT_EQ(Qn({"list"}).out.find('\x1B'), std::string::npos);
}

TEST_F(QnImport, ManyFilesAndPipes) {
    const std::string one = Calendar(Event("a", "DTSTART:20261201T080000\r\nSUMMARY:one"));
    const std::string two = Calendar(Event("b", "DTSTART:20261201T090000\r\nSUMMARY:two"));
    Write("one.ics", one);
    Write("two.ics", two);
    const Ran ran = Qn({"import", "one.ics", "missing.ics", ".", "two.ics"});
    EXPECT_EQ(ran.code, 1);
    EXPECT_TRUE(ran.Says("missing.ics: No such file")) << ran.err;
    EXPECT_TRUE(ran.Says(".: is a folder"));
    EXPECT_EQ(Lines("2026-12-01", 1), (LineList{"2026-12-01 08:00-08:00 one", "2026-12-01 09:00-09:00 two"}));
    m_device += "2";
    m_redirect = " <one.ics";
    EXPECT_EQ(Qn({"import", "-"}).code, 0);
    m_redirect = " <two.ics";
    EXPECT_EQ(Qn({"import", "--quiet", "/dev/stdin"}).out, "");
    m_redirect.clear();
    EXPECT_EQ(Lines("2026-12-01", 1).size(), 2u);
}

} // namespace
