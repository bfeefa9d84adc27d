// A message box on the screen: picture, text, up to three buttons, and a check where its answer can be remembered.
#pragma once

#include "NorvoUI/CNorvoMBox.h"
#include "NorvoUI/CeDialog.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "QNGridCtrl/PNGStaticWindow.h"

#include <string>

class QN_API MessageBoxDialog : public CeDialog {
public:
    // The texts are plain ones, the type as for MessageBoxW; `asking` (may be null) is told of the check.
    MessageBoxDialog(LPCWSTR text, LPCWSTR caption, UINT type, CNorvoMBox* asking);
    // The ID number of a button; without an answer Cancel's, or that of the last one.
    int Ask(HWND hOwner);

    bool OnInitDialog() override;
    SIZE GetContentSize(SIZE most) override;
    void OnLayout(const RECT& content) override;
    LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) override;

protected:
    bool OnLetter(WCHAR letter) override;

private:
    // One cell, which lines and keys move through by lines and not by rows.
    class Text : public CHTMLGrid {
        LRESULT OnVScroll(UINT code, int position) override;
        LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    };

    void AddButtons();
    void AddPicture();
    int PictureWidth() const;
    int CheckHeight() const;
    int TextHeight(int width, int* used) const;

    std::u16string m_markup;
    UINT m_type;
    CNorvoMBox* m_pAsking;
    Text m_Text;
    PNGStaticWindow m_Picture;
    CeIconButton m_Check;
};
