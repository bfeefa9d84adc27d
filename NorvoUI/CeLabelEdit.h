// A label and a text field in one row. Its text is that of the window; what the field tells (EN_ codes) goes to the parent
// with the row's id and window. Thread of the window.
#pragma once

#include "NorvoUI/CeWnd.h"
#include "Platform/edit.h"

#include <string>

class QN_API CeLabelEdit : public CeWnd {
public:
    ~CeLabelEdit() override;

    // `labelWidth` in pixels at 96 dots an inch; 0: as wide as the label. The style is that of the field (ES_).
    bool Create(HWND hParent, const RECT& rect, LPCWSTR label, LPCWSTR text, UINT id, int labelWidth = 0,
                DWORD style = ES_AUTOHSCROLL);
    void SetLabel(LPCWSTR label);
    std::u16string GetText() const;
    void SetText(LPCWSTR text);
    CeBaseWnd& Edit() { return m_edit; }

protected:
    // The person leaves the field: a kind of row may put its text into form here.
    virtual void OnLeave() {}
    LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

private:
    int LabelWidth() const;
    void Arrange();

    CeBaseWnd m_edit;
    std::u16string m_label;
    int m_labelWidth = 0;
    HFONT m_hFont = nullptr; // owned
};
