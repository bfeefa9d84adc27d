// The lists beside the calendar as a person prints them.
#include "tests/apps/qn_run.h"

namespace {

class QnLists : public QnTest {
protected:
    // Words behind the command that are wrong usage, and what is said of them.
    void ExpectRefused(const char* command,
                       const std::map<std::vector<std::string>, const char*>& cases) const {
        for (const auto& [wrong, said] : cases) {
            std::vector<std::string> words = wrong;
            words.insert(words.begin(), command);
            const Ran ran = Qn(words);
            EXPECT_EQ(2, ran.code) << words.back();
            EXPECT_TRUE(ran.Says(said)) << ran.err;
        }
    }
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
    ExpectRefused("tasks", {{{"--sort", "colour"}, "it is one of subject, due"},
                            {{"--tree", "--group", "date"}, "don't go together"},
                            {{"--days", "3"}, "--days goes with --rule next"}});
}

// An imported tree is open.
TEST_F(QnLists, TasksBelowOneAnother) {
    const std::string tree = ToDo("top", "SUMMARY:Roof") +
                             ToDo("part", "SUMMARY:Tiles\r\nRELATED-TO:top\r\nDUE;VALUE=DATE:20991231");
    ASSERT_EQ(0, Import(tree).code);
    EXPECT_EQ("[ ] Roof\n  [ ] Tiles  (due 12/31/99)\n", Qn({"tasks"}).out);
    EXPECT_EQ("[ ] Tiles  (due 12/31/99)\n", Qn({"tasks", "--rule", "goal", "--below", "top"}).out);
    EXPECT_EQ(1, Qn({"tasks", "--rule", "goal", "--below", "nobody"}).code);
    auto rows = Records(Qn({"tasks", "--group", "progress", "--json"}).out);
    ASSERT_EQ(9u, rows.size());
    const auto told = [&rows](std::size_t row) {
        std::string text;
        for (const char* name : {"kind", "depth", "subject", "uid", "due", "completed", "project", "children",
                                 "expanded", "hidden"})
            text += rows[row][name] + " ";
        return text + (rows[row]["parent"] == "null" ? "no parent" : "parent");
    };
    EXPECT_EQ("group 0 Due Later null null null null 1 true false no parent", told(5));
    EXPECT_EQ("task 1 Tiles part 2099-12-31 null null 0 true false parent", told(6));

    const std::string state = "TV\\GroupState\\GRPPROG-6";
    ASSERT_EQ(0, Qn({"set", state, "0"}).code);
    EXPECT_FALSE(Qn({"tasks", "--group", "progress"}).Says("Tiles"));
    EXPECT_TRUE(Qn({"tasks", "--group", "progress", "--open"}).Says("Due Later (1)\n  [ ] Tiles"));
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
        {{"--format", "last", "--find", "n", "--full"}, // in any name
         "Byron, Ada  +44 20 1  [Friends]\nHopper, Grace\nNoether, Emmy\n"},
        {{"--format", "last", "--find", "ada"},
         "Byron, Ada  +44 20 1  [Friends]\n"}, // no last name begins so
        {{"--format", "last", "--find", "4420"}, "Byron, Ada  +44 20 1  [Friends]\n"},
        {{"--format", "last", "--find", "nobody"}, ""},
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
    auto rows = Records(Qn({"contacts", "--format", "company", "--json"}).out);
    ASSERT_EQ(6u, rows.size());
    const auto told = [&](std::size_t row) {
        std::string text;
        for (const char* name :
             {"kind", "depth", "group", "name", "company", "key", "line", "property", "count", "open"})
            text += rows[row][name] + " ";
        return text;
    };
    EXPECT_EQ("group 0 1 None null null (1) null 1 true ", told(0));
    EXPECT_EQ("contact 1 1 Emmy Noether null null null null null null ", told(1));
    EXPECT_EQ("contact 1 3 Ada Byron Engines Engines +44 20 1 9830431 null null ", told(3));
    ExpectRefused("contacts", {{{"--keypad", "2a"}, "takes digits"},
                               {{"--keypad", "2", "--find", "a"}, "don't go together"},
                               {{"--find", ""}, "--find wants a text"},
                               {{"--full"}, "--full goes with --find"},
                               {{"--format", "age"}, "it is one of first, last"},
                               {{"byron"}, "what is byron?"}});
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
    std::filesystem::create_directories(m_device + "/My Documents/Nothing");
    EXPECT_EQ(0u, Qn({"notes", "--find", "beds"}).out.find("\\My Documents/\n  Garden/\n    beds.txt"));
    EXPECT_FALSE(Qn({"notes", "--find", "beds"}).Says("Nothing")); // leads to no note
    auto rows = Records(Qn({"notes", "--open", "--ascending", "--json"}).out);
    ASSERT_EQ(6u, rows.size()); // documents, Garden, beds, Nothing, what stands in it, plan
    const auto fields = [&rows](std::size_t row, std::initializer_list<const char*> names) {
        std::string text;
        for (const char* name : names) text += rows[row][name] + " ";
        return text;
    };
    EXPECT_EQ("folder null 1 null ", fields(1, {"kind", "type", "depth", "kilobytes"}));
    EXPECT_EQ("note 9 2 1 ", fields(2, {"kind", "type", "depth", "kilobytes"}));
    EXPECT_EQ(rows[1]["oid"], rows[2]["parent"]);
    EXPECT_EQ("null false null null false true ",
              fields(2, {"alarm", "hasalarm", "color", "database", "hidden", "shown"}));
    EXPECT_EQ("empty null null null 2 ", fields(4, {"kind", "type", "path", "modified", "depth"}));
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"notes", "--contents"}, {"notes", "--find", ""}, {"notes", "--ascending", "--descending"}})
        EXPECT_EQ(2, Qn(words).code) << words.back();
}

TEST_F(QnLists, SearchOverEverything) {
    const auto day = [](const std::string& date) {
        return "\r\nDTSTART:" + date + "T090000\r\nDURATION:PT90M";
    };
    std::string items;
    for (const char* number : {"1", "2", "3"}) items += ToDo(number, std::string("SUMMARY:Millet ") + number);
    items += ToDo("t", "SUMMARY:Oil the mill <b>\r\nDUE;VALUE=DATE:20300105\r\nCATEGORIES:Home") +
             Event("a", "SUMMARY:Mill tour\r\nLOCATION:Dam" + day("20300110")) +
             Event("s", "SUMMARY:Milling" + day("20300101") + "\r\nRRULE:FREQ=DAILY;INTERVAL=7;COUNT=4") +
             "BEGIN:VJOURNAL\r\nUID:j\r\nDTSTART:20300102T100000\r\nSUMMARY:Bought a mill\r\nRELATED-TO:t\r\n"
             "DESCRIPTION:from Jones\r\nEND:VJOURNAL\r\n";
    ASSERT_EQ(0, Import(items).code);
    Write("in.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Miller;Bo\r\nFN:Bo Miller\r\nORG:Grain\r\n"
                    "TEL;TYPE=CELL:(030) 55\r\nEND:VCARD\r\n");
    ASSERT_EQ(0, Qn({"import", "in.vcf"}).code);
    std::filesystem::create_directories(m_device + "/My Documents");
    Write("device/My Documents/mill.txt", "wind and water");

    const std::string contact = "contact      Miller, Bo  Grain  (030) 55\n";
    const std::string task = "task         Oil the mill <b>  1/5/30  [Home]  (linked)\n";
    const std::string millets = "task         Millet 1\ntask         Millet 2\ntask         Millet 3\n";
    const std::string tour = "appointment  Mill tour  1/10/30 9:00 AM  1hour, 30minutes, Dam\n";
    const auto lesson = [](const std::string& date) {
        return "appointment  Milling  " + date + " 9:00 AM  1hour, 30minutes\n";
    };
    const std::string entry = "journal      Bought a mill  1/2/30  of Oil the mill <b>  from Jones\n";
    const struct {
        std::vector<std::string> words;
        std::string expected;
    } cases[] = {
        {{"mill", "--in", "contacts,tasks"}, contact + millets + task}, // as they are found
        {{"mill", "--in", "contacts,tasks", "--sort", "subject"}, millets + task + contact},
        {{"mill", "--in", "tasks", "--sort", "subject", "--descending"},
         task + "task         Millet 3\ntask         Millet 2\ntask         Millet 1\n"},
        {{"mill", "--begin", "--in", "appointments"},
         "appointment  Milling  1/1/30 9:00 AM  1hour, 30minutes  (series)\n" + tour},
        {{"milling", "--from", "2030-01-08", "--to", "2030-01-15"}, lesson("1/8/30") + lesson("1/15/30")},
        {{"dam", "--field", "location"}, tour},
        {{"03055", "--field", "phone"}, contact},
        {{"grain", "--field", "mail", "--field", "company", "--field", "all"}, contact},
        {{"Mylar", "--sound", "--in", "contacts"}, contact},
        {{"m*t?1"}, "task         Millet 1\n"},
        {{"oil", "--category", "home", "--in", "tasks"}, task},
        {{"oil", "--no-links", "--in", "tasks"}, "task         Oil the mill <b>  1/5/30  [Home]\n"},
        {{"oil", "--category", "home", "--hide", "--in", "tasks"},
         "Nothing found for \"oil\". With --contents "
         "notes are searched too.\n"},
        {{"water", "--contents", "--tasks", "done"}, "note         mill.txt  "},
        {{"mill", "--in", "tasks,appointments", "--from", "2030-01-04", "--to", "2030-01-14", "--group",
          "age"},
         "Next 7 Days (3)\n  " + task + "  " + lesson("1/8/30") + "  " + tour},
        {{"jones", "--group", "item"}, "Oil the mill <b> (1)\n  " + entry},
    };
    for (auto one : cases) {
        one.words.insert(one.words.begin(), "search");
        const Ran ran = Qn(one.words);
        EXPECT_EQ(0, ran.code) << ran.err;
        EXPECT_EQ(one.expected, ran.out.substr(0, one.expected.size() + (one.expected.back() == '\n')))
            << ran.out;
    }
    auto rows = Records(Qn({"search", "mill", "--json", "--in", "journal,notes", "--group", "item"}).out);
    ASSERT_EQ(3u, rows.size());
    EXPECT_EQ("note mill.txt \\My Documents\\mill.txt null 0", rows[0]["kind"] + " " + rows[0]["subject"] +
                                                                   " " + rows[0]["path"] + " " +
                                                                   rows[0]["uid"] + " " + rows[0]["depth"]);
    EXPECT_EQ("group Oil the mill <b> 1",
              rows[1]["kind"] + " " + rows[1]["subject"] + " " + rows[1]["children"]);
    EXPECT_EQ("j 2030-01-02T10:00:00 task Oil the mill <b> 1 Oil the mill <b>",
              rows[2]["uid"] + " " + rows[2]["start"] + " " + rows[2]["linkedkind"] + " " +
                  rows[2]["linkedtitle"] + " " + rows[2]["depth"] + " " + rows[2]["group"]);
    rows = Records(Qn({"search", "oil", "--json", "--in", "tasks"}).out);
    ASSERT_EQ(1u, rows.size());
    EXPECT_EQ("2030-01-05 null t <B>Oil the mill <</BODY>b></B><BR>[1/5/30]  ",
              rows[0]["date"] + " " + rows[0]["start"] + " " + rows[0]["uid"] + " " + rows[0]["text"]);
    EXPECT_EQ("", Qn({"search", "nowhere", "--json"}).out);
    ExpectRefused("search",
                  {{{}, "what is to be found?"},
                   {{" "}, "what is to be found?"},
                   {{"a", "b"}, "stands in quotes"},
                   {{"a", "--in", "mails"}, "it is one of contacts, tasks"},
                   {{"a", "--field", "eyes"}, "it is one of all, name"},
                   {{"a", "--from", "later"}, "--from can't be later"},
                   {{"a", "--from", "2030-01-02", "--to", "2030-01-01"}, "behind --to"},
                   {{"a", "--group", "age"}, "counts from --from"},
                   {{"a", "--descending"}, "wants a --sort"},
                   {{"a", "--hide"}, "wants --category"},
                   {{"a", "--field", "mail", "--field", "phone", "--sort", "date"}, "one --field"}});
}

} // namespace
