#include "NorvoUI/CeWnd.h"

#include "NorvoTools/errors.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <string>
#include <utility>
#include <vector>

namespace {

constexpr UINT kGlobalClass = 0x4000; // a superclass belongs to its instance
constexpr int kClassName = 256;
const WCHAR kGenericClass[] = u"CeWnd:GENERIC";

HINSTANCE InstanceOr(HINSTANCE hInstance) { return hInstance ? hInstance : GetModuleHandleW(nullptr); }

std::u16string SuperclassName(LPCWSTR name) { return std::u16string(u"CeWnd:") + name; }

HBRUSH WhiteBrush() { return static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)); }

std::vector<HWND> ChildrenOf(HWND parent) {
    std::vector<HWND> children;
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        children.push_back(child);
    return children;
}

// Any of them may go by the message.
void SendToChildren(HWND parent, UINT msg, WPARAM wParam, LPARAM lParam, bool deep) {
    for (const HWND child : ChildrenOf(parent)) {
        SendMessageW(child, msg, wParam, lParam);
        if (deep) SendToChildren(child, msg, wParam, lParam, true);
    }
}

void GiveBack(HWND hWnd, WNDPROC procedure) {
    ::SetWindowLongW(hWnd, GWL_USERDATA, 0);
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(procedure ? procedure : &DefWindowProcW));
}

bool IsWindowOf(HWND hWnd, const CeWnd* object) {
    return ::GetWindowLongW(hWnd, GWL_USERDATA) == reinterpret_cast<LONG_PTR>(object);
}

WNDPROC ProcedureOf(HWND hWnd) { return reinterpret_cast<WNDPROC>(::GetWindowLongW(hWnd, GWL_WNDPROC)); }

// A crash is being told: while the box is shown others may come, of the same window again and again. They are only logged.
thread_local bool t_telling = false;

// Told, logged, and the application ends in order.
void EndAfterCrash(HWND hWnd) {
    CeTraceLog(u"Exception");
    WCHAR className[kClassName] = {};
    GetClassNameW(hWnd, className, kClassName);
    SYSTEMTIME now{};
    GetLocalTime(&now);
    WCHAR time[64] = {};
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_FORCE24HOURFORMAT, &now, nullptr, time,
                   static_cast<int>(std::size(time)));
    WCHAR text[kClassName + 128];
    const bool dialog = std::u16string_view(className).starts_with(u"CeDialog");
    wsprintfW(text, u"%s:: %s at %s had an internal crash. Now closing program.",
              dialog ? u"CeDialog" : u"CeWnd", className, time);
    CeTraceLog(u"%s", text);
    if (std::exchange(t_telling, true)) return;
    MessageBoxW(nullptr, text, u"Software Error", MB_ICONHAND);
    t_telling = false;
    PostQuitMessage(0);
}

} // namespace

// --- The procedures -----------------------------------------------------------------------------------------------

// A handler may end its own object: whoever called it looks here before it goes on.
struct CeWnd::Handling {
    const CeWnd* object;
    Handling* outer;
    bool telling;
    bool gone = false;
};
thread_local CeWnd::Handling* CeWnd::s_handling = nullptr;

LRESULT CeWnd::StartWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    const auto* create = msg == WM_CREATE ? reinterpret_cast<const CREATESTRUCTW*>(lParam) : nullptr;
    auto* object = create ? static_cast<CeWnd*>(create->lpCreateParams) : nullptr;
    if (!object || ::GetWindowLongW(hWnd, GWL_USERDATA) != 0)
        return DefWindowProcW(hWnd, msg, wParam, lParam);
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&WndProc));
    ::SetWindowLongW(hWnd, GWL_USERDATA, reinterpret_cast<LONG_PTR>(object));
    object->OnFirstMessage(hWnd);
    object->m_hWnd = hWnd;
    return WndProc(hWnd, msg, wParam, lParam);
}

LRESULT CeWnd::WndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    auto* object = reinterpret_cast<CeWnd*>(::GetWindowLongW(hWnd, GWL_USERDATA));
    if (!object) return DefWindowProcW(hWnd, msg, wParam, lParam);
    Handling handling{object, s_handling, t_telling};
    s_handling = &handling;
    LRESULT result = 0;
    const bool whole = GuardedCall([&] { result = object->Dispatch(handling, hWnd, msg, wParam, lParam); });
    s_handling = handling.outer;
    if (whole) return result;
    t_telling = handling.telling;                       // what was told inside of this was left by the crash
    if (msg == WM_PAINT) ::ValidateRect(hWnd, nullptr); // or it would come again and again
    EndAfterCrash(hWnd);
    return 0;
}

LRESULT CeWnd::Dispatch(const Handling& handling, HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    StoreMessage(hWnd, msg, wParam, lParam);
    bool handled = false;
    LRESULT result = ProcessMessage(msg, wParam, lParam, handled);
    if (handling.gone || !IsWindowOf(hWnd, this)) { // the handler ended the window, this object, or both
        if (!handling.gone && msg == WM_DESTROY && m_hWnd == hWnd)
            Leave(hWnd);                       // what stands above it went meanwhile, and took it along
        else if (!handled && ::IsWindow(hWnd)) // it was given back: the message is for whose it is now
            result = CallWindowProcW(ProcedureOf(hWnd), hWnd, msg, wParam, lParam);
        return result;
    }
    if (!handled) {
        StoreMessage(hWnd, msg, wParam, lParam); // the handler may have sent others
        result = Default();
    }
    if (msg == WM_DESTROY && !handling.gone) Leave(hWnd);
    return result;
}

void CeWnd::StoreMessage(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    m_hMsgWnd = hWnd;
    m_uMsg = msg;
    m_wParam = wParam;
    m_lParam = lParam;
}

void CeWnd::Leave(HWND hWnd) {
    GiveBack(hWnd, m_pfnSuperWndProc);
    m_hWnd = nullptr;
    OnFinalMessage(hWnd);
}

CeWnd::~CeWnd() {
    for (Handling* handling = s_handling; handling; handling = handling->outer)
        handling->gone |= handling->object == this;
    if (m_hWnd && IsWindowOf(m_hWnd, this)) Unsubclass();
}

// --- Creating -----------------------------------------------------------------------------------------------------

bool CeWnd::Create(LPCWSTR pszClass, HWND hParent, int x, int y, int cx, int cy, LPCWSTR pszTitle,
                   DWORD style, DWORD exStyle, UINT id, HINSTANCE hInstance) {
    hInstance = InstanceOr(hInstance);
    m_pfnSuperWndProc = nullptr; // of a former window
    std::u16string name = pszClass ? pszClass : u"";
    if (name.empty()) {
        name = CreateGenericWndClass(hInstance);
    } else if (!IsCeWndProc(pszClass, hInstance)) {
        bool registered = false;
        RegisterWndSuperclass(pszClass, &m_pfnSuperWndProc, &registered, hInstance);
        name = SuperclassName(pszClass);
    }
    const auto menu = reinterpret_cast<HMENU>(static_cast<ULONG_PTR>(id));
    const HWND hWnd =
        CreateWindowExW(exStyle, name.c_str(), pszTitle, style, x, y, cx, cy, hParent, menu, hInstance, this);
    return hWnd && hWnd == m_hWnd;
}

bool CeWnd::Create(LPCWSTR pszClass, HWND hParent, const RECT& rect, LPCWSTR pszTitle, DWORD style,
                   DWORD exStyle, UINT id, HINSTANCE hInstance) {
    return Create(pszClass, hParent, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
                  pszTitle, style, exStyle, id, hInstance);
}

bool CeWnd::Create(LPCWSTR pszClass, HWND hParent, const RECT* pRect, LPCWSTR pszTitle, DWORD style,
                   DWORD exStyle, UINT id, HINSTANCE hInstance) {
    return Create(pszClass, hParent, pRect ? *pRect : RECT{}, pszTitle, style, exStyle, id, hInstance);
}

// --- Classes ------------------------------------------------------------------------------------------------------

bool CeWnd::RegisterClassW(LPCWSTR pszName, UINT style, int classExtra, int windowExtra, HICON icon, HCURSOR,
                           HBRUSH background, LPCWSTR, HINSTANCE hInstance) {
    WNDCLASSW windowClass{};
    windowClass.style = style;
    windowClass.lpfnWndProc = &StartWndProc;
    windowClass.cbClsExtra = classExtra;
    windowClass.cbWndExtra = windowExtra;
    windowClass.hInstance = InstanceOr(hInstance);
    windowClass.hIcon = icon;
    windowClass.hbrBackground = background ? background : WhiteBrush();
    windowClass.lpszClassName = pszName;
    UnregisterClassW(pszName, windowClass.hInstance); // it may be there under a former instance
    return ::RegisterClassW(&windowClass) != 0;
}

LPCWSTR CeWnd::CreateGenericWndClass(HINSTANCE hInstance) {
    static const bool registered =
        RegisterClassW(kGenericClass, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, hInstance);
    static_cast<void>(registered); // a class that stands already serves too
    return kGenericClass;
}

bool CeWnd::RegisterWndSuperclass(LPCWSTR pszName, WNDPROC* pOldProc, bool* pRegistered,
                                  HINSTANCE hInstance) {
    WNDCLASSW windowClass{};
    *pRegistered = false;
    if (!GetClassInfoW(hInstance, pszName, &windowClass)) return false;
    *pOldProc = windowClass.lpfnWndProc;
    const std::u16string name = SuperclassName(pszName);
    if (IsCeWndProc(pszName, hInstance) && IsCeWndProc(name.c_str(), hInstance)) return true;
    windowClass.style &= ~kGlobalClass;
    windowClass.lpfnWndProc = &StartWndProc;
    windowClass.hInstance = InstanceOr(hInstance);
    windowClass.lpszClassName = name.c_str();
    // While windows of it live, neither succeeds, and the class stays as it is.
    UnregisterClassW(name.c_str(), windowClass.hInstance);
    *pRegistered = ::RegisterClassW(&windowClass) != 0;
    return true;
}

bool CeWnd::IsCeWndProc(LPCWSTR pszName, HINSTANCE hInstance) {
    WNDCLASSW windowClass{};
    if (!GetClassInfoW(hInstance, pszName, &windowClass)) return false;
    return windowClass.lpfnWndProc == &StartWndProc || windowClass.lpfnWndProc == &WndProc;
}

// --- Subclassing --------------------------------------------------------------------------------------------------

bool CeWnd::Subclass(HWND hWnd) {
    if (m_hWnd || !::IsWindow(hWnd) || ProcedureOf(hWnd) == &WndProc) return false;
    m_pfnSuperWndProc = ProcedureOf(hWnd);
    ::SetWindowLongW(hWnd, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&WndProc));
    if (!m_hWnd) m_hWnd = hWnd;
    return true;
}

bool CeWnd::Subclass(int id, HWND hParentDialog) { return Subclass(::GetDlgItem(hParentDialog, id)); }

HWND CeWnd::Unsubclass() {
    const HWND hWnd = std::exchange(m_hWnd, nullptr);
    if (hWnd) GiveBack(hWnd, std::exchange(m_pfnSuperWndProc, nullptr));
    return hWnd;
}

// --- Others -------------------------------------------------------------------------------------------------------

void CeWnd::SendMessageToDescendants(UINT msg, WPARAM wParam, LPARAM lParam, bool bDeep) {
    SendToChildren(m_hWnd, msg, wParam, lParam, bDeep);
}
