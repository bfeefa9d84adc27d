// Border and shadow of a window that stands above others. The window is larger than what it shows: by the border at every
// side, by the shadow at the right and the bottom, through which what stands below is seen as it was when the window was
// painted first. Thread of the window.
#pragma once

#include "Platform/windows.h"

class QN_API CePopupFrame {
public:
    CePopupFrame() = default;
    ~CePopupFrame() { Forget(); }
    CePopupFrame(const CePopupFrame&) = delete;
    CePopupFrame& operator=(const CePopupFrame&) = delete;

    static int Border(); // pixels
    static int Shadow();
    // What is left inside of a client area, and the client area round that.
    static RECT Inside(const RECT& client);
    static SIZE Around(SIZE inside);
    // Everything that stands below is painted now, so that the shadow falls on it; call before the window shows.
    static void SettleBelow();

    void Paint(HWND hWnd, HDC hdc);
    // The window has moved, or what stands below is another: hide it before, so that it is not in its own shadow.
    void Forget();

private:
    HBITMAP m_hRight = nullptr; // the ground under the shadow
    HBITMAP m_hBottom = nullptr;
};
