// A grid in the window of its owner: what the owner answers and hears, and the pixels that the grid shows.
#pragma once

#include "Platform/testing.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "tests/support/canvas.h"
#include "tests/support/devicefiles.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

// Pixels of a window as it is on the screen, row by row, 0x00RRGGBB.
struct WindowPixels {
    explicit WindowPixels(HWND window) {
        RECT client{};
        GetClientRect(window, &client);
        width = client.right;
        height = client.bottom;
        const Canvas copy(width, height);
        const HDC dc = GetDC(window);
        BitBlt(copy, 0, 0, width, height, dc, 0, 0, SRCCOPY);
        const auto* bits = reinterpret_cast<const DWORD*>(copy.Bits());
        for (LONG i = 0; i < width * height; ++i) pixels.push_back(bits[i] & 0xFFFFFF);
        ReleaseDC(window, dc);
    }
    DWORD At(LONG x, LONG y) const { return pixels.at(static_cast<std::size_t>(y * width + x)); }
    // How many pixels differ, and the box round them; empty when none does.
    std::string Against(const WindowPixels& other) const {
        if (width != other.width || height != other.height) return "another size";
        RECT box = {width, height, -1, -1};
        int count = 0;
        for (LONG y = 0; y < height; ++y)
            for (LONG x = 0; x < width; ++x)
                if (At(x, y) != other.At(x, y)) {
                    ++count;
                    box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
                           std::max(box.bottom, y)};
                }
        if (count == 0) return "";
        std::ostringstream told;
        told << count << " pixels in " << box.left << "," << box.top << " to " << box.right << ","
             << box.bottom << ", there " << std::hex << At(box.right, box.bottom) << " and "
             << other.At(box.right, box.bottom);
        return told.str();
    }

    LONG width, height;
    std::vector<DWORD> pixels;
};

// What is protected of a grid and wanted in tests.
class OpenGrid : public CHTMLGrid {
public:
    using CHTMLGrid::EndTouchScroll;
    using CHTMLGrid::m_Kinetic;
    using CHTMLGrid::m_nMaxTop;
    using CHTMLGrid::m_nOverscroll;
    using CHTMLGrid::RequestCellUpdate;
};

class GridOwner : public CeWnd {
public:
    GridOwner() {
        const PlatScreen screen = PlatGetScreen();
        Create(nullptr, nullptr, 0, 0, screen.width, screen.height, u"", WS_POPUP | WS_VISIBLE);
    }
    ~GridOwner() override {
        if (m_hWnd) DestroyWindow();
    }

    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override {
        handled = true;
        if (msg == GRIDM_CELL) return Fill(*reinterpret_cast<tagNM_GRIDCELL*>(lParam));
        if (msg == GRIDM_FLOATER_TEXT || msg == GRIDM_SCROLL_TIP) {
            auto& view = *reinterpret_cast<tagNM_GRIDVIEW*>(lParam);
            const auto floater = floaters.find(view.dwData);
            tips.push_back(view.wRow);
            if (msg == GRIDM_SCROLL_TIP) return view.pszText = u"row", 1;
            return view.pszText = floater == floaters.end() ? nullptr : floater->second.c_str(), 1;
        }
        if (msg == GRIDM_SWATCH) {
            swatches.push_back(static_cast<DWORD>(lParam));
            return reinterpret_cast<LRESULT>(swatch);
        }
        if (msg == GRIDM_SCROLLED) {
            (wParam ? tops : lefts).push_back(static_cast<int>(lParam));
            return 0;
        }
        handled = false;
        return 0;
    }

    std::function<std::u16string(WORD col, WORD row)> cells; // no text: no cell
    std::function<void(tagNM_GRIDCELL&)> more;               // of the answer
    std::map<DWORD, std::u16string> floaters;
    HBITMAP swatch = nullptr;
    int requests = 0;
    std::vector<DWORD> swatches;  // numbers asked for
    std::vector<int> tops, lefts; // told positions
    std::vector<WORD> tips;       // rows asked for

private:
    LRESULT Fill(tagNM_GRIDCELL& cell) {
        ++requests;
        if (cells) m_text = cells(LOWORD(cell.hdr.idFrom), HIWORD(cell.hdr.idFrom));
        cell.pszText = m_text.empty() ? nullptr : m_text.c_str();
        if (more) more(cell);
        return 1;
    }

    std::u16string m_text;
};

// Every character is 6 pixels wide, and a line of plain text as high as its font.
class GridTest : public DeviceFilesTest {
protected:
    GridTest() {
        PlatUseFixedWidthText(true);
        owner.emplace();
    }
    ~GridTest() override {
        grid.reset();
        owner.reset();
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {}
    }
    // With text in all cells "c,r" unless the owner has others.
    OpenGrid& Make(DWORD rows, DWORD cols, const RECT& place, bool isVirtual = false) {
        if (!owner->cells)
            owner->cells = [](WORD col, WORD row) {
                const std::string text = std::to_string(col) + "," + std::to_string(row);
                return std::u16string(text.begin(), text.end());
            };
        grid.emplace();
        EXPECT_TRUE(grid->InitWindow(owner->GetHWnd(), place, isVirtual, u""));
        grid->BeginUpdate();
        grid->SetDimensions(rows, cols);
        if (!isVirtual) grid->CreateCells();
        for (DWORD row = 0; !isVirtual && row < rows; ++row)
            for (DWORD col = 0; col < cols; ++col)
                grid->SetCellText(static_cast<WORD>(col), static_cast<WORD>(row),
                                  owner->cells(static_cast<WORD>(col), static_cast<WORD>(row)).c_str());
        grid->EndUpdate();
        return *grid;
    }
    // As it is after all that is owed is painted.
    WindowPixels Shown() {
        grid->ForcePaint();
        return WindowPixels(grid->GetHWnd());
    }
    WindowPixels PaintedAnew() {
        grid->Invalidate();
        return Shown();
    }
    void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }

    std::optional<GridOwner> owner;
    std::optional<OpenGrid> grid;
};
