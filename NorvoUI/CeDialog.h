// A modal dialog: DoModal shows it over its owner, which takes no input meanwhile, and returns what EndDialog was given.
//
//     class Ask : public CeDialog {
//     public:
//         Ask() : CeDialog(u"Name", {220, 60}) {}
//         bool OnInitDialog() override { return m_Name.Create(GetHWnd(), RECT{}, u"Name", u"", kName); }
//         void OnLayout(const RECT& content) override { m_Name.MoveWindow(content); }
//         void OnOK() override { text = m_Name.GetText(); CeDialog::OnOK(); }
//         ...
//     };
//     Ask ask;
//     if (ask.DoModal(window) == IDOK) use(ask.text);
#pragma once

#include "NorvoUI/CeBaseDialog.h"

class QN_API CeDialog : public CeBaseDialog {
public:
    using CeBaseDialog::CeBaseDialog;

    // -1 when no window came of it; IDCANCEL when the application ends meanwhile, or the owner goes: the end is passed on
    // to the loop outside.
    int DoModal(HWND hOwner);
    void EndDialog(int result) override;

protected:
    LRESULT OnDestroy(bool& handled) override;

private:
    void RunLoop();
    static void WakeLoop();

    bool m_modal = false; // the loop runs
};
