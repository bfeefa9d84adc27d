#include "apps/pages/calendardata.h"

#include "Platform/strings.h"
#include "Platform/windows.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kClass = u"qn:calendar data";
constexpr ULONG_PTR kChangeTimer = 1;
constexpr ULONG_PTR kWaitTimer = 2;
constexpr UINT kChangeWait = 50; // milliseconds: changes come in bundles

// A thread finds an occurrence that was moved by the day that it was moved from.
constexpr LONG kMargin = 31;
constexpr LONG kFirstLoadedDay = 1;

} // namespace

CalendarData::CalendarData(std::function<void()> changed) : m_changed(std::move(changed)) {
    WNDCLASSW cls{};
    cls.lpfnWndProc = &CalendarData::Procedure;
    cls.lpszClassName = kClass;
    RegisterClassW(&cls);
    m_window = CreateWindowExW(0, kClass, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!m_window) throw Failure("no window for the calendar thread");
    SetWindowLongW(m_window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    for (auto& thread : m_threads) {
        thread = std::make_unique<CCalendarThread>();
        thread->m_hClientWnd = m_window;
    }
    Watch();
}

CalendarData::~CalendarData() {
    for (auto& thread : m_threads) thread->Stop(true);
    if (m_watched) m_watched->Close();
    DestroyWindow(m_window);
}

void CalendarData::Watch() {
    m_watched = std::make_unique<CeDb>();
    if (m_watched->MountVolumeEDB(u"\\pim.vol", false))
        m_watched->Open(u"Appointments Database", 0, 0, m_window);
}

void CalendarData::Load(LONG first, LONG last) {
    m_first = first;
    m_last = last;
    Reload();
}

void CalendarData::Reload() {
    m_again = m_loading;
    if (!m_loading) Start();
}

void CalendarData::Start() {
    CCalendarThread& thread = *m_threads[1 - m_shown];
    const SYSTEMTIME first = ToSystemTime(std::max(m_first - kMargin, kFirstLoadedDay));
    const SYSTEMTIME last = ToSystemTime(m_last + kMargin);
    thread.SetRestrict(&first, &last, true);
    ChooseCategories(thread);
    m_loadingFirst = m_first;
    m_loadingLast = m_last;
    m_loading = true; // Start may be false for a run that is over already: its message tells
    m_taken = false;
    if (busy) busy(true);
    thread.Start();
}

// A chosen name that the store has lost stays chosen: otherwise everything would show when the last one goes.
void CalendarData::ChooseCategories(CCalendarThread& thread) const {
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

// Lines of days that nobody wants any more would take the place of those that are shown.
void CalendarData::Take() {
    m_taken = true;
    if (m_first != m_loadingFirst || m_last != m_loadingLast) return;
    m_shown = 1 - m_shown;
    m_shownFirst = m_loadingFirst;
    m_shownLast = m_loadingLast;
    m_lines.clear();
    for (const DATACALENDAR* line : m_threads[m_shown]->GetList())
        if (!line->IsHeader() && line->m_lDay >= m_first && line->m_lDay <= m_last) m_lines.push_back(line);
    m_changed();
}

// A load that ended before its list was complete has what it has.
void CalendarData::Finished() {
    if (!m_loading) return;
    m_loading = false;
    if (!m_taken) Take();
    if (std::exchange(m_again, false))
        Start();
    else if (busy)
        busy(false);
}

void CalendarData::Wait(UINT most) {
    MSG message;
    m_waitOver = false;
    if (most > 0) SetTimer(m_window, kWaitTimer, most, nullptr);
    while (m_loading && !m_waitOver) {
        if (GetMessageW(&message, nullptr, 0, 0) <= 0)
            return PostQuitMessage(static_cast<int>(message.wParam));
        DispatchMessageW(&message);
    }
    KillTimer(m_window, kWaitTimer);
}

LRESULT CalendarData::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case kMsgListChanged:
        if (wParam == 1 && m_loading && !m_taken) Take();
        return 0;
    case kMsgThreadFinished:
        return Finished(), 0;
    case WM_DBNOTIFICATION:
        return SetTimer(m_window, kChangeTimer, kChangeWait, nullptr), 0;
    case WM_TIMER:
        KillTimer(m_window, wParam);
        if (wParam == kWaitTimer) return m_waitOver = true, 0;
        return m_last >= m_first ? Reload() : void(), 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

LRESULT CalendarData::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* data = reinterpret_cast<CalendarData*>(GetWindowLongW(window, GWL_USERDATA));
    return data ? data->OnMessage(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

} // namespace qn
