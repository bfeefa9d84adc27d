// A small section to draw on, told as text: one letter a pixel.
#pragma once

#include "Platform/gdi.h"
#include "Platform/memorycontext.h"

#include <map>
#include <string>
#include <vector>

inline constexpr COLORREF kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000, kWhite = 0xFFFFFF;

// '.' is black, '?' another colour.
inline char LetterOf(COLORREF color) {
    static const std::map<COLORREF, char> letters = {
        {0, '.'}, {kRed, 'R'}, {kGreen, 'G'}, {kBlue, 'B'}, {kWhite, 'W'}};
    const auto found = letters.find(color);
    return found == letters.end() ? '?' : found->second;
}

inline BITMAPINFO SectionInfo(int width, int height, WORD bits, bool topDown) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = topDown ? -height : height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = bits;
    return info;
}

using TextRows = std::vector<std::string>;

inline TextRows RowsOf(HDC dc, int width, int height) {
    TextRows rows(static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) rows[static_cast<std::size_t>(y)] += LetterOf(GetPixel(dc, x, y));
    return rows;
}

// The pixels of a bitmap, which goes; empty for none.
inline TextRows TakenRows(HBITMAP bitmap) {
    BITMAP size{};
    if (!GetObjectW(bitmap, sizeof size, &size)) return {};
    const TextRows rows = RowsOf(MemoryContext(bitmap), size.bmWidth, size.bmHeight);
    DeleteObject(bitmap);
    return rows;
}

class Canvas {
public:
    Canvas(int width, int height, WORD bits = 32, bool topDown = true)
        : m_width(width), m_height(height), m_dc(CreateCompatibleDC(nullptr)) {
        const BITMAPINFO info = SectionInfo(width, height, bits, topDown);
        void* memory = nullptr;
        m_bitmap = CreateDIBSection(m_dc, &info, DIB_RGB_COLORS, &memory, nullptr, 0);
        m_bits = static_cast<BYTE*>(memory);
        m_former = SelectObject(m_dc, m_bitmap);
    }
    // Each letter as LetterOf says.
    explicit Canvas(const TextRows& rows)
        : Canvas(static_cast<int>(rows[0].size()), static_cast<int>(rows.size())) {
        for (int y = 0; y < m_height; ++y)
            for (int x = 0; x < m_width; ++x)
                for (const COLORREF color : {COLORREF{0}, kRed, kGreen, kBlue, kWhite})
                    if (LetterOf(color) == rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)])
                        SetPixel(m_dc, x, y, color);
    }
    ~Canvas() {
        SelectObject(m_dc, m_former);
        DeleteObject(m_bitmap);
        DeleteDC(m_dc);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    operator HDC() const { return m_dc; }
    HBITMAP Bitmap() const { return m_bitmap; }
    BYTE* Bits() const { return m_bits; }
    COLORREF At(int x, int y) const { return GetPixel(m_dc, x, y); }
    TextRows Rows() const { return RowsOf(m_dc, m_width, m_height); }

private:
    int m_width, m_height;
    HDC m_dc;
    HBITMAP m_bitmap = nullptr;
    BYTE* m_bits = nullptr;
    HGDIOBJ m_former = nullptr;
};
