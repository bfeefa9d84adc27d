// A message box that can remember its answer under a key: "Delete_Appt", "Mark_Complete" ...
//
//     CNorvoMBox box(u"Delete_Appt");
//     if (box.Ask(window, u"Delete this appointment?", u"Delete", MB_YESNO | MB_ICONQUESTION) != IDYES) return;
//
// It is shown as MessageBoxW shows one, with a check "Don't ask again" where the shower knows of such checks. With a
// remembered answer nothing is shown. Answers stand in the settings: the key Prompts of the suite. Any thread.
#pragma once

#include "Platform/menus.h"

#include <map>
#include <string>

class QN_API CNorvoMBox {
public:
    // Null or empty: nothing is remembered.
    explicit CNorvoMBox(LPCWSTR key);
    CNorvoMBox(const CNorvoMBox&) = delete;
    CNorvoMBox& operator=(const CNorvoMBox&) = delete;

    // Another text for a button ("&This one"), by its ID number.
    void SetButtonText(int button, LPCWSTR text) { m_texts[button] = text; }
    // One of the ID numbers of the buttons that the type has. Cancel is never remembered.
    int Ask(HWND hOwner, LPCWSTR text, LPCWSTR caption, UINT type);

    // 0 without one.
    static int GetRemembered(LPCWSTR key);
    static void Remember(LPCWSTR key, int answer);
    static void Forget(LPCWSTR key);
    static void ForgetAll();

    // --- For whoever shows message boxes
    // The box that this thread is about to show, once; null for a plain one.
    static CNorvoMBox* TakeCurrent();
    bool CanRemember() const { return !m_key.empty(); }
    LPCWSTR GetButtonText(int button) const; // null for the usual one
    void SetRemember(bool remember) { m_remember = remember; }

private:
    std::u16string m_key;
    std::map<int, std::u16string> m_texts;
    bool m_remember = false;
};

// The ID numbers of the buttons that a type of box has, in their order; 0 behind the last. Unknown types have OK.
QN_API const int* MessageBoxButtons(UINT type);
