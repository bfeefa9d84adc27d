// The layout of mark-up on a context.
#include "QNGridCtrl/DrawHTML.h"

#include "QNGridCtrl/ContextCanvas.h"
#include "QNGridCtrl/HTMLLayout.h"

void DrawHTML(HDC hdc, RECT& rect, WORD wrapIndent, CHTMLParser& parser, HTMLHotSpots* hotSpots, DWORD flags,
              COLORREF selectionTextColor, bool bNoWrap) {
    ContextCanvas canvas(hdc);
    HTMLLayout(canvas, parser, rect, wrapIndent, hotSpots, flags, selectionTextColor, bNoWrap).Run();
}
