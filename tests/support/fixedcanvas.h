// A text layer for layout tests: every character is 6 pixels wide, a font is as high as it was asked for, a fifth of it
// below the base line. What is painted comes out as lines of text.
#pragma once

#include "QNGridCtrl/HTMLCanvas.h"
#include "QNGridCtrl/HTMLLayout.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

class FixedCanvas : public HTMLCanvas {
public:
    static constexpr int kCharacter = 6;
    static constexpr int kTallest = 1000;

    HFONT SelectFont(HFONT font) override { return std::exchange(m_font, font); }
    int Fit(const WCHAR*, int length, int width, SIZE& size) override {
        size = {length * kCharacter, Height()};
        return width < 0 ? length : std::min(length, width / kCharacter);
    }
    int Descent() override { return Height() / 5; }
    void TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) override {
        m_dump << "text " << x << "," << y << " '" << Narrow({text, static_cast<std::size_t>(length)}) << "'";
        if (const int over = x + length * kCharacter - clip.right; over > 0) m_dump << " clipped " << over;
        m_dump << "\n";
        lastClip = clip;
    }
    void SetColors(const COLORREF* text, const COLORREF* ground) override {
        if (m_colors && text) m_dump << "color " << std::hex << *text << std::dec << "\n";
        if (m_colors && ground) m_dump << "ground " << std::hex << *ground << std::dec << "\n";
    }
    void FocusFrame(const RECT& r) override { m_dump << "focus " << Rect(r) << "\n"; }
    void Edge(int left, int right, int y) override {
        m_dump << "edge " << left << "-" << right << "," << y << "\n";
    }
    void Picture(CHTMLImage&, const RECT& r) override { m_dump << "image " << Rect(r) << "\n"; }

    RECT lastClip{};
    void ShowColors() { m_colors = true; }
    std::string Take() { return std::exchange(m_dump, std::ostringstream()).str(); }

    static std::string Rect(const RECT& r) {
        std::ostringstream out;
        out << r.left << "," << r.top << " " << r.right - r.left << "x" << r.bottom - r.top;
        return out.str();
    }
    static std::string Narrow(std::u16string_view text) {
        std::string narrow;
        for (WCHAR c : text) narrow += c < 128 ? static_cast<char>(c) : '?';
        return narrow;
    }

private:
    int Height() {
        const auto [known, added] = m_heights.try_emplace(m_font, 14);
        LOGFONTW style{};
        if (added && GetObjectW(m_font, sizeof style, &style))
            known->second = std::clamp(style.lfHeight, LONG{0}, LONG{kTallest});
        return known->second;
    }

    HFONT m_font = nullptr;
    std::map<HFONT, int> m_heights;
    bool m_colors = false;
    std::ostringstream m_dump;
};
