#include "apps/qnshell/shell.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/paths.h"
#include "QNWorkerClass/categories.h"
#include "Resources/pictures.h"
#include "apps/pages/menu.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kKey = u"Software\\Norvo\\Quillonary\\Shell";
constexpr int kLeastSide = 160;
constexpr int kMostSide = 8192;

constexpr int kBarHeight = 40; // pixels at 96 dots an inch, as the next
constexpr int kTabHeight = 48;
constexpr int kTabWidth = 72;
constexpr int kToolWidth = 40;
constexpr int kWide = 700;

struct Tab {
    const WCHAR* word;
    WORD picture;
};
// In the order of PageKind.
constexpr Tab kTabs[kPageKinds] = {
    {u"Day", kPictureDayPage}, {u"Week", kPictureWeekPage}, {u"Agenda", kPictureAgendaPage}};

constexpr UINT kLongestWait =
    2000; // milliseconds: a thread may be asking something that only the window shows

constexpr UINT kChangeScheme = WM_USER; // posted: the windows that the wish comes from go

int ReadSide(CRegistry& settings, const WCHAR* name, int usual) {
    DWORD value = 0;
    if (settings.QueryValue(name, &value) != 0) return usual;
    return static_cast<int>(std::clamp<DWORD>(value, kLeastSide, kMostSide));
}

} // namespace

// --- What is kept -------------------------------------------------------------------------------------------------

ShellState ShellState::Read() {
    ShellState state;
    CRegistry settings;
    if (!settings.Exists(HKEY_CURRENT_USER, kKey)) return state;
    DWORD page = 0;
    if (settings.QueryValue(u"Page", &page) == 0 && page < kPageKinds)
        state.page = static_cast<PageKind>(page);
    state.width = ReadSide(settings, u"Width", state.width);
    state.height = ReadSide(settings, u"Height", state.height);
    CFullCategoryList chosen(0, PTRLIST_DELETE);
    ReadCategoryFromRegistry(kKey, u"Categories", chosen, false);
    for (const CFullCategory* category : chosen) state.categories.emplace_back(category->m_szName);
    return state;
}

void ShellState::Write() const {
    CRegistry settings;
    if (settings.OpenKey(HKEY_CURRENT_USER, kKey) != 0) return;
    settings.SetValue(u"Page", static_cast<DWORD>(page));
    settings.SetValue(u"Width", static_cast<DWORD>(width));
    settings.SetValue(u"Height", static_cast<DWORD>(height));
    CFullCategoryList all(0, PTRLIST_DELETE);
    CFullCategoryList chosen(0, PTRLIST_KEEP);
    if (GetFullCategoryInfo(all, false) == 0 && !categories.empty()) return; // the store can't be read
    for (CFullCategory* category : all)
        if (std::ranges::find(categories, category->m_szName) != categories.end()) chosen.Add(category);
    SaveCategoryToRegistry(kKey, u"Categories", chosen);
}

// --- The window ---------------------------------------------------------------------------------------------------

bool Shell::Open(const ShellState& state, LONG day) {
    const PlatScreen screen = PlatGetScreen();
    const RECT rect{0, 0, screen.width, screen.height};
    if (!Create(nullptr, nullptr, rect, u"Quillonary", WS_POPUP | WS_CLIPCHILDREN) ||
        !m_tabs.Open(GetHWnd(), rect) || !Build(state.page, day, state.categories))
        return false;
    ShowWindow(SW_SHOW);
    m_calendar->TakeFocus();
    RedrawWindow(nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN); // complete when it is seen first
    return true;
}

bool Shell::Build(PageKind page, LONG day, std::vector<std::u16string> categories) {
    RECT client{};
    GetClientRect(&client);
    m_calendar = std::make_unique<CalendarView>();
    m_categories = std::make_unique<CategoryPage>();
    if (!m_calendar->Open(GetHWnd(), client) || !m_categories->Open(GetHWnd(), client)) return false;
    m_calendar->Data().SetCategories(std::move(categories));
    m_calendar->moved = [this] { FillTabs(); };
    m_calendar->filtered = [this] { FillTools(); };
    m_categories->chosen = [this](const std::vector<std::u16string>& names) {
        m_calendar->ShowCategories(names);
    };
    FillTools();
    m_calendar->GoTo(page, day);
    m_calendar->Data().Wait(kLongestWait);
    Arrange();
    return true;
}

void Shell::ChangeScheme() {
    const Scheme scheme = ReadScheme() == Scheme::Dark ? Scheme::Light : Scheme::Dark;
    KeepScheme(scheme);
    UseScheme(scheme);
    ShowCategories(false);
    const PageKind page = m_calendar->Kind();
    const LONG day = m_calendar->Day();
    const std::vector<std::u16string> categories = m_calendar->Data().Categories();
    m_calendar->DestroyWindow();
    m_categories->DestroyWindow();
    if (Build(page, day, categories)) m_calendar->TakeFocus();
}

LRESULT Shell::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg != kChangeScheme) return CeWnd::OnMessage(msg, wParam, lParam, handled);
    handled = true;
    ChangeScheme();
    return 0;
}

bool Shell::IsWide() const {
    RECT client{};
    GetClientRect(&client);
    return client.right > Scaled(kWide);
}

// The tabs stand below, or at the left where there is room.
void Shell::Arrange() {
    RECT client{};
    GetClientRect(&client);
    const int left = IsWide() ? Scaled(kTabWidth) : 0;
    const int bottom = client.bottom - (IsWide() ? 0 : Scaled(kTabHeight));
    if (left > 0)
        m_tabs.MoveWindow(0, 0, left, client.bottom);
    else
        m_tabs.MoveWindow(0, bottom, client.right, client.bottom - bottom);
    m_tabs.SetColumn(left > 0 ? Scaled(kTabHeight) : 0);
    const int bar = Scaled(kBarHeight);
    m_calendar->MoveWindow(left, 0, client.right - left, bottom);
    m_categories->MoveWindow(left, bar, client.right - left, bottom - bar);
}

void Shell::FillTabs() {
    std::vector<Bar::Cell> cells;
    for (int i = 0; i < kPageKinds; ++i) {
        const auto page = static_cast<PageKind>(i);
        cells.push_back(
            {kTabs[i].word, 0, [this, page] { GoTo(page); }, kTabs[i].picture, page == m_calendar->Kind()});
    }
    m_tabs.SetCells(std::move(cells));
}

void Shell::FillTools() {
    const bool all = m_calendar->Data().Categories().empty();
    const int width = Scaled(kToolWidth);
    m_calendar->SetTools(
        {{u"", width, [this] { ShowCategories(!m_choosing); }, all ? kPictureFilter : kPictureFilterOn},
         {u"", width, [this] { ShowMenu(); }, kPictureMenu}});
}

void Shell::GoTo(PageKind page) {
    ShowCategories(false);
    m_calendar->GoTo(page, m_calendar->Day());
}

void Shell::ShowCategories(bool show) {
    if (show == m_choosing) return;
    m_choosing = show;
    if (show) {
        m_categories->Show(m_calendar->Data().Categories());
        m_categories->BringWindowToTop();
    }
    m_calendar->SetCover(show ? u"Categories shown" : u"", [this] { ShowCategories(false); });
    m_categories->ShowWindow(show ? SW_SHOWNA : SW_HIDE);
    show ? m_categories->TakeFocus() : m_calendar->TakeFocus();
}

void Shell::ShowMenu() {
    RECT place{};
    m_calendar->GetClientRect(&place);
    POINT corner{place.right, Scaled(kBarHeight)};
    m_calendar->ClientToScreen(&corner);
    const bool item = !m_choosing && m_calendar->HasItem();
    const bool dark = ReadScheme() == Scheme::Dark;
    RunMenu(GetHWnd(), corner,
            {{u"Open\tEnter", [this] { m_calendar->OpenCurrent(); }, item && !m_calendar->IsCardOpen()},
             {u"Delete ...\tDelete", [this] { m_calendar->DeleteCurrent(); }, item},
             {u"Undo\tCtrl+Z", [this] { m_calendar->Undo(); }, m_calendar->CanUndo()},
             {},
             {u"Today\tT", [this] { ShowCategories(false), m_calendar->Key('T'); }},
             {u"Categories shown ...\tCtrl+F", [this] { ShowCategories(true); }, !m_choosing},
             {u"Read again\tF5", [this] { m_calendar->Data().Reload(); }},
             {u"Dark colours", [this] { PostMessageW(kChangeScheme); }, true, dark},
             {},
             {u"Leave\tCtrl+Q", [this] { DestroyWindow(); }}});
}

LRESULT Shell::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    if (m_categories && m_categories->GetHWnd()) Arrange();
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT Shell::OnDestroy(bool& handled) {
    Keep();
    PostQuitMessage(0);
    return CeWnd::OnDestroy(handled);
}

void Shell::Keep() {
    const PlatScreen screen = PlatGetScreen();
    ShellState{m_calendar->Kind(), screen.width, screen.height, m_calendar->Data().Categories()}.Write();
}

// --- Keys ---------------------------------------------------------------------------------------------------------

bool Shell::CommandKey(WPARAM key) {
    switch (key) {
    case 'Q':
        return DestroyWindow() != 0;
    case 'F':
        return ShowCategories(!m_choosing), true;
    case 'Z':
        return m_calendar->Undo(), true;
    case '1':
    case '2':
    case '3':
        return GoTo(static_cast<PageKind>(key - '1')), true;
    default:
        return false;
    }
}

bool Shell::PlainKey(WPARAM key) {
    if (key == VK_TAB) return MoveFocus(GetKeyState(VK_SHIFT) >= 0), true;
    if (key == VK_F1 + 9) return ShowMenu(), true;
    if (m_choosing) return key == VK_ESCAPE && (ShowCategories(false), true);
    if (::GetFocus() == m_tabs.GetHWnd()) return key == VK_ESCAPE && (m_calendar->TakeFocus(), true);
    return m_calendar->Key(key);
}

bool Shell::TakeKey(const MSG& message) {
    if (message.message != WM_KEYDOWN || GetForegroundWindow() != GetHWnd()) return false;
    return GetKeyState(VK_CONTROL) < 0 ? CommandKey(message.wParam) : PlainKey(message.wParam);
}

// Through the calendar, the categories in its place, and the tabs.
void Shell::MoveFocus(bool forward) {
    const bool onTabs = ::GetFocus() == m_tabs.GetHWnd();
    if (m_choosing)
        onTabs ? m_categories->TakeFocus() : void(m_tabs.SetFocus());
    else if (!m_calendar->MoveFocus(forward))
        m_tabs.SetFocus();
}

} // namespace qn
