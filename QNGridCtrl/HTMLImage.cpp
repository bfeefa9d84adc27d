#include "QNGridCtrl/HTMLImage.h"

#include "Platform/memorycontext.h"
#include "QNGridCtrl/PNGPicture.h"

CHTMLImage::CHTMLImage(HBITMAP bitmap) : m_hBitmap(bitmap) {
    BITMAP size{};
    if (!bitmap || !GetObjectW(bitmap, sizeof size, &size)) return;
    m_nWidth = size.bmWidth;
    m_nHeight = size.bmHeight;
}

CHTMLImage::CHTMLImage(PNGPicture* picture) : m_pPicture(picture) {
    if (!picture) return;
    m_nWidth = static_cast<int>(picture->GetWidth());
    m_nHeight = static_cast<int>(picture->GetHeight());
}

bool CHTMLImage::IsValid() const { return m_pPicture ? m_pPicture->IsLoaded() : m_hBitmap != nullptr; }

void CHTMLImage::DrawTransparent(HDC hdc, int x, int y, int cx, int cy) const {
    if (m_pPicture) {
        m_pPicture->PreDrawScale(cx, cy, PNG_SMOOTH | PNG_KEEP_ALPHA);
        m_pPicture->Draw(hdc, x, y);
        return;
    }
    TransparentImage(hdc, x, y, cx, cy, MemoryContext(m_hBitmap), 0, 0, m_nWidth, m_nHeight, HTML_IMAGE_KEY);
}
