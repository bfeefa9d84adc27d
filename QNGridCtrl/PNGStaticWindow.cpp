#include "QNGridCtrl/PNGStaticWindow.h"

#include <algorithm>

bool PNGStaticWindow::Init(HWND hParent, HINSTANCE hInstance, WORD wId) {
    m_pPicture = std::make_unique<PNGPicture>(hInstance, wId);
    RECT client{};
    if (!m_pPicture->IsLoaded() || !::GetClientRect(hParent, &client)) return false;
    return Create(nullptr, hParent, client, u"", WS_CHILD | WS_VISIBLE);
}

void PNGStaticWindow::Fit(const RECT& client) {
    const auto wide = static_cast<double>(m_pPicture->GetWidth()),
               high = static_cast<double>(m_pPicture->GetHeight());
    const double part = std::min((client.right - client.left) / wide, (client.bottom - client.top) / high);
    if (part < 1)
        m_pPicture->PreDrawScale(static_cast<int>(wide * part), static_cast<int>(high * part),
                                 PNG_SMOOTH | PNG_KEEP_ALPHA);
}

LRESULT PNGStaticWindow::OnPaint(bool& handled) {
    PAINTSTRUCT paint;
    const HDC hdc = ::BeginPaint(m_hMsgWnd, &paint);
    if (!hdc) return 0;
    RECT client{};
    ::GetClientRect(m_hMsgWnd, &client);
    ::FillRect(hdc, &client, GetSysColorBrush(COLOR_WINDOW));
    if (m_pPicture && client.right > 0 && client.bottom > 0) {
        Fit(client);
        m_pPicture->Draw(hdc, (client.right - static_cast<int>(m_pPicture->GetWidth())) / 2,
                         (client.bottom - static_cast<int>(m_pPicture->GetHeight())) / 2);
    }
    ::EndPaint(m_hMsgWnd, &paint);
    handled = true;
    return 0;
}
