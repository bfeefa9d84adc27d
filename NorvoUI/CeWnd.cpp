#include "NorvoUI/CeWnd.h"

#include "NorvoTools/errors.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <string>
#include <utility>

namespace {

constexpr UINT kGlobalClass = 0x4000; // a superclass belongs to its instance
constexpr int kClassName = 256;
const WCHAR kGenericClass[] = u"CeWnd:GENERIC";

HINSTANCE InstanceOr(HINSTANCE hInstance) { return hInstance ? hInstance : GetModuleHandleW(nullptr); }

std::u16string SuperclassName(LPCWSTR name) { return std::u16string(u"CeWnd:") + name; }

HBRUSH WhiteBrush() { return static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)); }

void SendToChildren(HWND parent, UINT msg, WPARAM wParam, LPARAM lParam, bool deep) {
    HWND next = nullptr;
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = next) {
        next = GetWindow(child, GW_HWNDNEXT); // the child may go by the message
        SendMessageW(child, msg, wParam, lParam);
        if (deep) SendToChildren(child, msg, wParam, lParam, true);
    }
}

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
    wsprintfW(text, u"CeWnd:: %s at %s had an internal crash. Now closing program.", className, time);
    CeTraceLog(u"%s", text);
    MessageBoxW(nullptr, text, u"Software Error", MB_ICONHAND);
    PostQuitMessage(0);
}

} // namespace

// --- The procedures -----------------------------------------------------------------------------------------------

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
    LRESULT result = 0;
    if (GuardedCall([&] { result = object->Dispatch(hWnd, msg, wParam, lParam); })) return result;
    EndAfterCrash(hWnd);
    return 0;
}

LRESULT CeWnd::Dispatch(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    StoreMessage(hWnd, msg, wParam, lParam);
    bool handled = false;
    LRESULT result = ProcessMessage(msg, wParam, lParam, handled);
    // A handler that ended its own window may have ended this object with it.
    if (::GetWindowLongW(hWnd, GWL_USERDATA) != reinterpret_cast<LONG_PTR>(this)) return result;
    if (!handled) {
        StoreMessage(hWnd, msg, wParam, lParam); // the handler may have sent others
        result = Default();
    }
    if (msg == WM_DESTROY) Leave(hWnd);
    return result;
}

void CeWnd::StoreMessage(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    m_hMsgWnd = hWnd;
    m_uMsg = msg;
    m_wParam = wParam;
    m_lParam = lParam;
}

void CeWnd::Leave(HWND hWnd) {
    const WNDPROC former = m_pfnSuperWndProc ? m_pfnSuperWndProc : &DefWindowProcW;
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(former));
    ::SetWindowLongW(hWnd, GWL_USERDATA, 0);
    m_hWnd = nullptr;
    OnFinalMessage(hWnd);
}

// --- Creating -----------------------------------------------------------------------------------------------------

bool CeWnd::Create(LPCWSTR pszClass, HWND hParent, int x, int y, int cx, int cy, LPCWSTR pszTitle,
                   DWORD style, DWORD exStyle, UINT id, HINSTANCE hInstance) {
    hInstance = InstanceOr(hInstance);
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
    if (m_hWnd || !::IsWindow(hWnd)) return false;
    m_pfnSuperWndProc = reinterpret_cast<WNDPROC>(::GetWindowLongW(hWnd, GWL_WNDPROC));
    ::SetWindowLongW(hWnd, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&WndProc));
    if (!m_hWnd) m_hWnd = hWnd;
    return true;
}

bool CeWnd::Subclass(int id, HWND hParentDialog) { return Subclass(::GetDlgItem(hParentDialog, id)); }

HWND CeWnd::Unsubclass() {
    const HWND hWnd = std::exchange(m_hWnd, nullptr);
    if (!hWnd) return nullptr;
    const WNDPROC former = m_pfnSuperWndProc ? m_pfnSuperWndProc : &DefWindowProcW;
    ::SetWindowLongW(hWnd, GWL_USERDATA, 0);
    ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(former));
    m_pfnSuperWndProc = nullptr;
    return hWnd;
}

// --- Others -------------------------------------------------------------------------------------------------------

void CeWnd::SendMessageToDescendants(UINT msg, WPARAM wParam, LPARAM lParam, bool bDeep) {
    SendToChildren(m_hWnd, msg, wParam, lParam, bDeep);
}

void CeWnd::SetIMEType(DWORD type) { SHSipPreference(m_hWnd, static_cast<int>(type)); }
