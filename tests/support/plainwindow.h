// A window without a behaviour of its own, for tests that only want its handle.
#pragma once

#include "Platform/windows.h"

inline HWND PlainWindow(HWND parent = nullptr, DWORD style = 0, const WCHAR* text = u"") {
    WNDCLASSW plain{};
    plain.lpfnWndProc = &DefWindowProcW;
    plain.lpszClassName = u"Plain";
    RegisterClassW(&plain);
    return CreateWindowExW(0, u"Plain", text, style, 0, 0, 240, 320, parent, nullptr, nullptr, nullptr);
}
