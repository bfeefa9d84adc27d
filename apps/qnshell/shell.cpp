#include "apps/qnshell/shell.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/paths.h"
#include "QNWorkerClass/categories.h"
#include "apps/pages/pagetext.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kKey = u"Software\\Norvo\\Quillonary\\Shell";
constexpr int kLeastSide = 160;
constexpr int kMostSide = 8192;

constexpr int kTabHeight = 40; // pixels at 96 dots an inch, as the next
constexpr int kTabWidth = 96;
constexpr int kWide = 700;
constexpr const WCHAR* kTabs[] = {u"Day", u"Week", u"Agenda"};

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
    GetFullCategoryInfo(all, false);
    for (CFullCategory* category : all)
        if (std::ranges::find(categories, category->m_szName) != categories.end()) chosen.Add(category);
    SaveCategoryToRegistry(kKey, u"Categories", chosen);
}

// --- The window ---------------------------------------------------------------------------------------------------

bool Shell::Open(const ShellState& state, LONG day) {
    const PlatScreen screen = PlatGetScreen();
    const RECT rect{0, 0, screen.width, screen.height};
    if (!Create(nullptr, nullptr, rect, u"Quillonary", WS_POPUP | WS_CLIPCHILDREN)) return false;
    if (!m_calendar.Open(GetHWnd(), rect) || !m_categories.Open(GetHWnd(), rect) ||
        !m_tabs.Open(GetHWnd(), rect))
        return false;
    m_calendar.Data().SetCategories(state.categories);
    m_calendar.moved = [this] { FillTabs(); };
    m_calendar.SetTools({{u"Filter", Scaled(52), false, [this] { ShowCategories(!m_choosing); }}});
    m_categories.chosen = [this](const std::vector<std::u16string>& names) {
        m_calendar.Data().SetCategories(names);
        m_calendar.Data().Reload();
    };
    m_calendar.GoTo(state.page, day);
    m_calendar.Data().Wait();
    Arrange();
    ShowWindow(SW_SHOW);
    m_calendar.TakeFocus();
    RedrawWindow(nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN); // complete when it is seen first
    return true;
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
    m_calendar.MoveWindow(left, 0, client.right - left, bottom);
    m_categories.MoveWindow(left, Scaled(kTabHeight), client.right - left, bottom - Scaled(kTabHeight));
}

void Shell::FillTabs() {
    std::vector<Bar::Cell> cells;
    for (int i = 0; i < kPageKinds; ++i) {
        const auto page = static_cast<PageKind>(i);
        cells.push_back({kTabs[i], 0, page == m_calendar.Kind(), [this, page] { GoTo(page); }});
    }
    m_tabs.SetCells(std::move(cells));
}

void Shell::GoTo(PageKind page) {
    ShowCategories(false);
    m_calendar.GoTo(page, m_calendar.Day());
}

void Shell::ShowCategories(bool show) {
    if (show == m_choosing) return;
    m_choosing = show;
    if (show) {
        m_categories.Show(m_calendar.Data().Categories());
        m_categories.BringWindowToTop();
    }
    m_categories.ShowWindow(show ? SW_SHOWNA : SW_HIDE);
    show ? m_categories.TakeFocus() : m_calendar.TakeFocus();
}

LRESULT Shell::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    if (m_tabs.GetHWnd()) Arrange();
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT Shell::OnDestroy(bool& handled) {
    Keep();
    PostQuitMessage(0);
    return CeWnd::OnDestroy(handled);
}

void Shell::Keep() {
    const PlatScreen screen = PlatGetScreen();
    ShellState{m_calendar.Kind(), screen.width, screen.height, m_calendar.Data().Categories()}.Write();
}

// --- Keys ---------------------------------------------------------------------------------------------------------

bool Shell::CommandKey(WPARAM key) {
    switch (key) {
    case 'Q':
        return DestroyWindow() != 0;
    case 'F':
        return ShowCategories(!m_choosing), true;
    case '1':
    case '2':
    case '3':
        return GoTo(static_cast<PageKind>(key - '1')), true;
    default:
        return false;
    }
}

bool Shell::TakeKey(const MSG& message) {
    if (message.message != WM_KEYDOWN || GetForegroundWindow() != GetHWnd()) return false;
    if (GetKeyState(VK_CONTROL) < 0) return CommandKey(message.wParam);
    if (!m_choosing) return m_calendar.Key(message.wParam);
    return message.wParam == VK_ESCAPE && (ShowCategories(false), true);
}

} // namespace qn
