// The contacts tab, driven by pointer and keys on contacts of a device folder.
#include "tests/support/shellwindow.h"
#include "tests/support/waiting.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/modules.h"
#include "Platform/phone.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/contactsview.h"

using qn::Bstr;
using qn::Com;
using Lines = std::vector<std::string>;
using Texts = std::vector<std::pair<CEPROPID, std::u16string>>;

namespace {

class ContactsViewTest : public ShellWindowTest {
protected:
    ContactsViewTest() { g_nDisplayFormatCompany = 0; }

    static Com<IContact> Make(const WCHAR* first, const WCHAR* last, Texts texts = {}) {
        Com<IDispatch> made;
        EXPECT_EQ(S_OK, g_pOutlook->CreateItem(olContactItem, made.Out()));
        const auto item = made.As<IItem>(IID_IItem);
        if (*first) texts.emplace_back(PIMPR_FIRST_NAME, first);
        if (*last) texts.emplace_back(PIMPR_LAST_NAME, last);
        for (auto& [id, text] : texts) {
            CEPROPVAL value{};
            value.propid = id;
            value.val.lpwstr = text.data();
            EXPECT_EQ(S_OK, item->SetProps(0, 1, &value));
        }
        return made.As<IContact>(IID_IContact);
    }
    static DWORD Add(const WCHAR* first, const WCHAR* last, Texts texts = {}) {
        const auto contact = Make(first, last, std::move(texts));
        LONG oid = 0;
        EXPECT_EQ(S_OK, contact->Save());
        contact->get_Oid(&oid);
        return static_cast<DWORD>(oid);
    }
    static void Format(DWORD format) {
        SetToRegistry(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary\\CV", u"DisplayFormat", format);
    }
    void Open() { ShellWindowTest::Open(qn::TabKind::Contacts); }
    qn::ContactsView& View() { return static_cast<qn::ContactsView&>(shell->View()); }
    Lines Rows() {
        Lines rows;
        for (WORD row = 0; row < View().List().GetRowCount(); ++row) {
            WCHAR* text = View().List().GetCellText(0, row, false);
            rows.push_back(text ? qn::Utf8(text) : "");
            std::free(text);
        }
        return rows;
    }
    void Type(const WCHAR* text) {
        PlatText(text);
        Settle();
    }
    // The list begins below the bar, the line and the letter of the first name.
    static constexpr int kListTop = 40 + 46 + 22;
    static constexpr int RowY(int row) { return kListTop + row * 40 + 20; }
};

TEST_F(ContactsViewTest, WhatIsTypedIsFound) {
    Add(u"Ada", u"Byron");
    Add(u"Alan", u"Turing");
    Add(u"Grace", u"Hopper", {{PIMPR_MOBILE_TEL, u"0170-55"}});
    Open();
    const Lines all{"Ada Byron", "Alan Turing", "G", "Grace Hopperm 0170-55"}; // A stands above the list
    EXPECT_EQ(all, Rows());
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_DOWN); // past the letter
    EXPECT_EQ(3, View().List().GetRow());
    Key(VK_UP);
    Key(VK_UP);
    Key(VK_UP);
    EXPECT_TRUE(View().IsTyping());
    Key(VK_ESCAPE);
    EXPECT_FALSE(View().IsTyping());
    Type(u"aL"); // over the list
    EXPECT_EQ(Lines{"Alan Turing"}, Rows());
    Key(VK_BACK);
    EXPECT_EQ((Lines{"Ada Byron", "Alan Turing"}), Rows());
    EXPECT_TRUE(View().IsTyping());
    Key(VK_ESCAPE);
    EXPECT_EQ(all, Rows());
    Type(u"47"); // the keys with G and R
    EXPECT_EQ(Lines{"Grace Hopperm 0170-55"}, Rows());
    Tap(480 - 20, 40 + 23); // the cross
    EXPECT_EQ(all, Rows());
    Type(u"a");
    Key(VK_RETURN);
    EXPECT_FALSE(View().IsTyping());
    EXPECT_FALSE(View().IsCardOpen());
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_TRUE(View().IsCardOpen());
    Key(VK_ESCAPE);
    Key(VK_ESCAPE);
    EXPECT_EQ(all, Rows());
    EXPECT_EQ(1, View().List().GetRow()) << "what was found stays selected";
    Type(u"uri"); // nobody's first name begins so
    EXPECT_EQ(Lines{"Alan Turing"}, Rows());
    Key(VK_ESCAPE);
    Type(u"55");
    EXPECT_NE(Rows()[0].find("Nobody"), std::string::npos);
    PlatAnswerMenu(15); // "Find in all fields"
    Tap(100, 20);
    EXPECT_EQ(Lines{"Grace Hopperm 0170-55"}, Rows());
    Key(VK_ESCAPE);
    Type(u"x");
    ASSERT_EQ(1U, Rows().size());
    EXPECT_NE(Rows()[0].find("Nobody is called \"x\""), std::string::npos);
    PlatText(u"y");
    PlatKey(VK_RETURN, true); // before that is found
    Type(u"z");
    EXPECT_TRUE(View().IsTyping()) << "the list takes no focus from who types on";
    PlatKey(VK_RETURN, false);
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_EQ(all, Rows());
}

TEST_F(ContactsViewTest, NumbersAreReadForRowsInSightAlone) {
    for (int i = 0; i < 100; ++i) Add(u"Ada", u"Byron", {{PIMPR_MOBILE_TEL, u"0170 1"}});
    Open();
    int filled = 0;
    for (const DATACONTACTS* row : View().Data().Shown().GetList()) filled += row->m_bFilled;
    EXPECT_GE(filled, 12);
    EXPECT_LE(filled, 14);
    EXPECT_EQ("Ada Byronm 0170 1", Rows()[0]);
}

TEST_F(ContactsViewTest, TheStripLeadsToALetter) {
    for (const WCHAR* name : {u"Ada", u"Bob", u"Cleo"})
        for (int i = 0; i < 20; ++i) Add(name, u"Byron");
    Open();
    constexpr int kHeight = 592 - kListTop; // each letter has a third of it
    Point(PlatPointerAction::Down, 475, kListTop + kHeight / 2);
    EXPECT_EQ(21, View().List().GetTopRow()) << "behind twenty and the letter B";
    Point(PlatPointerAction::Move, 475, kListTop + 5);
    EXPECT_EQ(0, View().List().GetTopRow());
    Point(PlatPointerAction::Up, 475, kListTop + 5);
    EXPECT_EQ(nullptr, GetCapture());
}

TEST_F(ContactsViewTest, GroupsOpenAndStayOpen) {
    Add(u"Ada", u"Byron", {{PIMPR_COMPANY, u"Engines"}});
    Add(u"Grace", u"Hopper", {{PIMPR_COMPANY, u"Navy"}});
    Add(u"Alan", u"Turing");
    Format(kDisplayByCompany);
    Open();
    EXPECT_EQ((Lines{" None  (1)", " Engines  (1)", " Navy  (1)"}), Rows());
    Tap(100, 40 + 46 + 33 + 10);
    EXPECT_EQ((Lines{" None  (1)", " Engines  (1)", "Ada Byron", " Navy  (1)"}), Rows());
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_RIGHT);
    const Lines open{" None  (1)", " Engines  (1)", "Ada Byron", " Navy  (1)", "Grace Hopper"};
    EXPECT_EQ(open, Rows());
    Key(VK_F1 + 4);
    EXPECT_EQ(open, Rows());
    Type(u"eng");
    EXPECT_EQ((Lines{" Engines  (1)", "Ada Byron"}), Rows());
    Key(VK_ESCAPE);
    EXPECT_EQ(open, Rows());
    Tap(100, 40 + 46 + 33 + 10);
    EXPECT_EQ((Lines{" None  (1)", " Engines  (1)", " Navy  (1)", "Grace Hopper"}), Rows());
}

TEST_F(ContactsViewTest, DeletingCanBeUndoneAndTheStoreIsFollowed) {
    Add(u"Ada", u"Byron", {{PIMPR_MOBILE_TEL, u"0170 1"}});
    Open();
    Key(VK_DOWN);
    PlatAnswerMessageBox(IDCANCEL);
    Key(VK_DELETE);
    EXPECT_EQ(Lines{"Ada Byronm 0170 1"}, Rows());
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_NE(Rows()[0].find("qn import"), std::string::npos);
    Key('Z', true);
    EXPECT_EQ(Lines{"Ada Byronm 0170 1"}, Rows());

    Add(u"Bob", u"Newhart");
    const auto shows = [this](const Lines& rows) {
        return qntest::Eventually([&] {
            PlatAdvanceClock(100); // changes come in bundles
            Settle();
            return Rows() == rows;
        });
    };
    EXPECT_TRUE(shows({"Ada Byronm 0170 1", "B", "Bob Newhart"}));
    for (const WCHAR* key : {u"b", u"o"}) { // each of both threads
        Type(key);
        EXPECT_EQ(Lines{"Bob Newhart"}, Rows());
    }
}

TEST_F(ContactsViewTest, WhoWasOpenedLastStandsFirst) {
    Add(u"Ada", u"Byron");
    Add(u"Alan", u"Turing");
    Format(kDisplayRecent);
    Open();
    EXPECT_NE(Rows()[0].find("Show all contacts"), std::string::npos);
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_EQ(2U, Rows().size());
    for (const int row : {0, 1}) {
        Tap(100, RowY(row));
        Key(VK_ESCAPE);
    }
    PlatAnswerMenu(12); // "Used last"
    Tap(100, 20);
    EXPECT_EQ((Lines{"Alan Turing", "Ada Byron"}), Rows());
}

TEST_F(ContactsViewTest, ThePictureAtTheRightCalls) {
    Add(u"Ada", u"Byron", {{PIMPR_EMAIL1, u"ada@x"}, {PIMPR_MOBILE_TEL, u"0170 1"}});
    Add(u"Alan", u"Turing", {{PIMPR_EMAIL1, u"alan@x"}});
    Open();
    static std::u16string s_called;
    s_called.clear();
    PlatSetPhoneProvider(
        [](void*, const PHONEMAKECALLINFO& call) -> LONG {
            s_called = call.pszDestAddress;
            return 0;
        },
        nullptr);
    Tap(460, RowY(0));
    EXPECT_EQ(u"0170 1", s_called);
    EXPECT_FALSE(View().IsCardOpen());
    Tap(460, RowY(1));
    EXPECT_TRUE(View().IsCardOpen()) << "an address can't be called";
}

TEST_F(ContactsViewTest, CallsOfTheTelephone) {
    Add(u"Ada", u"Byron", {{PIMPR_MOBILE_TEL, u"0170-1"}});
    static int s_calls = 0;
    s_calls = 0;
    constexpr PhoneGetCallLogEntryProc next = [](HANDLE, CALLLOGENTRY* entry) -> HRESULT {
        if (++s_calls > 2) return S_FALSE;
        const std::u16string_view number = s_calls == 1 ? u"0170 1" : u"030 2";
        entry->pszNumber = static_cast<WCHAR*>(LocalAlloc(LPTR, 16));
        std::ranges::copy(number, entry->pszNumber);
        return S_OK;
    };
    constexpr PhoneOpenCallLogProc open = [](HANDLE* log) -> HRESULT {
        *log = &s_calls;
        return s_calls = 0, S_OK;
    };
    constexpr PhoneCloseCallLogProc close = [](HANDLE) -> HRESULT { return S_OK; };
    static const PlatModuleEntry entries[] = {{"PhoneOpenCallLog", 0, reinterpret_cast<FARPROC>(open)},
                                              {"PhoneGetCallLogEntry", 0, reinterpret_cast<FARPROC>(next)},
                                              {"PhoneCloseCallLog", 0, reinterpret_cast<FARPROC>(close)}};
    PlatRegisterModule(
        {.name = u"phone.dll", .entries = entries, .entryCount = std::size(entries), .untilReset = true});
    Format(kDisplayCallLog);
    Open();
    ASSERT_EQ(2U, Rows().size());
    EXPECT_TRUE(Rows()[1].starts_with("030 2"));
    Type(u"70");
    Key(VK_RETURN);
    Key(VK_RETURN);
    EXPECT_TRUE(View().IsCardOpen());
    EXPECT_FALSE(View().CanDelete());
    Key(VK_DELETE);
    EXPECT_EQ(1U, Rows().size());
}

TEST_F(ContactsViewTest, TheCardHasTheWholeContact) {
    const auto contact = Make(u"Ada", u"Byron",
                              {{PIMPR_TITLE, u"Dr."},
                               {PIMPR_COMPANY, u"Engines"},
                               {PIMPR_HOME_TEL, u"030 1"},
                               {PIMPR_HOME_STREET, u"Ring 1"},
                               {PIMPR_HOME_CITY, u"Berlin"},
                               {PIMPR_HOME_POSTAL, u"10115"}});
    contact->put_Birthday(46350 - 365 * 26 - 5); // 25 November 2000
    contact->put_Categories(Bstr(u"Family"));
    contact->put_Body(Bstr(u"Likes tea."));
    ASSERT_EQ(S_OK, contact->Save());
    LONG oid = 0;
    contact->get_Oid(&oid);
    const qn::CardText card = qn::ContactCard(static_cast<DWORD>(oid));
    EXPECT_EQ(u"Dr. Ada Byron", card.title);
    const decltype(card.fields) expected{{u"Company", u"Engines"},
                                         {u"Home", u"030 1"},
                                         {u"Home address", u"Ring 1\n10115 Berlin"},
                                         {u"Birthday", u"Saturday, November 25, 2000 (25 years)"},
                                         {u"Categories", u"Family"},
                                         {u"Note", u"Likes tea."}};
    EXPECT_EQ(expected, card.fields);
}

TEST_F(ContactsViewTest, LettersFollowTheLocale) {
    constexpr struct {
        const char* locale;
        const WCHAR* name;
        WCHAR letter;
    } cases[] = {
        {"de_DE", u"Ärzte", u'A'},   {"sv_SE", u"Ärzte", u'Ä'},    {"en_US", u"Ægir", u'A'},
        {"en_US", u"zoë", u'Z'},     {"en_US", u"'t Hooft", u'T'}, {"en_US", u"1und1", u'#'},
        {"en_US", u"😀 Bob", u'#'},   {"en_US", u"", u'#'},         {"en_US", u"ольга", u'О'},
        {"ja_JP", u"カメラ", u'か'}, {"ja_JP", u"がーた", u'か'},  {"ja_JP", u"田中", u'漢'},
    };
    for (const auto& one : cases) {
        PlatSetLocale(one.locale);
        EXPECT_EQ(one.letter, qn::Alphabet().LetterOf(one.name)) << one.locale << " " << qn::Utf8(one.name);
    }
}

} // namespace
