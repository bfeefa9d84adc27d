// The text layer of a context: what DrawHTML gives the layout.
#pragma once

#include "QNGridCtrl/HTMLCanvas.h"

#include <array>

class QN_API ContextCanvas : public HTMLCanvas {
public:
    // The context stays the caller's.
    explicit ContextCanvas(HDC hdc) : m_hdc(hdc) {}

    HFONT SelectFont(HFONT font) override;
    int Fit(const WCHAR* text, int length, int width, SIZE& size) override;
    int Descent() override;
    void TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) override;
    void SetColors(const COLORREF* text, const COLORREF* ground) override;
    void FocusFrame(const RECT& rect) override;
    void Edge(int left, int right, int y) override;
    void Picture(CHTMLImage& image, const RECT& rect) override;

private:
    static constexpr int kPiece = 256;

    bool KnowsFront(const WCHAR* text, int length) const;

    HDC m_hdc;
    HFONT m_font = nullptr; // the one selected last
    // Of the last two that were asked for: most texts have no more.
    struct KnownDescent {
        HFONT font = nullptr;
        int descent = 0;
    };
    std::array<KnownDescent, 2> m_descents;

    // Of the first piece of the text last looked at: a line that breaks asks at once for what stands before the break.
    const WCHAR* m_front = nullptr;
    int m_frontLength = 0;
    LONG m_height = 0;
    std::array<int, kPiece> m_widths;
};
