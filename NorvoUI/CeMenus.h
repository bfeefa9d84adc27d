// A builder of menu bars and popup menus by command id, and the state of its commands for whoever shows them: a dialog's
// command bar, a row of buttons.
//
//     CeMenus menus;
//     menus.AddButton(kView, u"View");
//     menus.AddItem(kView, kSmall, u"&Small");
//     menus.AddPopup(kView, kSort, u"S&ort by");       // a sub-menu
//     menus.AddItem(kSort, kByName, u"&Name");
//     const UINT chosen = menus.Track(kView, window, x, y);
//
// Ids are one space: a button, popup or item is found by its id anywhere. The menus belong to the builder. Main thread.
#pragma once

#include "Platform/menus.h"

#include <map>
#include <string>
#include <vector>

class QN_API CeMenus {
public:
    struct Button {
        UINT id;
        std::u16string text; // "&" marks the letter that presses it
        WORD picture;        // number of a picture of the resources, 0 for none
        bool popup;          // it has a menu
    };

    CeMenus() = default;
    virtual ~CeMenus();
    CeMenus(const CeMenus&) = delete;
    CeMenus& operator=(const CeMenus&) = delete;

    // --- Building; false when there is no popup of that id, or one already
    bool AddButton(UINT id, LPCWSTR text, WORD picture = 0);
    // `popup` is a button, which has a menu from then on, or a popup in one.
    bool AddItem(UINT popup, UINT id, LPCWSTR text, UINT flags = MF_STRING);
    bool AddSeparator(UINT popup);
    bool AddPopup(UINT popup, UINT id, LPCWSTR text);
    void Clear();

    // --- State
    virtual void EnableItem(UINT id, bool enabled);
    virtual void DepressButton(UINT id, bool depressed);
    bool CheckItem(UINT id, bool checked); // false when there is no such item
    bool IsEnabled(UINT id) const;
    bool IsDepressed(UINT id) const;

    // --- Showing
    const std::vector<Button>& Buttons() const { return m_buttons; }
    HMENU GetPopup(UINT id) const; // null for an id without one
    // The command chosen, 0 for none. x and y on the screen.
    UINT Track(UINT popup, HWND hOwner, int x, int y) const;

private:
    struct State {
        bool enabled = true;
        bool depressed = false;
    };
    struct Popup {
        HMENU menu;
        UINT parent; // 0: of a button
    };
    HMENU PopupFor(UINT id);
    void ShowEnabled(UINT id, bool enabled);

    std::vector<Button> m_buttons;
    std::map<UINT, Popup> m_popups;
    std::map<UINT, State> m_items;
};
