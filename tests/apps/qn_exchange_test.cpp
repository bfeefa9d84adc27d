// To-dos with their parents, journal entries, and texts that become notes.
#include "tests/apps/qn_run.h"

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
