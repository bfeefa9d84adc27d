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
constexpr int kWide = 700;

struct TabName {
    const WCHAR* word;
    WORD picture;
};
// In the order of TabKind.
constexpr TabName kTabs[kTabKinds] = {{u"Calendar", kPictureAppointment},
                                      {u"Tasks", kPictureTask},
                                      {u"Contacts", kPictureContact},
                                      {u"Notes", kPictureNote},
                                      {u"Search", kPictureSearch}};

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
    DWORD tab = 0;
    if (settings.QueryValue(u"Tab", &tab) == 0 && tab < kTabKinds) state.tab = static_cast<TabKind>(tab);
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
    settings.SetValue(u"Tab", static_cast<DWORD>(tab));
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
    m_names = state.categories;
    if (!Create(nullptr, nullptr, rect, u"Quillonary", WS_POPUP | WS_CLIPCHILDREN) ||
        !m_tabs.Open(GetHWnd(), rect) || !Build(state.tab, state.page, day))
        return false;
    ShowWindow(SW_SHOW);
    View().TakeFocus();
    RedrawWindow(nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN); // complete when it is seen first
    return true;
}

bool Shell::Build(TabKind tab, PageKind page, LONG day) {
    RECT client{};
    GetClientRect(&client);
    m_categories = std::make_unique<CategoryPage>();
    m_categories->chosen = [this](const std::vector<std::u16string>& names) { UseCategories(names); };
    if (!m_categories->Open(GetHWnd(), client) || !Add(TabKind::Calendar)) return false;
    m_calendar = static_cast<CalendarView*>(m_views[0].get());
    m_calendar->GoTo(page, day);
    GoTo(tab);
    View().Wait(kLongestWait);
    return true;
}

bool Shell::Add(TabKind tab) {
    auto& view = m_views[static_cast<std::size_t>(tab)];
    if (view) return true;
    RECT client{};
    GetClientRect(&client);
    view = MakeTab(tab);
    if (!view->Open(GetHWnd(), client)) return view.reset(), false;
    view->ShowCategories(m_names);
    view->filtered = [this, &shown = *view] { UseCategories(shown.Categories()); };
    FillTools(*view);
    return true;
}

void Shell::ChangeScheme() {
    const Scheme scheme = ReadScheme() == Scheme::Dark ? Scheme::Light : Scheme::Dark;
    KeepScheme(scheme);
    UseScheme(scheme);
    ShowCategories(false);
    const PageKind page = m_calendar->Kind();
    const LONG day = m_calendar->Day();
    std::array<TabView::UndoStep, kTabKinds> undos;
    for (std::size_t i = 0; i < kTabKinds; ++i) {
        auto& view = m_views[i];
        if (!view) continue;
        undos[i] = view->TakeUndo();
        view->DestroyWindow();
        view.reset();
    }
    m_categories->DestroyWindow();
    if (!Build(m_tab, page, day)) return;
    for (std::size_t i = 0; i < kTabKinds; ++i)
        if (undos[i] && Add(static_cast<TabKind>(i))) m_views[i]->SetUndo(std::move(undos[i]));
    View().TakeFocus();
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
    for (const auto& view : m_views)
        if (view) view->MoveWindow(left, 0, client.right - left, bottom);
    m_categories->MoveWindow(left, bar, client.right - left, bottom - bar);
}

void Shell::FillTabs() {
    std::vector<Bar::Cell> cells;
    for (int i = 0; i < kTabKinds; ++i) {
        const auto tab = static_cast<TabKind>(i);
        cells.push_back({kTabs[i].word, 0, [this, tab] { GoTo(tab); }, kTabs[i].picture, tab == m_tab});
    }
    m_tabs.SetCells(std::move(cells));
}

void Shell::FillTools(TabView& view) {
    view.SetTools({{u"", 0, [this] { ShowCategories(!m_choosing); },
                    m_names.empty() ? kPictureFilter : kPictureFilterOn},
                   {u"", 0, [this] { ShowMenu(); }, kPictureMenu}});
}

void Shell::GoTo(TabKind tab) {
    ShowCategories(false);
    if (!Add(tab)) return;
    const bool focused = ::IsChild(GetHWnd(), ::GetFocus()) != FALSE && ::GetFocus() != m_tabs.GetHWnd();
    m_tab = tab;
    Arrange();
    View().Begin();
    View().ShowWindow(SW_SHOWNA);
    for (const auto& view : m_views)
        if (view && view.get() != &View()) view->ShowWindow(SW_HIDE);
    FillTabs();
    if (focused) View().TakeFocus();
}

void Shell::UseCategories(const std::vector<std::u16string>& names) {
    if (names == m_names) return;
    m_names = names;
    for (const auto& view : m_views) {
        if (!view) continue;
        if (view->Categories() != names) view->ShowCategories(names);
        FillTools(*view);
    }
}

void Shell::ShowCategories(bool show) {
    if (show == m_choosing) return;
    m_choosing = show;
    if (show) {
        m_categories->Show(m_names);
        m_categories->BringWindowToTop();
    }
    View().SetCover(show ? u"Categories shown" : u"", [this] { ShowCategories(false); });
    m_categories->ShowWindow(show ? SW_SHOWNA : SW_HIDE);
    show ? m_categories->TakeFocus() : View().TakeFocus();
}

void Shell::ShowMenu() {
    RECT place{};
    View().GetClientRect(&place);
    POINT corner{place.right, Scaled(kBarHeight)};
    View().ClientToScreen(&corner);
    const bool item = !m_choosing && View().HasItem();
    const bool dark = ReadScheme() == Scheme::Dark;
    std::vector<MenuRow> rows;
    if (!m_choosing) rows = View().MenuRows();
    if (!rows.empty()) rows.push_back({});
    const MenuRow common[] = {
        {u"Open\tEnter", [this] { View().OpenCurrent(); }, item && !View().IsCardOpen()},
        {u"Delete ...\tDelete", [this] { View().DeleteCurrent(); }, !m_choosing && View().CanDelete()},
        {u"Undo\tCtrl+Z", [this] { View().Undo(); }, View().CanUndo()},
        {},
        {u"Categories shown ...\tCtrl+K", [this] { ShowCategories(true); }, !m_choosing},
        {u"Read again\tF5", [this] { View().Reload(); }},
        {u"Dark colours", [this] { PostMessageW(kChangeScheme); }, true, dark},
        {},
        {u"Leave\tCtrl+Q", [this] { DestroyWindow(); }}};
    rows.insert(rows.end(), std::begin(common), std::end(common));
    RunMenu(GetHWnd(), corner, rows);
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
    ShellState{m_tab, m_calendar->Kind(), screen.width, screen.height, m_names}.Write();
}

// --- Keys ---------------------------------------------------------------------------------------------------------

bool Shell::CommandKey(WPARAM key) {
    switch (key) {
    case 'Q':
        return DestroyWindow() != 0;
    case 'F':
        return GoTo(TabKind::Search), View().StartTyping(), true;
    case 'K':
        return ShowCategories(!m_choosing), true;
    case 'Z':
        return !View().IsTyping() && (View().Undo(), true);
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
        return GoTo(static_cast<TabKind>(key - '1')), true;
    default:
        return false;
    }
}

bool Shell::PlainKey(WPARAM key) {
    if (key == VK_TAB) return MoveFocus(GetKeyState(VK_SHIFT) >= 0), true;
    if (key == VK_F1 + 9) return ShowMenu(), true;
    if (m_choosing) return key == VK_ESCAPE && (ShowCategories(false), true);
    if (::GetFocus() == m_tabs.GetHWnd()) return key == VK_ESCAPE && (View().TakeFocus(), true);
    return View().Key(key);
}

bool Shell::TakeKey(const MSG& message) {
    if (message.message != WM_KEYDOWN || GetForegroundWindow() != GetHWnd()) return false;
    return GetKeyState(VK_CONTROL) < 0 ? CommandKey(message.wParam) : PlainKey(message.wParam);
}

// Through the view, the categories in its place, and the tabs.
void Shell::MoveFocus(bool forward) {
    const bool onTabs = ::GetFocus() == m_tabs.GetHWnd();
    if (m_choosing)
        onTabs ? m_categories->TakeFocus() : void(m_tabs.SetFocus());
    else if (!View().MoveFocus(forward))
        m_tabs.SetFocus();
}

} // namespace qn
