// The commands, their options, their messages and their exit codes.
#include "tests/apps/qn_run.h"

#include <utility>

namespace {

class QnCommands : public QnTest {};

TEST_F(QnCommands, WrongUsage) {
    const struct {
        std::vector<std::string> words;
        const char* said;
    } cases[] = {
        {{}, ""},
        {{"imports"}, "there is no command imports"},
        {{"help", "imports"}, "there is no command imports"},
        {{"import"}, "import wants a file"},
        {{"import", "--loud", "x.ics"}, "unknown option --loud"},
        {{"import", "--horizon", "0", "x.ics"}, "--horizon wants a number from 1 to 100"},
        {{"import", "--horizon"}, "--horizon wants a value"},
        {{"import", "--quiet=yes", "x.ics"}, "--quiet takes no value"},
        {{"agenda", "tomorrow"}, "what is tomorrow?"},
        {{"agenda", "--from", "2026-02-30"}, "--from can't be 2026-02-30"},
        {{"agenda", "--from", "+99999999"}, "--from can't be"},
        {{"agenda", "--from", ""}, "--from can't be"},
        {{"agenda", "--from", "4500-12-30", "--days", "7"}, "the calendar ends"},
        {{"agenda", "--days", "0"}, "--days wants a number"},
        {{"agenda", "--days", "1e3"}, "--days wants a number"},
        {{"agenda", "--filter", "some"}, "--filter can't be some"},
        {{"agenda", "--status", "away"}, "--status can't be away"},
        {{"agenda", "--hide"}, "--hide wants --category"},
        {{"list", "notes"}, "there are no notes"},
        {{"show"}, "show wants an item number"},
        {{"show", "first"}, "first is no item number"},
        {{"get"}, "get wants one KEY"},
        {{"get", ""}, "names no setting"},
        {{"set", "CAV\\x"}, "set wants KEY and VALUE"},
        {{"set", "--number", "CAV\\x", "many"}, "many is no number"},
        {{"export"}, "export wants --ics"},
    };
    for (const auto& one : cases) {
        const Ran ran = Qn(one.words);
        EXPECT_EQ(ran.code, 2) << one.said;
        EXPECT_NE((ran.out + ran.err).find(one.said), std::string::npos) << ran.err;
    }
}

TEST_F(QnCommands, HelpAndVersion) {
    EXPECT_EQ(Qn({"--help"}).code, 0);
    for (const char* command : {"import", "agenda", "tasks", "contacts", "notes", "list", "show", "delete",
                                "get", "set", "export", "mark-up", "page"}) {
        EXPECT_TRUE(Qn({"--help"}).Says(command));
        const Ran ran = Qn({command, "--help"});
        EXPECT_EQ(ran.code, 0);
        EXPECT_TRUE(ran.Says(std::string("qn ") + command));
        EXPECT_EQ(Qn({"help", command}).out, ran.out);
    }
    EXPECT_TRUE(Qn({"--version"}).out.starts_with("qn "));
    EXPECT_FALSE(std::filesystem::exists(m_device + "/pim.vol")) << "help touches no store";
}

TEST_F(QnCommands, WhatCanNotBeDoneFails) {
    EXPECT_EQ(Qn({"show", "1073741825"}).code, 1);
    const std::string device = std::exchange(m_device, "/proc/nowhere/at/all"); // no store can be made there
    for (const char* command : {"list", "agenda"}) EXPECT_EQ(Qn({command}).code, 2);
    EXPECT_TRUE(Qn({"list"}).Says("the store can't be opened: there is no such folder"));
    EXPECT_EQ(Qn({"--help"}).code + Qn({"--version"}).code, 0) << "which need none";
    m_device = device;
    EXPECT_TRUE(Qn({"delete", "0x40000001"}).Says("there is no such item"));
    EXPECT_TRUE(Qn({"get", "CAV\\Nothing"}).Says("is not set"));
    EXPECT_EQ(Qn({"agenda", "--category", "None"}).code, 1);
    EXPECT_TRUE(Qn({"export", "--ics", "no/such/folder.ics"}).Says("No such file"));
    m_redirect = " >/dev/full";
    const Ran full = Qn({"agenda"});
    EXPECT_EQ(full.code, 1);
    EXPECT_TRUE(full.Says("standard output: No space left")) << full.err;
}

TEST_F(QnCommands, TheDeviceFolderIsTheOptions) {
    EXPECT_EQ(Import(Event("a", "DTSTART:20261201T080000\r\nSUMMARY:here")).code, 0);
    const std::string device = std::exchange(m_device, "");
    EXPECT_EQ(Qn({"list", "--device", device}).out.find("here") != std::string::npos, true);
    EXPECT_EQ(Qn({"--device=" + m_folder + "/Ein anderes Gerät", "list"}).out, "");
    EXPECT_TRUE(std::filesystem::exists(m_folder + "/Ein anderes Gerät/pim.vol"));
    EXPECT_EQ(Qn({"--device", "", "list"}).code, 2);
    EXPECT_EQ(Qn({"--device", std::string(5000, 'x'), "list"}).code, 2);
}

TEST_F(QnCommands, SettingsAreReadAndWritten) {
    const struct {
        std::vector<std::string> set;
        const char* key;
        const char* value;
    } cases[] = {
        {{"CAV\\DisplayCompletedAppointments", "0"}, "cav/displaycompletedappointments", "0"},
        {{"CAV/AppointmentSingleIfEndsEarly", "0x10"}, "CAV\\AppointmentSingleIfEndsEarly", "16"},
        {{"CAV\\FilterPrivacy", "-1"}, "CAV\\FilterPrivacy", "4294967295"},
        {{"--text", "CAV\\BDayCatName", "2026"}, "CAV\\BDayCatName", "2026"},
        {{"CAV\\AnnCatName", "Straße & Haus"},
         "HKCU\\Software\\Norvo\\Quillonary\\CAV\\AnnCatName",
         "Straße & Haus"},
        {{"hklm\\Software\\Own\\Key", "x"}, "HKLM/Software/Own/Key", "x"},
        {{"CAV\\Big", "4294967296"}, "CAV\\Big", "4294967296"}, // no number of 32 bits: a text
    };
    for (const auto& one : cases) {
        std::vector<std::string> words{"set"};
        words.insert(words.end(), one.set.begin(), one.set.end());
        EXPECT_EQ(Qn(words).code, 0) << one.key;
        EXPECT_EQ(Qn({"get", one.key}).out, std::string(one.value) + "\n");
    }
    EXPECT_TRUE(Qn({"get", "CAV/"}).Says("BDayCatName=2026\n"));
    EXPECT_EQ(Qn({"set", "--delete", "CAV\\Big"}).code, 0);
    EXPECT_EQ(Qn({"get", "CAV\\Big"}).code, 1);
    EXPECT_EQ(Qn({"set", "--delete", "CAV\\Big"}).code, 1);
}

TEST_F(QnCommands, SettingsReachTheAgenda) {
    Import(Event("n", "DTSTART:20261201T230000\r\nDTEND:20261202T010000\r\nSUMMARY:night"));
    EXPECT_EQ(Lines("2026-12-01", 2),
              (LineList{"2026-12-01 23:00-01:00 night", "2026-12-02 23:00-01:00 night"}));
    Qn({"set", "CAV\\AppointmentSingleIfEndsEarly", "6"});
    const auto lines = Agenda("2026-12-01", 2);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].at("endsearlier"), "true");
    EXPECT_EQ(Agenda("2026-12-01", 2, {"--filter", "all"}).size(), 1u) << "also with a filter of its own";
    EXPECT_EQ(Qn({"get", "CAV\\CAV_AppointmentFilter"}).code, 1) << "which is not kept";
    EXPECT_FALSE(Qn({"get", "HKCU\\Software\\Norvo\\Quillonary"}).Says("QnAgenda"));
}

TEST_F(QnCommands, AgendaTextHasNoDayButThoseOfItsRange) {
    Import(
        Event("s", "DTSTART:20261201T090000Z\r\nDURATION:PT1H\r\nRRULE:FREQ=DAILY;COUNT=9\r\nSUMMARY:daily") +
        Event("s", "RECURRENCE-ID:20261203T090000Z\r\nDTSTART:20261220T090000Z\r\nSUMMARY:moved away") +
        Event("l", "DTSTART:20261202T220000Z\r\nDURATION:PT4H\r\nSUMMARY:long"));
    const Ran text = Qn({"agenda", "--from", "2026-12-03", "--days", "1"});
    EXPECT_EQ(text.out.find("long"), text.out.rfind("long")) << "once, for the second of its days";
    EXPECT_TRUE(text.Says("long"));
    EXPECT_FALSE(text.Says("moved away")) << "to a day that has no header here";
    EXPECT_EQ(Agenda("2026-12-03", 1).size(), 3u) << "all of them as records";
}

TEST_F(QnCommands, AgendaLinesAsJson) {
    Import(Event("m@x",
                 "DTSTART:20261201T083000\r\nDURATION:PT45M\r\nSUMMARY:Meeting \\\"A\\\"\r\nLOCATION:Room\r\n"
                 "CLASS:PRIVATE\r\nTRANSP:TRANSPARENT\r\nCATEGORIES:Work\r\nDESCRIPTION:note\r\n"
                 "RRULE:FREQ=DAILY;COUNT=2\r\nBEGIN:VALARM\r\nTRIGGER:-PT15M\r\nEND:VALARM"));
    const Ran ran = Qn({"agenda", "--json", "--from", "2026-12-01", "--days", "1"});
    const std::string oid = Agenda("2026-12-01", 1)[0].at("oid");
    const std::string more =
        "\"meeting\":0,\"link\":false,\"journal\":false,\"icon\":null,\"body\":null,\"created\":null,"
        "\"modified\":null,\"birthday\":null,\"anniversary\":null,\"due\":null,\"completed\":null,\"done\":"
        "null,"
        "\"percent\":null,\"importance\":null,\"letter\":null,\"number\":null,\"starred\":null,\"overdue\":"
        "null}\n";
    EXPECT_EQ(
        ran.out,
        "{\"kind\":\"date\",\"day\":\"2026-12-01\",\"start\":\"2026-12-01T00:00:00\",\"end\":\"2026-12-01T00:"
        "00:00\","
        "\"allday\":false,\"recurring\":false,\"exception\":false,\"endsearlier\":false,\"reminder\":false,"
        "\"private\":false,\"note\":false,\"oid\":0,\"uid\":\"\",\"subject\":\"\",\"location\":\"\","
        "\"categories\":[],\"busy\":0,\"duration\":0," +
            more +
            "{\"kind\":\"appointment\",\"day\":\"2026-12-01\",\"start\":\"2026-12-01T08:30:00\","
            "\"end\":\"2026-12-01T09:15:00\",\"allday\":false,\"recurring\":true,\"exception\":false,"
            "\"endsearlier\":false,\"reminder\":true,\"private\":true,\"note\":true,\"oid\":" +
            oid +
            ",\"uid\":\"m@x\",\"subject\":\"Meeting "
            "\\\"A\\\"\",\"location\":\"Room\",\"categories\":[\"Work\"],"
            "\"busy\":0,\"duration\":45," +
            more);
}

// Settings alone make other lists join the day list.
TEST_F(QnCommands, AgendaShowsWhatTheSettingsSay) {
    Write("c.vcf", "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:c\r\nN:Byron;Ada\r\nFN:Ada Byron\r\nBDAY:19801202\r\n"
                   "ANNIVERSARY:20101202\r\nEND:VCARD\r\n");
    EXPECT_EQ(Qn({"import", "c.vcf"}).code, 0);
    Import("BEGIN:VTODO\r\nUID:t\r\nSUMMARY:A1: Call\r\nDUE;VALUE=DATE:20261202\r\nPERCENT-COMPLETE:40\r\n"
           "CATEGORIES:Work\r\nEND:VTODO\r\nBEGIN:VJOURNAL\r\nUID:j\r\nDTSTART:20261202T140000\r\nSUMMARY:"
           "Talk\r\n"
           "DESCRIPTION:about <it>\r\nX-QN-MINUTES:45\r\nEND:VJOURNAL\r\n");
    const auto day = [&] { return Qn({"agenda", "--from", "2026-12-02", "--days", "1"}).out; };
    std::string text = "Wednesday, December 2, 2026\n";
    EXPECT_EQ(day(), text);
    const struct {
        const char *setting, *lines;
    } cases[] = {
        {"ReadBirthdays",
         "          anniversary  (16 years) Ada Byron\n             birthday  (46 years) Ada Byron\n"},
        {"DV_ShowTasks", "                 task  [ ] A1 Call  (due 12/2/26, 40 %)  [Work]\n"},
        {"DV_ShowJournal", "    2:00 PM - 2:45 PM  Talk  (journal)\n"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(Qn({"set", std::string("CAV\\") + one.setting, "1"}).code, 0);
        EXPECT_EQ(day(), text += one.lines) << one.setting;
    }
    auto lines = Agenda("2026-12-02", 1);
    ASSERT_EQ(lines.size(), 4u);
    const struct {
        std::size_t line;
        const char *field, *value;
    } fields[] = {{0, "kind", "contact"},
                  {0, "uid", "c"},
                  {0, "due", "null"},
                  {2, "kind", "task"},
                  {2, "uid", "t"},
                  {2, "subject", "Call"},
                  {2, "start", "null"},
                  {2, "end", "null"},
                  {2, "due", "2026-12-02"},
                  {2, "percent", "40"},
                  {2, "letter", "A"},
                  {2, "categories", "[\"Work\"]"},
                  {2, "completed", "null"},
                  {3, "kind", "journal"},
                  {3, "uid", "j"},
                  {3, "duration", "45"},
                  {3, "body", "about \u00ABit>"},
                  {3, "done", "null"}};
    for (const auto& one : fields) EXPECT_EQ(lines[one.line][one.field], one.value) << one.line << one.field;
}

TEST_F(QnCommands, AgendaFilters) {
    const auto at = [](const char* hour, const char* more) {
        return std::string("DTSTART:20261201T") + hour + "0000\r\n" + more + "\r\nSUMMARY:" + hour;
    };
    Import(Event("a", at("08", "CATEGORIES:Work")) + Event("b", at("09", "CATEGORIES:Work,Home")) +
           Event("c", at("10", "CATEGORIES:Home")) + Event("d", at("11", "TRANSP:TRANSPARENT")) +
           Event("e", at("12", "STATUS:TENTATIVE\r\nRRULE:FREQ=DAILY;COUNT=3")) +
           Event("f", at("13", "X-MICROSOFT-CDO-BUSYSTATUS:OOF\r\nCATEGORIES:Holiday")));
    const struct {
        std::vector<std::string> options;
        std::string hours;
    } cases[] = {
        {{}, "08 09 10 11 12 13 "},
        {{"--category", "Work"}, "08 09 "},
        {{"--category", "work", "--category", "Home"}, "08 09 10 "},
        {{"--category", "Work", "--category", "Home", "--all-of"}, "09 "},
        {{"--category", "Work", "--hide"}, "10 11 12 13 "},
        {{"--category", "Work", "--no-category"}, "08 09 11 12 "},
        {{"--status", "free"}, "11 "},
        {{"--status", "tentative"}, "12 "},
        {{"--status", "busy"}, "08 09 10 "},
        {{"--status", "out"}, "13 "},
    };
    for (const auto& one : cases) {
        std::string hours;
        for (JsonRecord& line : Agenda("2026-12-01", 1, one.options)) hours += line["subject"] + " ";
        EXPECT_EQ(hours, one.hours) << (one.options.empty() ? "" : one.options[1]);
    }
    // The other filters know no range and no categories: each item stands once.
    Import(Event("g", "DTSTART;VALUE=DATE:20270105\r\nCATEGORIES:Holiday\r\nSUMMARY:day off"));
    EXPECT_EQ(Lines("2026-12-01", 1, {"--filter", "recurring"}), LineList{"2026-12-01 12:00-12:00 12"});
    EXPECT_EQ(Lines("2026-12-01", 1, {"--filter", "holidays"}), LineList{"2027-01-05 all day day off"});
}

TEST_F(QnCommands, DatesInTheUsersLocale) {
    Import(Event("a", "DTSTART:20261201T143000\r\nDURATION:PT1H\r\nSUMMARY:x"));
    const struct {
        const char* locale;
        const char* from;
        const char* day;
        const char* time;
    } cases[] = {
        {"en_US.UTF-8", "12/1/2026", "Tuesday, December 1, 2026", "2:30 PM - 3:30 PM"},
        {"de_DE.UTF-8", "1.12.2026", "Dienstag, 1. Dezember 2026", "14:30 - 15:30"},
        {"fr_FR.UTF-8", "2026-12-01", "mardi 1 décembre 2026", "14:30 - 15:30"},
    };
    for (const auto& one : cases) {
        m_locale = one.locale;
        const Ran ran = Qn({"agenda", "--from", one.from, "--days", "1"});
        EXPECT_EQ(ran.code, 0) << ran.err;
        EXPECT_TRUE(ran.out.starts_with(one.day)) << ran.out;
        EXPECT_TRUE(ran.Says(one.time)) << ran.out;
    }
}

TEST_F(QnCommands, ShowListAndDelete) {
    Import(Event("a@x",
                 "DTSTART:20261201T143000\r\nDURATION:PT1H\r\nSUMMARY:subject\r\nDESCRIPTION:one\\ntwo\r\n"
                 "RRULE:FREQ=WEEKLY;COUNT=3\r\nORGANIZER;CN=Ann:mailto:ann@x.example\r\n"
                 "ATTENDEE;CN=Bob:mailto:bob@x.example") +
           "BEGIN:VTODO\r\nUID:t\r\nDUE;VALUE=DATE:20261203\r\nPRIORITY:1\r\nSUMMARY:to "
           "do\r\nRRULE:FREQ=MONTHLY\r\n"
           "BEGIN:VALARM\r\nTRIGGER;VALUE=DATE-TIME:20261202T090000Z\r\nEND:VALARM\r\nEND:VTODO\r\n");
    auto list = Records(Qn({"list", "--json"}).out);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["minutes"], "60");
    EXPECT_EQ(list[0]["recurring"], "true");
    EXPECT_EQ(list[1]["kind"] + list[1]["due"] + list[1]["importance"], "task2026-12-032");
    const Ran shown = Qn({"show", list[0]["oid"], list[1]["oid"]});
    for (const char* text : {"subject", "12/1/26 2:30 PM", "every week on Tuesday, until 12/15/26 (3 times)",
                             "one\n", "two\n", "Bob <bob@x.example>", "Organizer    Ann", "a@x", "to do",
                             "high", "12/2/26 10:00 AM", "every month on day 3"})
        EXPECT_TRUE(shown.Says(text)) << text << "\n" << shown.out;
    EXPECT_EQ(Qn({"delete", list[0]["oid"]}).code, 0);
    EXPECT_EQ(Records(Qn({"list", "--json"}).out).size(), 1u);
    EXPECT_EQ(Lines("2026-12-01", 30), LineList{});
}

// What one device writes is what another reads.
TEST_F(QnCommands, ExportIsReadBackTheSame) {
    const std::string source = std::string(QN_SOURCE_DIR) + "/samples/";
    Qn({"import", source + "work.ics", source + "family.ics", source + "travel.ics"});
    Import(
        Event(
            "s",
            "DTSTART;TZID=America/New_York:20261019T100000\r\nDURATION:PT90M\r\nRRULE:FREQ=WEEKLY;COUNT=8\r\n"
            "EXDATE;TZID=America/New_York:20261026T100000\r\nSUMMARY:x\r\nCATEGORIES:A "
            "b,C\r\nCLASS:PRIVATE\r\n"
            "DESCRIPTION:n\r\nORGANIZER;CN=Ann:mailto:ann@x.example\r\nATTENDEE;CN=Ann:mailto:ann@x."
            "example\r\n"
            "BEGIN:VALARM\r\nTRIGGER:-P1D\r\nEND:VALARM") +
        Event("s", "RECURRENCE-ID;TZID=America/"
                   "New_York:20261102T100000\r\nDTSTART;VALUE=DATE:20261103\r\nSUMMARY:y") +
        Event("h", "DTSTART:20061120T100000\r\nRRULE:FREQ=HOURLY;COUNT=3\r\nSUMMARY:h") +
        Event("m", "DTSTART;VALUE=DATE:20260131\r\nRRULE:FREQ=MONTHLY;BYMONTHDAY=-1\r\nSUMMARY:month's end") +
        "BEGIN:VTODO\r\nUID:t\r\nDTSTART;VALUE=DATE:20261201\r\nDUE;VALUE=DATE:20261203\r\nRRULE:FREQ="
        "MONTHLY\r\n"
        "PERCENT-COMPLETE:40\r\nSUMMARY:to do\r\nBEGIN:VALARM\r\nTRIGGER:-PT1H\r\nEND:VALARM\r\nEND:VTODO\r\n"
        "BEGIN:VTODO\r\nUID:d\r\nCOMPLETED:20261101T120000Z\r\nPRIORITY:9\r\nSUMMARY:done\r\nEND:VTODO\r\n");
    const auto all = [&] {
        std::vector<JsonRecord> lines = Agenda("2026-09-01", 500);
        for (JsonRecord& line : Agenda("2006-11-20", 2)) lines.push_back(line);
        for (JsonRecord& line : Records(Qn({"list", "tasks", "--json"}).out)) lines.push_back(line);
        for (JsonRecord& line : lines) {
            line.erase("oid");
            // In the file each date of a series that was split is an event of its own, with its place in its UID.
            line["uid"] = line["uid"].substr(0, line["uid"].find('#'));
        }
        return lines;
    };
    const auto before = all();
    EXPECT_GT(before.size(), 400u);
    const Ran written = Qn({"export", "--ics", "out.ics"});
    EXPECT_EQ(written.code, 0);
    EXPECT_EQ(written.err, "");
    EXPECT_EQ(Qn({"import", "out.ics"}).code, 0);
    EXPECT_EQ(all(), before) << "on the same device";
    m_device += "2";
    const Ran read = Qn({"import", "out.ics"});
    EXPECT_EQ(read.code, 0) << read.out;
    EXPECT_EQ(all(), before);
    // And what is written of that is the same file but for its time stamps.
    Qn({"export", "--ics", "again.ics"});
    const auto unstamped = [&](const char* name) {
        std::string kept, text = Read(name);
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
            if (text.compare(at, 8, "DTSTAMP:") != 0) kept += text.substr(at, end - at);
            at = end;
        }
        return kept;
    };
    EXPECT_EQ(unstamped("again.ics"), unstamped("out.ics"));
}

} // namespace
