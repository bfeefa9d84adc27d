// Painting of floaters. Each stands clear of the cells' lines by a pixel on every side: left a marker bar with a coloured
// part, right of it the body with the text.
#include "QNGridCtrl/HTMLGridScreen.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "QNGridCtrl/gradients.h"

namespace {

constexpr int kBodyShade = 16;
constexpr int kSteps = 32;

void Paint(HDC hdc, const RECT& rect, COLORREF color) {
    PaintRect(hdc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, color);
}

void Frame(HDC hdc, const RECT& rect, COLORREF color) {
    Paint(hdc, {rect.left, rect.top, rect.right, rect.top + 1}, color);
    Paint(hdc, {rect.left, rect.bottom - 1, rect.right, rect.bottom}, color);
    Paint(hdc, {rect.left, rect.top, rect.left + 1, rect.bottom}, color);
    Paint(hdc, {rect.right - 1, rect.top, rect.right, rect.bottom}, color);
}

void Shade(HDC hdc, const RECT& rect, COLORREF color, int delta) {
    int r, g, b;
    GradientFillRectEx(hdc, rect, SetGradientColor(color, r, g, b, delta), color, kSteps, true);
}

} // namespace

// Whether none of the floater's rows above this one, from `first` on, is painted now.
bool CHTMLGridScreen::IsFirstUpdated(WORD col, WORD row, WORD first) const {
    while (row > first)
        if (m_Rows.Size(--row) > 0) return !IsCellUpdated(col, row);
    return true;
}

// A floater is painted as a whole from the first of its rows that is painted.
void CHTMLGridScreen::OnCellFloatersDraw(HDC hdc, WORD row, WORD col, const RECT& rect) {
    tagCELLINFO* cell = m_Cells.Find(col, row);
    if (!cell || cell->Floaters.empty()) return;
    if (!cell->bFloatersValid) m_Floaters.Validate(row, col);
    const int width = rect.right - rect.left;
    for (const auto& [id, floater] : cell->Floaters) {
        const WORD first = m_Floaters.FirstRow(col, id);
        if (floater->nSlots == 0 || !IsFirstUpdated(col, row, first)) continue;
        const int top = rect.top - (m_Rows.Before(row) - m_Rows.Before(first));
        const int height = m_Rows.Before(first + floater->wRowSpan) - m_Rows.Before(first);
        const int left = rect.left + width * floater->nFirstSlot / floater->nSlots;
        DrawFloater(hdc, *floater,
                    {left, top, left + width * floater->nSlotSpan / floater->nSlots, top + height});
    }
}

// `slot` is all that it covers. Round the floater goes a pixel of the cells, below it one of the ground's colour, which
// horizontal lines move up.
void CHTMLGridScreen::DrawFloater(HDC hdc, tagFLOATERINFO& floater, const RECT& slot) {
    RECT whole = {slot.left + 1, slot.top + 1, slot.right - 1, slot.bottom - (m_bShowHLines ? 2 : 1)};
    if (IsRectEmpty(&whole)) return;
    const COLORREF ground = floater.pCell->GetBackColor(true);
    Paint(hdc, {whole.left, whole.bottom - 1, whole.right, whole.bottom}, ground);
    --whole.bottom;
    const int width = slot.right - slot.left, bar = m_bFloaterBarOn ? m_wFloaterBarWidth : 0;
    if (bar > 0 && width > bar + ScalePx(g_HIDPI_LogPixelsX, 2))
        DrawFloaterBar(hdc, floater, slot, {whole.left, whole.top, slot.left + bar, whole.bottom});
    if (bar > 0 && width <= bar) return;
    RECT body = whole;
    if (bar > 0) body.left = slot.left + bar;
    if (!IsRectEmpty(&body)) DrawFloaterBody(hdc, floater, body);
}

void CHTMLGridScreen::DrawFloaterBar(HDC hdc, const tagFLOATERINFO& floater, const RECT& slot,
                                     const RECT& bar) const {
    Paint(hdc, bar, floater.pCell->GetBackColor(true));
    const int height = slot.bottom - slot.top;
    const int top = slot.top + static_cast<int>(floater.wBarTopPercent * 0.01 * height);
    const int length = static_cast<int>(floater.wBarPercent * 0.01 * height);
    const RECT part = {bar.left, top, bar.right, top + length};
    RECT marked;
    if (IntersectRect(&marked, &part, &bar)) Shade(hdc, marked, floater.crBar, 0);
}

// The selected one keeps its text, in the colours of the selection: who drags an appointment wants to see which.
void CHTMLGridScreen::DrawFloaterBody(HDC hdc, tagFLOATERINFO& floater, const RECT& body) {
    const bool current = &floater == m_pCurFloater;
    const COLORREF color = floater.Text.GetBackColor(true);
    if (current || !m_bFloaterTextOn)
        FillRect(hdc, &body, m_hSelBrush);
    else if (s_bGradient)
        Shade(hdc, body, color, kBodyShade);
    else
        Paint(hdc, body, color);
    Frame(hdc, body, m_crLines);

    RECT text = body;
    InflateRect(&text, -2, floater.wRowSpan == 1 ? 0 : -2);
    if (!m_bFloaterTextOn) {
        if (current) DrawFocusRect(hdc, &text);
        return;
    }
    IntersectClipRect(hdc, text.left, text.top, text.right, text.bottom);
    DrawHTML(hdc, text, 0, floater.Text, &floater.HotSpots, current ? HTML_SELECTED : 0,
             current ? m_crSelText : HTML_NO_COLOR, false);
    ClipToPane(hdc);
}
