// The lists beside the calendar as a person prints them.
#include "tests/apps/qn_run.h"

namespace {

class QnLists : public QnTest {
protected:
    static std::string ToDo(const std::string& uid, const std::string& lines) {
        return "BEGIN:VTODO\r\nUID:" + uid + "\r\n" + lines + "\r\nEND:VTODO\r\n";
    }
};

TEST_F(QnLists, TasksByRuleGroupAndOrder) {
    ASSERT_EQ(0, Import(ToDo("1", "SUMMARY:Zoo\r\nPRIORITY:1\r\nCATEGORIES:Fun") +
                        ToDo("2", "SUMMARY:Bake\r\nDUE;VALUE=DATE:20991231\r\nCATEGORIES:Home,Fun") +
                        ToDo("3", "SUMMARY:Paid\r\nSTATUS:COMPLETED\r\nCOMPLETED:20200102T120000Z"))
                     .code);
    const struct {
        std::vector<std::string> words;
        const char* expected;
    } cases[] = {
        {{"--sort", "subject"}, "[ ] Bake  (due 12/31/99)  [Fun, Home]\n[ ] Zoo  (high)  [Fun]\n"},
        {{"--sort", "subject", "--descending"},
         "[ ] Zoo  (high)  [Fun]\n[ ] Bake  (due 12/31/99)  [Fun, Home]\n"},
        {{"--rule", "undated"}, "[ ] Zoo  (high)  [Fun]\n"},
        {{"--rule", "done"}, "[x] Paid  (done 1/2/20)\n"},
        {{"--group", "importance", "--sort", "subject,due"},
         "High (1)\n  [ ] Zoo  (high)  [Fun]\nNormal (1)\n  [ ] Bake  (due 12/31/99)  [Fun, Home]\nLow "
         "(0)\n"},
        {{"--rule", "context", "--context", "@home"}, ""},
    };
    for (auto one : cases) {
        one.words.insert(one.words.begin(), "tasks");
        const Ran ran = Qn(one.words);
        EXPECT_EQ(0, ran.code) << ran.err;
        EXPECT_EQ(one.expected, ran.out);
    }
    auto rows = Records(Qn({"tasks", "--json", "--done", "--sort", "subject"}).out);
    ASSERT_EQ(3u, rows.size());
    EXPECT_EQ("Paid 100 2020-01-02 null 3", rows[1]["subject"] + " " + rows[1]["percent"] + " " +
                                                rows[1]["completed"] + " " + rows[1]["due"] + " " +
                                                rows[1]["uid"]);
    EXPECT_EQ(2, Qn({"tasks", "--sort", "colour"}).code);
    EXPECT_EQ(2, Qn({"tasks", "--tree", "--group", "date"}).code);
}

TEST_F(QnLists, ContactsByFormatAndFind) {
    const auto card = [](const std::string& last, const std::string& first, const std::string& more) {
        return "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + last + ";" + first + "\r\nFN:" + first + " " + last +
               "\r\n" + more + "END:VCARD\r\n";
    };
    Write("in.vcf", card("Byron", "Ada", "ORG:Engines\r\nTEL;TYPE=CELL:+44 20 1\r\nCATEGORIES:Friends\r\n") +
                        card("Hopper", "Grace", "ORG:Navy\r\n") + card("Noether", "Emmy", ""));
    ASSERT_EQ(0, Qn({"import", "in.vcf"}).code);
    const struct {
        std::vector<std::string> words;
        const char* expected;
    } cases[] = {
        {{"--format", "first"}, "Ada Byron  +44 20 1  [Friends]\nEmmy Noether\nGrace Hopper\n"},
        {{"--format", "last"}, "Byron, Ada  +44 20 1  [Friends]\nHopper, Grace\nNoether, Emmy\n"},
        {{"--format", "last", "--find", "hop"}, "Hopper, Grace\n"},
        {{"--format", "last", "--find", "engines", "--full"}, "Byron, Ada  +44 20 1  [Friends]\n"},
        {{"--format", "last", "--keypad", "441"}, "Noether, Emmy\n"}, // N, O, E
        {{"--format", "company", "--closed"}, "None (1)\nEngines (1)\nNavy (1)\n"},
    };
    for (auto one : cases) {
        one.words.insert(one.words.begin(), "contacts");
        const Ran ran = Qn(one.words);
        EXPECT_EQ(0, ran.code) << ran.err;
        EXPECT_EQ(one.expected, ran.out) << one.words.back();
    }
    EXPECT_TRUE(Qn({"contacts", "--format", "company"}).Says("Engines (1)\n  "));
    EXPECT_EQ(2, Qn({"contacts", "--keypad", "2a"}).code);
}

TEST_F(QnLists, NotesInTheirFolders) {
    std::filesystem::create_directories(m_device + "/My Documents/Garden");
    Write("device/My Documents/plan.txt", "Roses are red");
    Write("device/My Documents/Garden/beds.txt", "ROSE beds");
    Write("device/My Documents/Garden/picture.png", "no note");
    ASSERT_EQ(0, Qn({"notes"}).code);
    const Ran open = Qn({"notes", "--open", "--ascending"});
    EXPECT_TRUE(open.Says("My Documents/\n")) << open.out;
    EXPECT_TRUE(open.Says("  Garden/\n    beds.txt  (1 KB, ")) << open.out;
    EXPECT_TRUE(open.Says("\n  plan.txt  (1 KB, ")) << open.out;
    EXPECT_FALSE(open.Says("picture"));
    EXPECT_FALSE(Qn({"notes", "--find", "rose"}).Says(".txt"));
    const Ran found = Qn({"notes", "--find", "rose", "--contents"});
    EXPECT_TRUE(found.Says("beds.txt") && found.Says("plan.txt")) << found.out;
    EXPECT_EQ(2, Qn({"notes", "--contents"}).code);
}

} // namespace
