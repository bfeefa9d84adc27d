// Where cells lie.
#include "QNGridCtrl/HTMLGridModel.h"

#include <algorithm>

namespace {

// Along one axis: fixed cells at the edge, the others moved by `scroll`, which is measured from the first one.
int ToClient(const HTMLGridAxis& axis, int index, int fixedCount, int scroll) {
    const int before = axis.Before(index);
    return index < fixedCount ? before : before - scroll + axis.Before(fixedCount);
}

int FromClient(const HTMLGridAxis& axis, int pixel, int fixedCount, int scroll) {
    const int fixed = axis.Before(fixedCount), along = pixel - fixed + scroll;
    if (pixel < fixed) return axis.At(pixel);
    return along < fixed ? -1 : axis.At(along); // beyond the top there is nothing, no fixed ones either
}

WORD NumberOf(int index, const HTMLGridAxis& axis) {
    return index >= 0 && index < axis.Count() ? static_cast<WORD>(index) : GRID_NONE;
}

} // namespace

WORD CHTMLGridModel::PixelToRow(int pixel) const {
    return NumberOf(pixel < 0 ? -1 : m_Rows.At(pixel), m_Rows);
}
WORD CHTMLGridModel::PixelToColumn(int pixel) const {
    return NumberOf(pixel < 0 ? -1 : m_Cols.At(pixel), m_Cols);
}

bool CHTMLGridModel::GetCellRect(WORD col, WORD row, RECT& rect) const {
    if (col >= GetColCount() || row >= GetRowCount()) return false;
    rect.left = ToClient(m_Cols, col, m_wFixedCols, m_nLeftPixel);
    rect.top = ToClient(m_Rows, row, m_wFixedRows, m_nTopPixel + m_nOverscroll);
    rect.right = rect.left + m_Cols.Size(col);
    rect.bottom = rect.top + m_Rows.Size(row);
    return true;
}

bool CHTMLGridModel::GetCellFromPoint(POINT point, WORD& col, WORD& row) const {
    col = row = GRID_NONE;
    if (point.x < 0 || point.y < 0) return false;
    const WORD foundCol = NumberOf(FromClient(m_Cols, point.x, m_wFixedCols, m_nLeftPixel), m_Cols);
    const WORD foundRow =
        NumberOf(FromClient(m_Rows, point.y, m_wFixedRows, m_nTopPixel + m_nOverscroll), m_Rows);
    if (foundCol == GRID_NONE || foundRow == GRID_NONE) return false;
    col = foundCol;
    row = foundRow;
    return true;
}

bool CHTMLGridModel::GetCellFromPoint(POINT point, WORD& col, WORD& row, RECT& rect) const {
    return GetCellFromPoint(point, col, row) && GetCellRect(col, row, rect);
}

bool CHTMLGridModel::GetPointFromCell(WORD col, WORD row, POINT& point) const {
    RECT rect;
    if (!GetCellRect(col, row, rect)) return false;
    point = {rect.left, rect.top};
    return true;
}

// --- The view -----------------------------------------------------------------------------------------------------

WORD CHTMLGridModel::GetBottomRow() const {
    if (m_Rows.Count() == 0) return GRID_NONE;
    return static_cast<WORD>(std::min(m_Rows.At(GetBottomPixel() - 1), m_Rows.Count() - 1));
}

bool CHTMLGridModel::IsCellVisible(WORD col, WORD row) const {
    RECT rect;
    if (!GetCellRect(col, row, rect)) return false;
    const int left = col < m_wFixedCols ? 0 : GetFixedColsWidth(),
              top = row < m_wFixedRows ? 0 : GetFixedRowsHeight();
    return rect.right > left && rect.bottom > top && rect.left < m_nClientWidth && rect.top < m_nClientHeight;
}
