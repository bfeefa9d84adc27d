// To-dos with their parents, journal entries, what is linked, and texts that become notes; and all of it out again.
#include "tests/apps/qn_run.h"

#include <algorithm>
#include <sstream>

namespace {

class QnExchange : public QnTest {
protected:
    static std::string Todo(const std::string& uid, const std::string& lines) {
        return "BEGIN:VTODO\r\nUID:" + uid + "\r\n" + lines + "\r\nEND:VTODO\r\n";
    }
    static std::string Entry(const std::string& uid, const std::string& lines) {
        return "BEGIN:VJOURNAL\r\nUID:" + uid + "\r\n" + lines + "\r\nEND:VJOURNAL\r\n";
    }
    // "child < parent" of all tasks as the export tells it, in the order of their numbers.
    LineList Tree() const {
        LineList tree;
        std::string uid;
        std::istringstream in(Qn({"export", "--ics"}).out);
        for (std::string line; std::getline(in, line);) {
            line.pop_back();
            if (line.starts_with("UID:")) uid = line.substr(4);
            if (line.starts_with("RELATED-TO:")) tree.push_back(uid + " < " + line.substr(11));
        }
        return tree;
    }
    // The lines of an export but those that tell when it was made and when the store was written.
    LineList Export(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words{"export", "--ics"};
        words.insert(words.end(), more.begin(), more.end());
        const Ran ran = Qn(words);
        EXPECT_EQ(ran.code, 0) << ran.err;
        LineList lines;
        std::istringstream in(ran.out);
        for (std::string line; std::getline(in, line);)
            if (!line.starts_with("DTSTAMP:") && !line.starts_with("LAST-MODIFIED:"))
                lines.push_back(line.substr(0, line.size() - 1));
        return lines;
    }
    static std::string Joined(const LineList& lines, const std::string& prefix) {
        std::string text;
        for (const std::string& line : lines)
            if (line.starts_with(prefix)) text += line.substr(prefix.size()) + ";";
        return text;
    }
    // The bytes of a note on the device as narrow text; empty when there is none.
    std::string Note(const std::string& name) const {
        std::ifstream in(m_device + "/My Documents/" + name, std::ios::binary);
        std::string text;
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        EXPECT_TRUE(bytes.empty() || bytes.starts_with("\xFF\xFE"));
        for (std::size_t i = 2; i < bytes.size(); i += 2) text += bytes[i];
        return text;
    }
};

TEST_F(QnExchange, TasksKeepAllTheirFields) {
    const std::string todo =
        Todo("t",
             "DTSTART;VALUE=DATE:20261201\r\nDUE;VALUE=DATE:20261210\r\nSUMMARY:A1: Call\r\nPRIORITY:2\r\n"
             "PERCENT-COMPLETE:40\r\nCATEGORIES:Work\r\nDESCRIPTION:Long\\nnote\r\nCLASS:PRIVATE") +
        Todo("d", "SUMMARY:done\r\nSTATUS:COMPLETED\r\nCOMPLETED:20261109T233000Z\r\nPRIORITY:9");
    EXPECT_EQ(Import(todo).code, 0);
    const std::string text = Qn({"export", "--ics"}).out;
    for (const char* line :
         {"DTSTART;VALUE=DATE:20261201", "DUE;VALUE=DATE:20261210", "SUMMARY:A1: Call", "PRIORITY:1",
          "PERCENT-COMPLETE:40", "CATEGORIES:Work", "DESCRIPTION:Long\\nnote", "CLASS:PRIVATE",
          "STATUS:COMPLETED", "COMPLETED:20261110T110000Z", "PRIORITY:9"})
        EXPECT_NE(text.find(std::string(line) + "\r\n"), std::string::npos) << line << "\n" << text;
}

TEST_F(QnExchange, ParentsOfTasks) {
    const std::string tree = Todo("c", "SUMMARY:c\r\nRELATED-TO;RELTYPE=PARENT:b") + Todo("a", "SUMMARY:a") +
                             Todo("b", "SUMMARY:b\r\nRELATED-TO:a\r\nRELATED-TO;RELTYPE=SIBLING:x") +
                             Todo("o", "SUMMARY:o\r\nRELATED-TO:nobody");
    const Ran ran = Import(tree);
    EXPECT_EQ(ran.code, 0) << ran.out;
    EXPECT_TRUE(ran.Says("1 parents of to-dos that are not there") &&
                ran.Says("1 relations to items that are not there"))
        << ran.out;
    EXPECT_EQ(Tree(), (LineList{"c < b", "b < a"}));
    // A file without parents leaves the tree, and one of a part of it finds the rest in the store.
    Import(Todo("b", "SUMMARY:b"));
    Import(Todo("d", "SUMMARY:d\r\nRELATED-TO:c"));
    EXPECT_EQ(Tree(), (LineList{"c < b", "b < a", "d < c"}));
    // Cycles are refused, of one, in a file, and through the store; a tree turned round is none.
    const Ran cycle = Import(Todo("a", "SUMMARY:a\r\nRELATED-TO:d") + Todo("s", "SUMMARY:s\r\nRELATED-TO:s") +
                             Todo("x", "SUMMARY:x\r\nRELATED-TO:y") + Todo("y", "SUMMARY:y\r\nRELATED-TO:x"));
    EXPECT_EQ(cycle.code, 1);
    for (const char* line : {"in.ics:3:", "in.ics:8:", "in.ics:18:"})
        EXPECT_TRUE(cycle.Says(std::string(line) + " its parents lead back to itself")) << cycle.out;
    EXPECT_EQ(Tree(), (LineList{"c < b", "b < a", "d < c", "x < y"}));
    EXPECT_EQ(Import(Todo("a", "SUMMARY:a\r\nRELATED-TO:b") + Todo("b", "SUMMARY:b")).code, 0);
    EXPECT_EQ(Tree(), (LineList{"c < b", "a < b", "d < c", "x < y"}));
}

TEST_F(QnExchange, JournalEntriesStandInTheDayList) {
    Import(Todo("t", "SUMMARY:task"));
    const std::string entries =
        Entry("j", "DTSTART;TZID=Europe/Berlin:20261201T140000\r\nSUMMARY:Talk\r\nDESCRIPTION:with Dana\r\n"
                   "CATEGORIES:Work\r\nRELATED-TO:t") +
        Entry("k", "DTSTART;VALUE=DATE:20261202\r\nSUMMARY:Diary\r\nRELATED-TO:nobody");
    const Ran ran = Import(entries);
    EXPECT_EQ(ran.code, 0);
    EXPECT_TRUE(ran.Says("2 journal entries imported") &&
                ran.Says("1 owners of journal entries that are not there"))
        << ran.out;
    EXPECT_EQ(Qn({"set", "CAV\\WV_ShowJournal", "1"}).code, 0);
    const LineList lines{"2026-12-01 14:00-14:00 Talk", "2026-12-02 00:00-00:00 Diary"};
    EXPECT_EQ(Lines("2026-12-01", 2), lines);
    EXPECT_TRUE(Import(entries).Says("2 journal entries were there"));
    EXPECT_EQ(Lines("2026-12-01", 2), lines);
    // What no entry holds is told, several descriptions are one note, a cancelled entry goes.
    const Ran more = Import(
        Entry("j", "STATUS:CANCELLED\r\nSUMMARY:Talk") + Entry("gone", "STATUS:CANCELLED\r\nSUMMARY:x") +
        Entry("k", "DTSTART;VALUE=DATE:20261202\r\nSUMMARY:Diary\r\nDESCRIPTION:one\r\nDESCRIPTION:two\r\n"
                   "CLASS:PRIVATE\r\nLOCATION:Here\r\nATTENDEE:mailto:a@x\r\nRRULE:FREQ=DAILY"));
    for (const char* what :
         {"2 items cancelled", "1 rules of journal entries", "1 privacy of journal entries",
          "1 locations of journal entries", "1 people of journal entries"})
        EXPECT_TRUE(more.Says(what)) << what << more.out;
    auto left = Records(Qn({"list", "journal", "--json"}).out);
    ASSERT_EQ(left.size(), 1u);
    const std::string oid = left[0]["oid"];
    EXPECT_TRUE(Qn({"show", oid}).Says("Note         one\n               \n               two\n"))
        << Qn({"show", oid}).out;
    EXPECT_EQ(Qn({"delete", oid}).code, 0);
    EXPECT_EQ(Qn({"delete", oid}).code, 1);
    EXPECT_EQ(Qn({"show", oid}).code, 1);
    EXPECT_EQ(Qn({"list", "journal"}).out, "");
}

TEST_F(QnExchange, WhatIsExportedIsReadBackWhole) {
    const std::string note = "e1xydGYxIHNheSB7XGIgYm9sZH1ccGFyIH0="; // {\rtf1 say {\b bold}\par }
    Write("c.vcf", "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:c\r\nFN:Ada\r\nEND:VCARD\r\n");
    EXPECT_EQ(Qn({"import", "c.vcf"}).code, 0);
    EXPECT_EQ(
        Import(
            Todo("t", "SUMMARY:A1: Call\r\nDTSTART;VALUE=DATE:20261201\r\nDUE;VALUE=DATE:20261203\r\n"
                      "PERCENT-COMPLETE:40\r\nPRIORITY:1\r\nCATEGORIES:Work\r\nDESCRIPTION:say bold\r\n"
                      "X-QN-NOTE:" +
                          note +
                          "\r\nX-QN-CONTEXT:@a\\\\b\\, "
                          "c\r\nX-QN-STARRED:1\r\nX-QN-STATUS:3\r\n"
                          "RELATED-TO;RELTYPE=SIBLING:e\r\nRELATED-TO;RELTYPE=SIBLING:c") +
            Todo("s", "SUMMARY:state\r\nX-QN-PERCENT:101\r\nRELATED-TO:"
                      "t\r\nDESCRIPTION:edited\r\n"
                      "X-QN-NOTE:" +
                          note) +
            Todo("p", "SUMMARY:paint\r\nX-QN-PROJECT:House") +
            Event("e", "DTSTART:20261202T090000\r\nDURATION:PT1H\r\nSUMMARY:Visit\r\nDESCRIPTION:say bold\r\n"
                       "X-QN-NOTE:" +
                           note) +
            Entry("j", "DTSTART:20261202T143015\r\nCREATED:20261202T160000Z\r\nSUMMARY:Talk\r\n"
                       "DESCRIPTION:say\\nbold\r\nCATEGORIES:Work,Home\r\nRELATED-TO:e\r\nX-QN-MINUTES:45\r\n"
                       "X-QN-TYPE:NewTask\r\nX-QN-NUMBER2:-7\r\nX-QN-FLAG:1") +
            Entry("k", "DTSTART;VALUE=DATE:20261203\r\nCREATED:20261101T000000Z\r\nSUMMARY:Diary\r\n"
                       "DESCRIPTION:say bold\r\nX-QN-NOTE:" +
                           note))
            .code,
        0);
    const LineList lines = Export();
    EXPECT_EQ(Joined(lines, "UID:"), "e;t;s;p;k;j;");
    EXPECT_EQ(Joined(lines, "RELATED-TO:"), "t;e;");
    EXPECT_EQ(Joined(lines, "RELATED-TO;RELTYPE=SIBLING:"), "t;e;c;") << "from both sides";
    EXPECT_EQ(Joined(lines, "DESCRIPTION:"), "say bold;say bold;edited;say bold;say\\nbold;");
    EXPECT_EQ(Joined(lines, "PERCENT-COMPLETE:") + Joined(lines, "STATUS:"), "40;") << "101 is open";
    for (const char* line :
         {"DTSTART:20261202T143015", "CREATED:20261202T160000Z", "DTSTART;VALUE=DATE:20261203",
          "X-QN-TYPE:NewTask", "X-QN-MINUTES:45", "X-QN-NUMBER2:-7", "X-QN-FLAG:1", "X-QN-STARRED:1",
          "X-QN-PROJECT:House", "X-QN-STATUS:3", "X-QN-PERCENT:101"})
        EXPECT_EQ(std::ranges::count(lines, line), 1) << line;
    EXPECT_EQ(std::ranges::count_if(lines, [](const auto& line) { return line.starts_with("X-QN-NOTE:"); }),
              3);
    // Read here once more nothing changes, and elsewhere all of it comes; an entry in another zone stays at its time of day.
    Write("out.ics", Qn({"export", "--ics"}).out);
    EXPECT_EQ(Qn({"import", "out.ics"}).code, 0);
    EXPECT_EQ(Export(), lines);
    m_device += "2";
    EXPECT_EQ(Qn({"import", "c.vcf", "out.ics"}).code, 0);
    EXPECT_EQ(Export(), lines);
    EXPECT_TRUE(Qn({"tasks", "--rule", "project", "--project", "House"}).Says("paint"));
}

TEST_F(QnExchange, OnlyTheDaysThatAreAskedFor) {
    Import(Event("single", "DTSTART:20261201T230000\r\nDURATION:PT2H\r\nSUMMARY:s") +
           Event("series", "DTSTART:20261110T090000\r\nRRULE:FREQ=DAILY;COUNT=23\r\nSUMMARY:r") +
           Event("endless", "DTSTART:20261203T090000\r\nRRULE:FREQ=DAILY\r\nSUMMARY:e") +
           Todo("span", "DTSTART;VALUE=DATE:20261130\r\nDUE;VALUE=DATE:20261204\r\nSUMMARY:t") +
           Todo("undated", "SUMMARY:u") + Entry("entry", "DTSTART;VALUE=DATE:20261202\r\nSUMMARY:j"));
    const struct {
        const char *from, *to, *uids;
    } cases[] = {{"2026-12-02", "2026-12-02", "single;series;span;entry;"}, // the 23rd date is 2 December
                 {"2026-12-03", "2026-12-09", "endless;span;"},
                 {"2020-01-01", "2026-12-01", "single;series;span;"}};
    for (const auto& one : cases)
        EXPECT_EQ(Joined(Export({"--from", one.from, "--to", one.to}), "UID:"), one.uids);
    EXPECT_EQ(Joined(Export(), "UID:"), "single;series;endless;span;undated;entry;");
    EXPECT_EQ(Qn({"export", "--ics", "--to", "someday"}).code, 2);
    EXPECT_EQ(Qn({"export", "--vcf", "--to", "today"}).code, 2);
}

TEST_F(QnExchange, LinksAreMadeOnceFromBothSides) {
    const std::string file =
        Todo("t", "SUMMARY:task\r\nRELATED-TO;RELTYPE=SIBLING:e\r\nRELATED-TO;RELTYPE=SIBLING:t") +
        Event("e", "DTSTART:20261202T090000\r\nSUMMARY:visit\r\nRELATED-TO:t\r\nRELATED-TO:gone") +
        Event("o", "DTSTART:20261202T100000\r\nSUMMARY:other");
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(Import(file).Says("2 relations to items that are not there")); // one to itself
        EXPECT_EQ(Joined(Export(), "RELATED-TO;RELTYPE=SIBLING:"), "t;e;");
    }
    EXPECT_TRUE(Qn({"tasks", "--json"}).Says("\"link\":true"));
    const auto lines = Agenda("2026-12-02", 1);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].at("link") + lines[1].at("link"), "truefalse");
}

TEST_F(QnExchange, TextsBecomeNotes) {
    Write("plan.md", "# Plan\n- one\n");
    Write("old.txt", "caf\xE9");
    Write("wide.txt", std::string("\xFE\xFF\0w\0\n", 6));
    Write("binary.txt", std::string("a\0b", 3));
    EXPECT_EQ(Qn({"import", "plan.md", "old.txt", "wide.txt"}).code, 0);
    EXPECT_EQ(Note("plan.txt"), "# Plan\n- one\n");
    EXPECT_EQ(Note("old.txt"), "caf\xE9");
    EXPECT_EQ(Note("wide.txt"), "w\n");
    Write("zeros.txt", std::string("\xFF\xFE\0\0w\0", 6));
    for (const std::string name : {"binary.txt", "zeros.txt"}) {
        const Ran bad = Qn({"import", name});
        EXPECT_EQ(bad.code, 1);
        EXPECT_TRUE(bad.Says(name + ": is no text")) << bad.err;
    }
    const std::string cut(119, 'n'); // and half of what follows
    Write(cut + "\U0001F600.txt", "x");
    EXPECT_EQ(Qn({"import", cut + "\U0001F600.txt"}).code, 0);
    EXPECT_EQ(Note(cut + ".txt"), "x");
    // The same once more is the same note; other content takes a free name.
    EXPECT_TRUE(Qn({"import", "plan.md"}).Says("was there as"));
    for (const char* text : {"other", "other", "third"}) {
        Write("plan.md", text);
        EXPECT_EQ(Qn({"import", "plan.md"}).code, 0);
    }
    EXPECT_EQ(Note("plan.txt"), "# Plan\n- one\n");
    EXPECT_EQ(Note("plan (2).txt"), "other");
    EXPECT_EQ(Note("plan (3).txt"), "third");
    EXPECT_FALSE(std::filesystem::exists(m_device + "/My Documents/plan (4).txt"));
}

} // namespace
