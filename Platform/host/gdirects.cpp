// Arithmetic of rectangles.
#include "Platform/gdi.h"

#include <algorithm>

BOOL IsRectEmpty(const RECT* rect) { return rect->left >= rect->right || rect->top >= rect->bottom; }

BOOL SetRect(RECT* rect, int left, int top, int right, int bottom) {
    *rect = {left, top, right, bottom};
    return TRUE;
}

BOOL SetRectEmpty(RECT* rect) { return SetRect(rect, 0, 0, 0, 0); }

BOOL InflateRect(RECT* rect, int x, int y) {
    return SetRect(rect, rect->left - x, rect->top - y, rect->right + x, rect->bottom + y);
}

BOOL OffsetRect(RECT* rect, int x, int y) {
    return SetRect(rect, rect->left + x, rect->top + y, rect->right + x, rect->bottom + y);
}

BOOL IntersectRect(RECT* result, const RECT* a, const RECT* b) {
    const RECT common{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                      std::min(a->bottom, b->bottom)};
    if (IsRectEmpty(a) || IsRectEmpty(b) || IsRectEmpty(&common)) return SetRectEmpty(result), FALSE;
    *result = common;
    return TRUE;
}

BOOL UnionRect(RECT* result, const RECT* a, const RECT* b) {
    if (IsRectEmpty(a) && IsRectEmpty(b)) return SetRectEmpty(result), FALSE;
    if (IsRectEmpty(a))
        *result = *b;
    else if (IsRectEmpty(b))
        *result = *a;
    else
        *result = {std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
                   std::max(a->bottom, b->bottom)};
    return TRUE;
}

BOOL EqualRect(const RECT* a, const RECT* b) {
    return a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}

BOOL PtInRect(const RECT* rect, POINT point) {
    return point.x >= rect->left && point.x < rect->right && point.y >= rect->top && point.y < rect->bottom;
}
