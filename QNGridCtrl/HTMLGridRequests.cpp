// A grid and its owner: cells and images asked for, records for what it is told.
#include "QNGridCtrl/HTMLGridModel.h"

#include "NorvoTools/globals.h"
#include "Platform/imaging.h"
#include "Platform/modules.h"

#include <string_view>

tagNM_GRIDVIEW CHTMLGridModel::ViewOf(WORD col, WORD row, UINT code) const {
    tagNM_GRIDVIEW view{};
    view.hdr = {m_hWnd, static_cast<ULONG_PTR>(GetDlgCtrlID()), code};
    view.wRow = row;
    view.wCol = col;
    return view;
}

LRESULT CHTMLGridModel::NotifyOwner(tagNM_GRIDVIEW& view) const {
    return ::SendMessageW(Owner(), WM_NOTIFY, view.hdr.idFrom, reinterpret_cast<LPARAM>(&view));
}

LRESULT CHTMLGridModel::AskOwner(UINT message, tagNM_GRIDVIEW& view) const {
    view.hdr.code = message;
    return ::SendMessageW(Owner(), message, 0, reinterpret_cast<LPARAM>(&view));
}

// --- Cells --------------------------------------------------------------------------------------------------------

tagCELLINFO* CHTMLGridModel::RequestCell(WORD col, WORD row) {
    tagCELLINFO* cell = m_Cells.Find(col, row);
    return cell || m_Cells.IsRefused(col, row) ? cell : AskForCell(col, row);
}

// The cell with what the owner answers; null, and what is there stays, without text.
tagCELLINFO* CHTMLGridModel::AskForCell(WORD col, WORD row) {
    tagNM_GRIDCELL ask{};
    ask.hdr = {m_hWnd, HTMLGridCells::Key(col, row), GRIDM_CELL};
    ask.dwRowID = GetRowUserID(row);
    ask.wColWidth = ask.wRowHeight = HTMLGridAxis::kAutomatic;
    ask.FontQuality = m_FontQuality;
    ::SendMessageW(Owner(), GRIDM_CELL, 0, reinterpret_cast<LPARAM>(&ask));
    if (col >= GetColCount() || row >= GetRowCount()) return nullptr;
    if (!ask.pszText) return m_Cells.Refuse(col, row), nullptr;
    tagCELLINFO* cell = m_Cells.Make(col, row);
    if (cell) Fill(*cell, col, row, ask);
    return cell;
}

void CHTMLGridModel::Fill(tagCELLINFO& cell, WORD col, WORD row, const tagNM_GRIDCELL& answer) {
    if (answer.wColWidth != HTMLGridAxis::kAutomatic && answer.wColWidth != m_Cols.GivenSize(col)) {
        m_Cols.GiveSize(col, answer.wColWidth);
        m_bColsOwed = true;
    }
    if (answer.wRowHeight != HTMLGridAxis::kAutomatic && m_Rows.IsAutomatic(row))
        m_Rows.GiveSize(row, answer.wRowHeight);
    cell.bSingleLine = answer.bSingleLine;
    cell.bOwnerFlag = answer.bOwnerFlag;
    cell.dwData = answer.dwData;
    cell.rcMargins = answer.rcMargins;
    cell.wWrapIndent = answer.wWrapIndent;
    cell.wMinHeight = answer.wMinHeight;
    ParseCell(cell, answer.pszText, answer.FontQuality);
}

bool CHTMLGridModel::ReadFloaterText(WORD col, WORD row, DWORD id, CHTMLParser& text) {
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDM_FLOATER_TEXT);
    view.dwData = id;
    AskOwner(GRIDM_FLOATER_TEXT, view);
    text.SetFontQuality(m_FontQuality);
    text.SetBitmapScaling(m_dwBitmapScaling);
    return text.SetHTML(view.pszText) && text.ParseHTML(m_hWnd) != 0;
}

// --- Images -------------------------------------------------------------------------------------------------------

HBITMAP CHTMLGridModel::AddBitmapToCache(LPCWSTR pszName, int length, bool bSwatch) {
    const std::u16string_view name(pszName, static_cast<std::size_t>(length));
    return bSwatch ? m_Images.Swatch(name, ParseImageSource(name, MAX_PATH).number)
                   : m_Images.BitmapFile(name);
}

void CHTMLGridModel::ClearBitmapCache() {
    m_Cells.ForEach([](tagCELLINFO& cell) { cell.ForgetImages(); });
    m_Floaters.ForEach([](tagFLOATERINFO& floater) { floater.Text.ForgetImages(); });
    m_Images.Clear();
}

HBITMAP CHTMLGridModel::BitmapOfFile(LPCWSTR pszPath) { return SHLoadImageFile(pszPath); }

HBITMAP CHTMLGridModel::BitmapOfResource(HINSTANCE hInstance, WORD wId) {
    return LoadBitmapW(hInstance, MAKEINTRESOURCEW(wId));
}

// Icon on the colour that is left out.
HBITMAP CHTMLGridModel::BitmapOfIcon(HINSTANCE hInstance, WORD wId) {
    const HICON icon = LoadIconW(hInstance, MAKEINTRESOURCEW(wId));
    if (!icon) return nullptr;
    const int side = static_cast<int>(g_HIDPI_IconPixels);
    const HDC hdc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateCompatibleBitmap(hdc, side, side);
    const HGDIOBJ former = bitmap ? SelectObject(hdc, bitmap) : nullptr;
    const HBRUSH key = CreateSolidBrush(HTML_IMAGE_KEY);
    DrawIconEx(hdc, 0, 0, icon, side, side, 0, key, DI_NORMAL);
    if (former) SelectObject(hdc, former);
    DeleteObject(key);
    DeleteDC(hdc);
    DestroyIcon(icon);
    return bitmap;
}

HBITMAP CHTMLGridModel::BitmapOfSwatch(DWORD number) {
    const LRESULT answer = ::SendMessageW(Owner(), GRIDM_SWATCH, reinterpret_cast<WPARAM>(m_hWnd),
                                          static_cast<LPARAM>(ULONG_PTR{number}));
    return reinterpret_cast<HBITMAP>(answer);
}
