// The cells of a grid: their text, what hangs on it, and what of it can be taken out.
#include "QNGridCtrl/HTMLGridModel.h"

#include "NorvoTools/globals.h"
#include "Platform/memory.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr int kTextCapacity = 4095; // characters without terminator
constexpr std::size_t kMostCopiedSpots = 150;

} // namespace

// --- Text ---------------------------------------------------------------------------------------------------------

tagCELLINFO* CHTMLGridModel::CellForText(WORD col, WORD row) {
    if (col >= GetColCount() || row >= GetRowCount()) return nullptr;
    return m_bVirtual ? m_Cells.Make(col, row) : m_Cells.Find(col, row);
}

void CHTMLGridModel::ParseCell(tagCELLINFO& cell, LPCWSTR pszText, BYTE quality) {
    cell.SetFontQuality(quality);
    cell.SetBitmapScaling(m_dwBitmapScaling);
    cell.HotSpots.clear();
    cell.SetHTML(pszText);
    cell.ParseHTML(m_hWnd);
}

bool CHTMLGridModel::SetCellText(WORD col, WORD row, LPCWSTR pszText) {
    return SetCellText(col, row, pszText, m_FontQuality);
}

bool CHTMLGridModel::SetCellText(WORD col, WORD row, LPCWSTR pszText, BYTE quality) {
    tagCELLINFO* cell = pszText ? CellForText(col, row) : nullptr;
    if (!cell) return false;
    ParseCell(*cell, pszText, quality);
    RowChanged(row);
    return true;
}

bool CHTMLGridModel::SetCellText(WORD col, WORD row, LPCWSTR pszText, const RECT& margins) {
    return SetCellText(col, row, pszText, m_FontQuality, margins);
}

bool CHTMLGridModel::SetCellText(WORD col, WORD row, LPCWSTR pszText, BYTE quality, const RECT& margins) {
    tagCELLINFO* cell = pszText ? CellForText(col, row) : nullptr;
    if (!cell) return false;
    cell->rcMargins = margins;
    return SetCellText(col, row, pszText, quality);
}

WCHAR* CHTMLGridModel::GetCellText(WORD col, WORD row, bool bEditableOnly) {
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    auto* text = cell ? static_cast<WCHAR*>(std::malloc((kTextCapacity + 1) * sizeof(WCHAR))) : nullptr;
    if (text) cell->GetText(text, kTextCapacity, bEditableOnly);
    return text;
}

void CHTMLGridModel::UpdateCellText(WORD col, WORD row) {
    if (col >= GetColCount() || row >= GetRowCount()) return;
    const int height = m_Rows.Size(row);
    if (AskForCell(col, row) && !IsInUpdate()) RemeasureRow(row);
    if (row < GetRowCount() && m_Rows.Size(row) == height && !m_bColsOwed && !IsInUpdate())
        RequestCellUpdate(col, row);
    else
        UpdateGrid();
}

void CHTMLGridModel::UpdateRowText(WORD row) {
    if (row >= GetRowCount()) return;
    for (int col = 0; col < m_Cols.Count(); ++col) AskForCell(static_cast<WORD>(col), row);
    if (m_bColsOwed)
        UpdateGrid();
    else if (row < GetRowCount())
        RowChanged(row);
}

// --- What hangs on a cell -----------------------------------------------------------------------------------------

void CHTMLGridModel::SetCellData(WORD col, WORD row, DWORD data) {
    if (tagCELLINFO* cell = m_Cells.Find(col, row)) cell->dwData = data;
}

DWORD CHTMLGridModel::GetCellData(WORD col, WORD row) const {
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    return cell ? cell->dwData : 0;
}

void CHTMLGridModel::SetCellSingleLine(WORD col, WORD row, bool bSingleLine) {
    tagCELLINFO* cell = m_Cells.Find(col, row);
    if (!cell) return;
    cell->bSingleLine = bSingleLine;
    RowChanged(row);
}

void CHTMLGridModel::SetDefaultHotSpot(WORD col, WORD row, DWORD index) {
    if (tagCELLINFO* cell = m_Cells.Find(col, row)) cell->nDefaultHotSpot = index;
}

void CHTMLGridModel::SetCellOnActionLinkNavigable(WORD col, WORD row, bool bNavigable) {
    if (tagCELLINFO* cell = m_Cells.Find(col, row)) cell->bOnActionLinkNavigable = bNavigable;
}

void CHTMLGridModel::SetRowFullRowSelect(WORD row, bool bFull) {
    for (int col = m_wFixedCols; col + 1 < m_Cols.Count(); ++col)
        if (tagCELLINFO* cell = m_Cells.Find(static_cast<WORD>(col), row)) cell->bFullRowSelect = bFull;
    Repaint();
}

void CHTMLGridModel::SetRowUserID(WORD row, DWORD id) {
    if (row < m_RowUserIDs.size()) m_RowUserIDs[row] = id;
}

// --- Hot spots ----------------------------------------------------------------------------------------------------

WCHAR* CHTMLGridModel::GetCellHotSpot(WORD col, WORD row, DWORD index) const {
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    if (!cell || cell->HotSpots.empty()) return nullptr;
    auto* text = static_cast<WCHAR*>(std::malloc(tagHOTSPOT::kCapacity * sizeof(WCHAR)));
    const tagHOTSPOT& spot = cell->HotSpots[std::min<std::size_t>(index, cell->HotSpots.size() - 1)];
    if (text) std::copy_n(spot.szText, tagHOTSPOT::kCapacity, text);
    return text;
}

void CHTMLGridModel::CopyCellHotSpots(HTMLHotSpots& destination, WORD row, WORD col, int shift) const {
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    const std::size_t count = cell ? std::min(cell->HotSpots.size(), kMostCopiedSpots) : 0;
    for (std::size_t i = 0; i < count; ++i) {
        tagHOTSPOT spot = cell->HotSpots[i];
        OffsetRect(&spot.rect, shift, 0);
        destination.push_back(spot);
    }
}

// --- Taken out ----------------------------------------------------------------------------------------------------

HBITMAP CHTMLGridModel::GetCellBitmap(WORD col, WORD row) {
    tagCELLINFO* cell = m_Cells.Find(col, row);
    RECT rect;
    if (!cell || !GetCellRect(col, row, rect)) return nullptr;
    OffsetRect(&rect, -rect.left, -rect.top);
    const HDC hdc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateCompatibleBitmap(hdc, rect.right, rect.bottom);
    const HGDIOBJ former = bitmap ? SelectObject(hdc, bitmap) : nullptr;
    const HBRUSH ground = CreateSolidBrush(cell->GetBackColor(true));
    FillRect(hdc, &rect, ground);
    RECT text = TextRect(col, row, *cell);
    text.bottom = rect.bottom - cell->rcMargins.bottom;
    DrawHTML(hdc, text, cell->wWrapIndent, *cell, nullptr, 0, HTML_NO_COLOR, cell->bSingleLine != 0);
    if (former) SelectObject(hdc, former);
    DeleteObject(ground);
    DeleteDC(hdc);
    return bitmap;
}

std::u16string CHTMLGridModel::TextOf(WORD col, WORD row) const {
    std::u16string text;
    const tagCELLINFO* cell = m_Cells.Find(col, row);
    if (!cell) return text;
    for (const HTMLTOKEN& token : cell->Tokens())
        if (token.eType == TOKEN_TEXT) text.append(token.pszText, token.nLength);
    return text;
}

bool CHTMLGridModel::PutOnClipBoard(const std::u16string& text) const {
    const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    const HLOCAL block = LocalAlloc(LMEM_FIXED, bytes);
    if (!block) return false;
    std::copy_n(text.c_str(), text.size() + 1, static_cast<WCHAR*>(block));
    bool put = false;
    if (::OpenClipboard(m_hWnd)) {
        EmptyClipboard();
        put = SetClipboardData(CF_UNICODETEXT, block) != nullptr;
        CloseClipboard();
    }
    if (!put) LocalFree(block);
    return put;
}

bool CHTMLGridModel::CopyCellToClipBoard(WORD col, WORD row) {
    return m_Cells.Find(col, row) && PutOnClipBoard(TextOf(col, row));
}

bool CHTMLGridModel::CopySelectedCellsToClipBoard() {
    if (m_Selection.IsEmpty()) return false;
    std::u16string text;
    for (int row = m_Selection.top; row <= m_Selection.bottom; ++row) {
        if (row > m_Selection.top) text += u"\r\n";
        for (int col = m_Selection.left; col <= m_Selection.right; ++col) {
            if (col > m_Selection.left) text += u'\t';
            text += TextOf(static_cast<WORD>(col), static_cast<WORD>(row));
        }
    }
    return PutOnClipBoard(text);
}
