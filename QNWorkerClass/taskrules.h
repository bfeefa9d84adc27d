// Which tasks a view shows by its filter rule. The numbers are the commands of the applications' filter menus.
#pragma once

#include "Platform/types.h"

enum TaskRule : LONG {
    kTasksAll = 42250,
    kTasksDue = 42251,     // due today or overdue, starting today, undated
    kTasksOverdue = 42252, // before today
    kTasksUndated = 42253,
    kTasksActive = 42255,      // as kTasksDue, and those that have begun
    kTasksDueTomorrow = 42256, // as kTasksDue, with tomorrow
    kTasksCompleted = 42258,
    kTasksNextDays = 42259, // TV_DaysFuture
    kTasksOnDate = 42260,   // of the date of SetDateOn
    kTasksMaster = 42261,   // undated ones, beside a list of a date
    kTasksOfGoal = 42262,   // by parent: the tasks of a project of the planner
    kTasksUnfiled = 42263,
    kTasksOfProject = 42264,
    kTasksOfContext = 42265,
    kTasksStarred = 42266,
    kTasksNextAction = 42267,
};

// Rules that show one day's list: parents and children don't stand together there.
constexpr bool IsOnDateRule(LONG rule) { return rule == kTasksOnDate || rule == kTasksMaster; }
constexpr bool IsProjectRule(LONG rule) { return rule == kTasksOfGoal || rule == kTasksOfProject; }

// Whole days; kNoDay for none.
struct TaskDays {
    LONG due;
    LONG start;
    LONG completed;
    bool isCompleted;
};

// `parameter` is the number of days (kTasksNextDays) or the date (kTasksOnDate). True under the rules that don't go by
// dates, and under a number that is no rule.
bool ShowsByDate(LONG rule, const TaskDays& days, LONG today, LONG parameter);
