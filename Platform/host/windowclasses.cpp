#include "Platform/host/windowclasses.h"

#include "Platform/host/edit.h"
#include "Platform/host/scrollbars.h"
#include "Platform/threads.h"

namespace plat {
namespace {

constexpr DWORD kErrorClassExists = 1410;
constexpr DWORD kErrorNoClass = 1411;
constexpr DWORD kErrorClassHasWindows = 1412;
constexpr ATOM kFirstAtom = 0xC001, kLastAtom = 0xFFFF;
constexpr std::size_t kMostClasses = 4096;

std::u16string ClassKey(LPCWSTR name) {
    std::u16string key(TextOf(name));
    std::ranges::transform(key, key.begin(), LowerUnit);
    return key;
}

bool IsAtom(LPCWSTR name) { return reinterpret_cast<ULONG_PTR>(name) < 0x10000; }

std::shared_ptr<WindowClass> MakeClass(const WNDCLASSW& data) {
    auto made = std::make_shared<WindowClass>();
    made->name = data.lpszClassName;
    made->data = data;
    made->data.lpszClassName = made->name.c_str();
    made->data.lpszMenuName = nullptr;
    return made;
}

} // namespace

ATOM Desktop::FreeAtom() {
    const auto taken = [this](ATOM atom) {
        return std::ranges::any_of(classes, [atom](const auto& entry) { return entry.second->atom == atom; });
    };
    do lastAtom = lastAtom < kLastAtom ? static_cast<ATOM>(lastAtom + 1) : kFirstAtom;
    while (taken(lastAtom));
    return lastAtom;
}

std::shared_ptr<WindowClass> FindClass(const Desktop& desktop, LPCWSTR name) {
    if (!name) return nullptr;
    if (!IsAtom(name)) {
        const auto found = desktop.classes.find(ClassKey(name));
        return found == desktop.classes.end() ? nullptr : found->second;
    }
    for (const auto& [key, windowClass] : desktop.classes)
        if (windowClass->atom == reinterpret_cast<ULONG_PTR>(name)) return windowClass;
    return nullptr;
}

void AddHostClasses(Desktop& desktop) {
    const auto add = [&desktop](LPCWSTR name, WNDPROC procedure, UINT style, int extra) {
        WNDCLASSW data{};
        data.style = CS_GLOBALCLASS | style;
        data.lpfnWndProc = procedure;
        data.cbWndExtra = extra;
        data.lpszClassName = name;
        const auto made = MakeClass(data);
        made->atom = desktop.FreeAtom();
        desktop.classes.emplace(ClassKey(name), made);
    };
    add(u"SCROLLBAR", &ScrollBarProcedure, 0, 0);
    add(u"EDIT", &EditProcedure, CS_DBLCLKS, 4);
}

} // namespace plat

ATOM RegisterClassW(const WNDCLASSW* windowClass) {
    plat::HostCall call;
    constexpr int kMostExtra = 4096;
    if (!windowClass || !windowClass->lpfnWndProc || plat::IsAtom(windowClass->lpszClassName) ||
        windowClass->cbWndExtra < 0 || windowClass->cbWndExtra > kMostExtra)
        return SetLastError(ERROR_INVALID_PARAMETER), ATOM{0};
    const auto made = plat::MakeClass(*windowClass);
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    if (desktop.classes.size() >= plat::kMostClasses) return SetLastError(ERROR_NOT_ENOUGH_MEMORY), ATOM{0};
    const auto [place, added] = desktop.classes.try_emplace(plat::ClassKey(windowClass->lpszClassName), made);
    if (!added) return SetLastError(plat::kErrorClassExists), ATOM{0};
    return made->atom = desktop.FreeAtom();
}

BOOL UnregisterClassW(LPCWSTR name, HINSTANCE) {
    plat::HostCall call;
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    const auto found = plat::FindClass(desktop, name);
    if (!found) return SetLastError(plat::kErrorNoClass), FALSE;
    if (found->windows > 0) return SetLastError(plat::kErrorClassHasWindows), FALSE;
    desktop.classes.erase(plat::ClassKey(found->name.c_str()));
    return TRUE;
}

BOOL GetClassInfoW(HINSTANCE, LPCWSTR name, WNDCLASSW* windowClass) {
    plat::HostCall call;
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    const auto found = plat::FindClass(desktop, name);
    if (!found) return SetLastError(plat::kErrorNoClass), FALSE;
    if (!windowClass) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    *windowClass = found->data;
    return TRUE;
}

int GetClassNameW(HWND window, LPWSTR buffer, int count) {
    plat::HostCall call;
    const auto name = plat::WithWindow(window, [](plat::Window& found) { return found.windowClass->name; });
    return name ? plat::CopyText(*name, buffer, count) : 0;
}
