// The search tab, driven by keys on real stores: what is typed is found, another text ends the search before, and each kind
// of item has its card.
#include "tests/support/shellwindow.h"

#include "NorvoTools/CRegistry.h"
#include "Platform/strings.h"
#include "QNWorkerClass/journalstore.h"
#include "apps/pages/notecard.h"
#include "apps/pages/searchcards.h"
#include "apps/pages/searchview.h"

#include <chrono>
#include <fstream>

using Lines = std::vector<std::string>;
using qn::Bstr;
using qn::Com;

namespace {

class SearchViewTest : public ShellWindowTest {
protected:
    SearchViewTest() { CRegistry::INIFileCache.Clear(); } // text stores of the device before
    ~SearchViewTest() override {
        Close();
        CRegistry::INIFileCache.Clear();
    }

    template<class Item>
    static Com<Item> New(int kind, const IID& iid) {
        Com<IDispatch> made;
        EXPECT_EQ(S_OK, g_pOutlook->CreateItem(kind, made.Out()));
        return made.As<Item>(iid);
    }
    static LONG Task(const WCHAR* subject, const WCHAR* note = u"") {
        const auto task = New<ITask>(olTaskItem, IID_ITask);
        LONG oid = 0;
        task->put_Subject(Bstr(subject));
        task->put_Body(Bstr(note));
        EXPECT_EQ(S_OK, task->Save());
        task->get_Oid(&oid);
        return oid;
    }
    // One of each kind, each with "oak" in its title.
    void MakeOneOfEach() {
        const LONG task = Task(u"A1: Order oak", u"Of the forester");
        const auto appointment = New<IAppointment>(olAppointmentItem, IID_IAppointment);
        appointment->put_Subject(Bstr(u"Fell the oak"));
        appointment->put_Location(Bstr(u"Wood"));
        appointment->put_Start(kTuesday + 0.375);
        appointment->put_Duration(30);
        appointment->Save();
        const auto contact = New<IContact>(olContactItem, IID_IContact);
        contact->put_FileAs(Bstr(u"Oakley, Ann"));
        contact->Save();
        std::filesystem::create_directories(HostPath("My Documents"));
        std::ofstream(HostPath("My Documents/oaks.txt")) << "Quercus";
        CJournalData entry;
        entry.m_strTitle = CeString(u"Planted an oak");
        entry.m_oidOwner = static_cast<DWORD>(task);
        EXPECT_TRUE(CJournal::WriteEntry(&entry, true));
    }

    qn::SearchView& View() { return static_cast<qn::SearchView&>(shell->View()); }
    void Type(const WCHAR* text) {
        PlatText(text);
        Settle();
    }
    // The pause after which what was typed is looked for.
    void Pause(DWORD milliseconds = 250) {
        PlatAdvanceClock(milliseconds);
        Settle();
    }
    void Find(const WCHAR* text) {
        View().Find(text);
        Settle();
    }
    void CheckCards();
    // The first line of each row.
    Lines Rows() {
        Lines rows;
        for (WORD row = 0; row < View().List().GetRowCount(); ++row) {
            WCHAR* cell = View().List().GetCellText(0, row, false);
            const std::string text = cell ? qn::Utf8(cell) : "";
            std::free(cell);
            const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
            const std::size_t below = std::min(text.find('['), text.find("My Documents"));
            rows.push_back(text.substr(begin, below - begin));
        }
        return rows;
    }
};

const std::u16string* FieldOf(const qn::CardText& card, std::u16string_view label) {
    for (const auto& [name, value] : card.fields)
        if (name == label) return &value;
    return nullptr;
}

void SearchViewTest::CheckCards() {
    for (int i = 0; i < 5; ++i) {
        Key(VK_DOWN);
        Key(VK_RETURN);
        EXPECT_TRUE(View().IsCardOpen()) << i;
        Key(VK_ESCAPE);
        EXPECT_FALSE(View().IsCardOpen()) << i;
    }
    const auto& list = View().Data().Shown().GetList();
    const DATAGENERAL &task = *list.Get(1), &journal = *list.Get(3), &appointment = *list.Get(4);
    const struct {
        qn::CardText card;
        const WCHAR* title;
        const WCHAR* label;
        const WCHAR* value;
    } cases[] = {
        {qn::TaskCard(task.m_oid), u"Order oak", u"Note", u"Of the forester"},
        {qn::TaskCard(task.m_oid), u"Order oak", u"Priority", u"A1"},
        {qn::JournalCard(journal.m_oidRecord, u"Order oak"), u"Planted an oak", u"Belongs to", u"Order oak"},
        {qn::AppointmentCard(appointment.m_oid, appointment.m_dtStart, appointment.m_dtEnd), u"Fell the oak",
         u"Where", u"Wood"},
        {qn::NoteCard(u"\\My Documents\\oaks.txt"), u"oaks", u"Text", u"Quercus"},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(one.title, one.card.title);
        const std::u16string* field = FieldOf(one.card, one.label);
        ASSERT_TRUE(field) << qn::Utf8(one.label);
        EXPECT_EQ(one.value, *field);
    }
    EXPECT_TRUE(qn::TaskCard(task.m_oid + 1000).title.empty());
}

// The journal is made once a process, so all that has to do with it is one story.
TEST_F(SearchViewTest, FindsWhatIsTyped) {
    MakeOneOfEach();
    Open(qn::TabKind::Calendar);
    Key('F', true);
    Type(u"o");
    Pause(200);
    Type(u"ak");
    Pause(249);
    EXPECT_FALSE(View().Data().IsCurrent()) << "a pause begins with each key";
    Pause(1);
    const Lines all{"Order oak", "oaks", "Planted an oak  Order oak", "Fell the oak", "Oakley, Ann"};
    EXPECT_EQ(all, Rows());
    EXPECT_FALSE(View().HasItem());
    Type(u"s");
    Key(VK_RETURN); // at once
    EXPECT_EQ(Lines{"oaks"}, Rows());
    Key(VK_RETURN); // to the list
    Key(VK_RETURN);
    EXPECT_TRUE(View().IsCardOpen());
    Key(VK_ESCAPE);
    Find(u"oak");
    CheckCards();
    Tap(144, 94); // no tasks
    EXPECT_EQ((Lines{"oaks", "Planted an oak  Order oak", "Fell the oak", "Oakley, Ann"}), Rows());
    Close();
    Open(qn::TabKind::Search); // which kinds is kept
    Find(u" OAK ");
    EXPECT_EQ(4U, Rows().size());
    Task(u"Oak again");
    Tap(144, 94);
    EXPECT_EQ(6U, Rows().size());
}

TEST_F(SearchViewTest, AnotherTextEndsTheSearchBefore) {
    for (int i = 0; i < 200; ++i) Task(u"alpha");
    Task(u"beta");
    Open(qn::TabKind::Search);
    const auto begin = std::chrono::steady_clock::now();
    View().Find(u"alpha"); // which waits with its first rows until messages are served
    View().Find(u"beta");
    Settle();
    EXPECT_EQ(Lines{"beta"}, Rows());
    View().Find(u"alpha");
    Type(u"x"); // into the line
    EXPECT_FALSE(View().Data().IsCurrent());
    Settle();
    EXPECT_EQ(Lines{"beta"}, Rows()) << "what is shown stays until there is something else";
    Pause();
    EXPECT_TRUE(Rows()[0].starts_with("Nothing was found")) << Rows()[0];
    View().Find(u"alpha");
    Settle();
    EXPECT_EQ(200U, Rows().size());
    WORD most = 0;
    View().Data().progress = [&, take = View().Data().progress](LONG count) {
        PlatAdvanceClock(100);
        take(count);
        most = std::max(most, View().List().GetRowCount());
    };
    View().Reload();
    Settle();
    EXPECT_EQ(200U, most) << "a search that is done anew adds nothing to what is shown";
    View().Find(u"alph");
    Close(); // and so does the end
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(SearchViewTest, WhenNothingIsFoundItOffersMore) {
    Task(u"Order wood", u"From the forester");
    Open(qn::TabKind::Search);
    EXPECT_TRUE(Rows()[0].starts_with("What you look for will stand here")) << Rows()[0];
    Find(u"forester");
    EXPECT_TRUE(Rows()[0].starts_with("Nothing was found")) << Rows()[0];
    Tap(240, 180); // in notes too
    EXPECT_EQ(Lines{"Order woodNote: From the forester"}, Rows());
    Task(u"Link", u"https://example.org/a/long/way/without/a/blank/that/leads/at/last/to/acorns");
    Find(u"acorn");
    EXPECT_EQ(Lines{"LinkNote: …acorns"}, Rows()) << "the place is seen";
}

} // namespace
