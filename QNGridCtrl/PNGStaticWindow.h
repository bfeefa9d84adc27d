// A small window that shows one picture in its middle on the window colour.
#pragma once

#include "NorvoUI/CeWnd.h"
#include "QNGridCtrl/PNGPicture.h"

#include <memory>

class QN_API PNGStaticWindow : public CeWnd {
public:
    // Makes a visible child over the parent's client area; the owner may move it. False when no window came of it or there
    // is no such picture.
    bool Init(HWND hParent, HINSTANCE hInstance, WORD wId);

protected:
    LRESULT OnPaint(bool& handled) override;

private:
    // A picture larger than the window becomes as large as fits, and stays so.
    void Fit(const RECT& client);

    std::unique_ptr<PNGPicture> m_pPicture;
};
