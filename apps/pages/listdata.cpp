#include "apps/pages/listdata.h"

#include "Platform/strings.h"
#include "Platform/windows.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kClass = u"qn:list";
constexpr ULONG_PTR kChangeTimer = 1;
constexpr ULONG_PTR kWaitTimer = 2;
constexpr UINT kChangeWait = 50; // milliseconds: changes come in bundles

} // namespace

ListLoad::ListLoad(std::function<void()> changed, const std::vector<const WCHAR*>& databases)
    : m_changed(std::move(changed)) {
    WNDCLASSW cls{};
    cls.lpfnWndProc = &ListLoad::Procedure;
    cls.lpszClassName = kClass;
    RegisterClassW(&cls);
    m_window = CreateWindowExW(0, kClass, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!m_window) throw Failure("no window for the list");
    SetWindowLongW(m_window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    for (const WCHAR* database : databases) {
        auto& watched = m_watched.emplace_back(std::make_unique<CeDb>());
        if (watched->MountVolumeEDB(u"\\pim.vol", false)) watched->Open(database, 0, 0, m_window);
    }
}

// The threads have stopped by now; what they posted goes with the window.
ListLoad::~ListLoad() {
    for (const auto& watched : m_watched) watched->Close();
    DestroyWindow(m_window);
}

void ListLoad::StopListening() { SetWindowLongW(m_window, GWL_USERDATA, 0); }

void ListLoad::Reload() {
    if (!HasQuestion()) return;
    m_again = m_loading;
    if (!m_loading) Start();
}

void ListLoad::Start() {
    CQNDataThread& thread = Next();
    ChooseCategories(thread);
    Prepare();
    m_loading = true; // Start may be false for a run that is over already: its message tells
    m_taken = false;
    if (busy) busy(true);
    thread.Start();
}

// A chosen name that the store has lost stays chosen: otherwise everything would show when the last one goes.
void ListLoad::ChooseCategories(CQNDataThread& thread) const {
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    filter->m_list.Clear();
    if (m_categories.empty()) return;
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, true);
    for (const std::u16string& name : m_categories) {
        const auto known = std::ranges::find_if(
            all, [&](const CFullCategory* category) { return name == category->m_szName; });
        CFullCategory* chosen = known != all.end() ? (*known)->Copy() : new CFullCategory;
        if (known == all.end()) {
            chosen->m_szName = _wcsdup(name.c_str());
            chosen->m_lId = -1;
        }
        filter->m_list.Add(chosen);
    }
}

// Rows that nobody wants any more would take the place of those that are shown.
void ListLoad::Take() {
    m_taken = true;
    if (!Accept()) return;
    Turn();
    m_changed();
}

// A load that ended before its list was complete has what it has.
void ListLoad::Finished() {
    if (!m_loading) return;
    m_loading = false;
    if (!m_taken) Take();
    if (std::exchange(m_again, false))
        Start();
    else if (busy)
        busy(false);
}

void ListLoad::Wait(UINT most) {
    MSG message;
    m_waitOver = false;
    if (most > 0) SetTimer(m_window, kWaitTimer, most, nullptr);
    while (m_loading && !m_waitOver) {
        if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
            PostQuitMessage(static_cast<int>(message.wParam));
            break;
        }
        DispatchMessageW(&message);
    }
    KillTimer(m_window, kWaitTimer);
}

LRESULT ListLoad::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case kMsgListChanged:
        if (!m_loading || m_taken) return 0; // an edit of the list that is shown
        if (wParam == 1) Take();
        if (wParam == 0 && progress) progress(static_cast<LONG>(lParam));
        return 0;
    case kMsgThreadFinished:
        return Finished(), 0;
    case WM_DBNOTIFICATION:
        return SetTimer(m_window, kChangeTimer, kChangeWait, nullptr), 0;
    case WM_TIMER:
        KillTimer(m_window, wParam);
        if (wParam == kWaitTimer) return m_waitOver = true, 0;
        StoreChanged();
        return Reload(), 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

LRESULT ListLoad::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* list = reinterpret_cast<ListLoad*>(GetWindowLongW(window, GWL_USERDATA));
    return list ? list->OnMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

} // namespace qn
