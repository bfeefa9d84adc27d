// The colours, the font and the task styles of calendar pages, as the settings tell.
#pragma once

#include "Platform/types.h"

enum CalendarColor {
    kColorJournal,
    kColorPast,
    kColorToday,
    kColorNoWork, // outside of the working hours
    kColorBack,
    kColorWork,
    kColorText,
    kColorTaskBack, // tasks: ground and text of each look
    kColorTaskText,
    kColorOverdueBack,
    kColorOverdueText,
    kColorCompletedBack,
    kColorCompletedText,
    kColorDueTodayBack,
    kColorDueTodayText,
    kColorUndatedBack,
    kColorUndatedText,
    kColorHighBack,
    kColorHighText,
    kColorLowBack,
    kColorLowText,
    kCalendarColors
};

// What decides the colours of a task; all but the first can be switched off.
enum TaskLook {
    kTaskPlain,
    kTaskOverdue,
    kTaskCompleted,
    kTaskDueToday,
    kTaskUndated,
    kTaskHigh,
    kTaskLow,
    kTaskLooks
};

struct HTMLColor {
    WCHAR szText[8]; // "#RRGGBB"
    COLORREF cr;
};

class QN_API CalendarColors {
public:
    void Read(); // afresh
    // Which defaults count from the next Read on: of the light scheme or of the dark one.
    static void SetDark(bool bDark);

    const WCHAR* Text(CalendarColor color) const { return m_colors[color].szText; }
    COLORREF Value(CalendarColor color) const { return m_colors[color].cr; }
    // By the busy status of an item; a number that is none shows as busy, one below 0 as free.
    const HTMLColor& OfStatus(LONG busyStatus) const;

    const WCHAR* Font() const { return m_szFont; } // without quotes
    DWORD HeaderStyle() const { return m_dwHeaderStyle; }

    bool Uses(TaskLook look) const { return m_looks[look].bUsed; }
    static CalendarColor BackOf(TaskLook look);
    static CalendarColor TextOf(TaskLook look);
    const WCHAR* StyleOf(TaskLook look) const { return m_looks[look].szStyle; } // tags such as "<B>"

private:
    static constexpr int kStyleChars = 40;
    static constexpr int kFaceChars = 32;
    static constexpr int kStatuses = 4;
    struct Look {
        bool bUsed;
        WCHAR szStyle[kStyleChars];
    };

    void ReadColors();
    void ReadStatusColors();
    void ReadLooks();
    void ReadFont();

    HTMLColor m_colors[kCalendarColors] = {};
    HTMLColor m_statuses[kStatuses] = {};
    Look m_looks[kTaskLooks] = {};
    WCHAR m_szFont[kFaceChars] = {};
    DWORD m_dwHeaderStyle = 0;
};
