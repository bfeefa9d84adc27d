// Message boxes and popup menus as windows on the screen: whoever has a screen to show holds one of these while it is up.
//
//     const Prompts prompts;                  // behind InitQNTools and PlatStartPresenting
//
// From then on MessageBoxW, CNorvoMBox and TrackPopupMenuEx wait for the person, each with a loop of messages on the thread
// that asks. Without one (headless) they answer at once, as Platform/menus.h tells. There is no sound for a beep.
#pragma once

#include "Platform/menus.h"

class QN_API Prompts : private PlatPromptProvider {
public:
    Prompts();
    ~Prompts() override;
    Prompts(const Prompts&) = delete;
    Prompts& operator=(const Prompts&) = delete;

private:
    int ShowMessageBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) override;
    UINT PickFromMenu(HWND owner, HMENU menu, int x, int y) override;
    BOOL Beep(UINT type) override;

    PlatPromptProvider* m_pFormer;
};
