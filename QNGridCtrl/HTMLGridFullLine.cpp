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

} // namespace

int GlobalFullLineOwnerDrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell) {
    const WORD col = LOWORD(item.itemID), row = HIWORD(item.itemID);
    if (col != 0) {
        cell.HotSpots.clear();
        item.pGrid->CopyCellHotSpots(cell.HotSpots, row, 0, Indent() - item.rcItem.left);
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
    return GRID_DRAW_NOTHING;
}

int GlobalFullLineOwnerGetIdealRect(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell) {
    item.rcItem = {Indent(), 0, LOWORD(item.itemID) == 0 ? ClientWidth(item) : Indent(), 0};
    if (LOWORD(item.itemID) == 0)
        DrawHTML(item.hDC, item.rcItem, cell.wWrapIndent, cell, nullptr, HTML_MEASURE, HTML_NO_COLOR,
                 cell.bSingleLine != 0);
    return 1;
}
