#include "QNGridCtrl/Prompts.h"

#include "QNGridCtrl/MessageBoxDialog.h"
#include "QNGridCtrl/PopupMenu.h"

Prompts::Prompts() : m_pFormer(PlatSetPromptProvider(this)) {}
Prompts::~Prompts() { PlatSetPromptProvider(m_pFormer); }

int Prompts::ShowMessageBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
    return MessageBoxDialog(text, caption, type, CNorvoMBox::TakeCurrent()).Ask(owner);
}

UINT Prompts::PickFromMenu(HWND owner, HMENU menu, int x, int y) {
    return ShowPopupMenu(owner, menu, {x, y});
}

BOOL Prompts::Beep(UINT) { return FALSE; }
