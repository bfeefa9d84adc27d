// Lines over the whole client width, drawn by column 0.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"

namespace {

int Indent() { return ScalePx(g_HIDPI_LogPixelsX, 5); }

int ClientWidth(const tagDRAWITEMSTRUCT& item) {
    RECT client{};
    item.pGrid->GetClientRect(&client);
    return client.right;
}

// Where the hot spots of a cell are counted from, in the client area.
LONG OriginOf(const tagDRAWITEMSTRUCT& item, WORD col, const tagCELLINFO& cell) {
    RECT rect{};
    item.pGrid->GetCellRect(col, HIWORD(item.itemID), rect);
    return rect.left + cell.rcMargins.left;
}

} // namespace

int GlobalFullLineOwnerDrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell) {
    const WORD col = LOWORD(item.itemID), row = HIWORD(item.itemID);
    if (col != 0) {
        const tagCELLINFO* line = item.pGrid->FindCell(0, row);
        cell.HotSpots.clear();
        if (!line) return GRID_DRAW_NOTHING;
        const LONG shift = OriginOf(item, 0, *line) - OriginOf(item, col, cell);
        item.pGrid->CopyCellHotSpots(cell.HotSpots, row, 0, shift);
        return GRID_DRAW_NOTHING;
    }
    RECT line = {0, item.rcItem.top, ClientWidth(item), item.rcItem.bottom};
    const HBRUSH ground = CreateSolidBrush(item.itemState == GRID_ITEM_SELECTED ? GetSysColor(COLOR_HIGHLIGHT)
                                                                                : cell.GetBackColor(true));
    FillRect(item.hDC, &line, ground);
    DeleteObject(ground);
    line.left = Indent();
    line.top += cell.rcMargins.top;
    DrawHTML(item.hDC, line, cell.wWrapIndent, cell, &cell.HotSpots, item.itemState, HTML_NO_COLOR,
             cell.bSingleLine != 0);
    const LONG shift = Indent() - OriginOf(item, 0, cell);
    for (tagHOTSPOT& spot : cell.HotSpots) OffsetRect(&spot.rect, shift, 0);
    return GRID_DRAW_NOTHING;
}

int GlobalFullLineOwnerGetIdealRect(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell) {
    item.rcItem = {Indent(), 0, LOWORD(item.itemID) == 0 ? ClientWidth(item) : Indent(), 0};
    if (LOWORD(item.itemID) == 0)
        DrawHTML(item.hDC, item.rcItem, cell.wWrapIndent, cell, nullptr, HTML_MEASURE, HTML_NO_COLOR,
                 cell.bSingleLine != 0);
    return 1;
}
