// One walk over the tokens of a text: the pen, the line it stands on, and the right-hand column.
#pragma once

#include "QNGridCtrl/DrawHTML.h"
#include "QNGridCtrl/HTMLCanvas.h"

#include <array>

// One piece of text on a line.
struct HTMLRun {
    int placed = 0;     // characters of it that stand on the line
    bool whole = false; // all of them do
    SIZE size{};        // of what stands there
};

// What is to be measured from the cursor on: one line, or all lines of a column.
struct HTMLLineMeasure {
    int width = 0; // the limit; 0 is the widest there is
    int skip = 0;  // characters of the first token that stand on former lines
    bool ignoreAlign = false;
    bool allLines = false;
};

class QN_API HTMLLayout {
public:
    HTMLLayout(HTMLCanvas& canvas, CHTMLParser& parser, RECT& rect, int wrapIndent, HTMLHotSpots* hotSpots,
               DWORD flags, COLORREF selectionTextColor, bool noWrap);

    void Run();

private:
    // --- The walk (HTMLLayout.cpp)
    void Place(const HTMLTOKEN& token);
    void End();
    void Text(const HTMLTOKEN& token);
    void BeginText(const HTMLTOKEN& token);
    void EndText();
    void Image(const HTMLTOKEN& token);
    void PaintImage(const HTMLTOKEN& token, const SIZE& size);
    void Break();
    void Tab();
    void OpenColumn();
    void CloseColumn();
    void NextToken();

    // --- Lines (HTMLLayout.cpp)
    RECT Box() const;
    int LineLimit() const;
    int LeftEdge(UINT align, int width, bool indent) const;
    void StartLine(UINT align, const SIZE& size, bool indent);
    void StartTop();
    void Wrap(const HTMLRun& run, UINT align);
    void AlignTo(UINT align, bool indent);
    void CloseLine();
    void MovePen(int width);
    void CountPen();
    bool HasNoRoom(int start, int pen, int right) const {
        return !m_noWrap && pen > start && right - pen < 1;
    }
    void AddHotSpot(const WCHAR* text, int width);
    bool Selected() const { return (m_flags & HTML_SELECTED) != 0; }
    bool Painting() const { return (m_flags & HTML_MEASURE) == 0; }

    // --- Measuring (HTMLMeasure.cpp)
    HTMLRun PlaceRun(const WCHAR* text, int length, const RECT& rect);
    HTMLRun MeasureRun(const WCHAR* text, int length, int width);
    const HTMLRun* KnownRun(const WCHAR* text, int length, int width);
    HTMLRun AskRun(const WCHAR* text, int length, int width);
    SIZE MeasureLine(const HTMLLineMeasure& measure);
    SIZE ImageSize(int limit, bool squeeze, int top) const;
    int Descent();
    void Select(HFONT font);
    void UseFont();

    friend class HTMLLineWalk;

    HTMLCanvas& m_canvas;
    CHTMLParser& m_parser;
    RECT& m_rect; // its left moves while a column is open
    const RECT m_start;
    const int m_indent;
    HTMLHotSpots* const m_hotSpots;
    const DWORD m_flags;
    const COLORREF m_selectionColor;
    const bool m_noWrap;

    int m_pen = 0;
    int m_lineStart = 0; // where the pen stood when the line began
    int m_top = 0;
    int m_lineHeight = 0;
    UINT m_align = 0;
    int m_height = 0;    // from the top of the rectangle to the bottom of the lines that are closed
    int m_rightmost = 0; // the end of the widest line, from the left of the rectangle

    const WCHAR* m_text = nullptr; // what is left of the token; null: it has not been begun
    int m_left = 0;
    int m_done = 0;               // characters of it on former lines
    bool m_placedNothing = false; // the last try to place text had no room for a character
    bool m_ground = false;        // text is painted on a ground of its own

    bool m_inColumn = false;
    bool m_haveColumn = false;
    int m_columnBottom = 0;
    int m_columnLeft = 0;
    RECT m_whole{}; // the rectangle without the column in it

    HFONT m_firstFont = nullptr; // the one that was selected before
    HFONT m_selected = nullptr;  // the one selected now, null: that one
    HFONT m_font = nullptr;      // the one to measure and paint with

    // A line is measured before it is laid out, which asks the same in the same order: the first answers are kept.
    struct Answer {
        const WCHAR* text = nullptr;
        HFONT font = nullptr;
        int length = 0;
        int width = 0;
        HTMLRun run;
    };
    static constexpr unsigned kAnswers = 8;
    static constexpr unsigned kMeasuring = ~0U;
    std::array<Answer, kAnswers> m_answers;
    unsigned m_answered = 0;
    unsigned m_expected = 0; // the answer that is wanted next, or kMeasuring

    long long m_work; // tokens that measuring may still look at
};
