// The notes tab, driven by pointer and keys on files of a device folder.
#include "tests/support/shellwindow.h"

#include "NorvoTools/CRegistry.h"
#include "apps/pages/listview.h"
#include "apps/pages/notefiles.h"

#include <fstream>

using Lines = std::vector<std::string>;

namespace {

class NotesViewTest : public ShellWindowTest {
protected:
    NotesViewTest() { CRegistry::INIFileCache.Clear(); } // text stores of the device before
    ~NotesViewTest() override {
        Close();
        CRegistry::INIFileCache.Clear();
    }

    void Put(const std::string& note, const std::string& bytes = "text") {
        const std::filesystem::path path = HostPath("My Documents/" + note);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }
    std::string Get(const std::string& note) const {
        std::ifstream in(HostPath("My Documents/" + note), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    Lines Files() const {
        Lines names;
        for (const auto& entry : std::filesystem::directory_iterator(HostPath("My Documents")))
            if (entry.is_regular_file()) names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }
    qn::ListView& View() { return static_cast<qn::ListView&>(shell->View()); }
    // Without the size and the day of a note.
    Lines Rows() {
        Lines rows;
        for (WORD row = 0; row < View().List().GetRowCount(); ++row) {
            WCHAR* cell = View().List().GetCellText(0, row, false);
            std::string text = cell ? qn::Utf8(cell) : "";
            std::free(cell);
            if (const std::size_t size = text.find("KB   "); size != std::string::npos)
                text.erase(0, text.find(' ', size + 5));
            rows.push_back(text.substr(std::min(text.find_first_not_of(' '), text.size())));
        }
        return rows;
    }
    static constexpr int RowY(int row) { return 40 + row * 33 + 16; }
};

TEST_F(NotesViewTest, FoldersStayAsTheyWereLeft) {
    Put("Work/plan.txt");
    Put("list.txt");
    Open(qn::TabKind::Notes);
    EXPECT_EQ((Lines{"My Documents", "Work", "list"}), Rows());
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_RIGHT);
    EXPECT_EQ((Lines{"My Documents", "Work", "plan", "list"}), Rows());
    Key(VK_LEFT); // the folder stayed selected
    EXPECT_EQ((Lines{"My Documents", "Work", "list"}), Rows());
    Tap(200, RowY(1));
    Put("Work/new.txt");
    Key(VK_F1 + 4);
    const Lines open{"My Documents", "Work", "new", "plan", "list"};
    EXPECT_EQ(open, Rows());
    Key(VK_RIGHT); // into it
    Key(VK_DOWN);
    Key(VK_LEFT); // and out again
    Key(VK_LEFT);
    Key(VK_F1 + 4);
    EXPECT_EQ((Lines{"My Documents", "Work", "list"}), Rows());
    Tap(200, RowY(1));
    Close();
    Open(qn::TabKind::Notes);
    EXPECT_EQ(open, Rows());
}

TEST_F(NotesViewTest, WithoutNotesItSaysWhatWouldStandHere) {
    Open(qn::TabKind::Notes);
    ASSERT_EQ(1U, Rows().size());
    EXPECT_TRUE(Rows()[0].starts_with("Notes will stand here")) << Rows()[0];
    EXPECT_FALSE(View().HasItem());
    Put("Work/plan.txt");
    Key(VK_F1 + 4);
    EXPECT_EQ((Lines{"My Documents", "Work"}), Rows());
}

TEST_F(NotesViewTest, OrdersByTheMenuOfTheTitle) {
    Put("a.txt", std::string(5000, 'a'));
    Put("b.txt", std::string(9000, 'b'));
    Put("c.txt");
    Open(qn::TabKind::Notes);
    EXPECT_EQ((Lines{"My Documents", "a", "b", "c"}), Rows());
    PlatAnswerMenu(4); // by size
    Tap(100, 20);
    EXPECT_EQ((Lines{"My Documents", "b", "a", "c"}), Rows());
    PlatAnswerMenu(8); // the other way round
    Tap(100, 20);
    EXPECT_EQ((Lines{"My Documents", "c", "a", "b"}), Rows());
    Close();
    Open(qn::TabKind::Notes);
    EXPECT_EQ((Lines{"My Documents", "c", "a", "b"}), Rows());
}

TEST_F(NotesViewTest, ADeletedNoteComesBackWithAllThatIsKnownOfIt) {
    constexpr const WCHAR* kEntry = u"\\My Documents\\b.txt";
    Put("a.txt");
    Put("b.txt", "Birch and oak");
    {
        CRegistry notes(qn::kNoteData);
        notes.OpenKey(HKEY_CURRENT_USER, kEntry);
        notes.SetValue(u"Category", u"Trees");
    }
    const auto isKnown = [] { return CRegistry(qn::kNoteData).Exists(HKEY_CURRENT_USER, kEntry); };
    Open(qn::TabKind::Notes);
    Tap(200, RowY(2)); // its card
    EXPECT_TRUE(View().IsCardOpen());
    PlatAnswerMessageBox(IDCANCEL);
    Key(VK_DELETE);
    EXPECT_EQ((Lines{"a.txt", "b.txt"}), Files());
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_EQ((Lines{"My Documents", "a"}), Rows());
    EXPECT_FALSE(View().IsCardOpen());
    EXPECT_FALSE(isKnown());
    PlatAnswerMenu(17); // "Dark colours": other windows
    Key(VK_F1 + 9);
    ASSERT_EQ(qn::Scheme::Dark, qn::ReadScheme());
    Key('Z', true);
    EXPECT_EQ((Lines{"My Documents", "a", "b"}), Rows());
    EXPECT_EQ("Birch and oak", Get("b.txt"));
    EXPECT_TRUE(isKnown());

    Tap(200, RowY(2));
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    Put("b.txt", "another");
    Key('Z', true);
    EXPECT_EQ((Lines{"My Documents", "a", "b 2", "b"}), Rows());
    EXPECT_EQ("another", Get("b.txt"));
    EXPECT_EQ("Birch and oak", Get("b 2.txt"));

    Tap(200, RowY(2));
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    Close(); // for good
    EXPECT_EQ((Lines{"a.txt", "b.txt"}), Files());
}

} // namespace
