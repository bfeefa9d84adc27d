// The one door for tests: product code never includes this header.
//
// Everything here acts on the whole process; PlatResetForTests puts all of it back.
#pragma once

#include "Platform/types.h"

#include <functional>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

// --- Device folder and restart ------------------------------------------------------------------------------------

// Puts the device into this host folder (UTF-8). Closes what the host keeps open of the former one.
void PlatSetDeviceFolder(const std::string& hostFolder);
// Forgets all scripted answers, records, faults, clock, zone and locale set here.
void PlatResetForTests();

// --- Clock, zone, locale ------------------------------------------------------------------------------------------

// From now on GetSystemTime, GetLocalTime and GetTickCount stand at this UTC time; null gives the real clock back.
void PlatSetClock(const SYSTEMTIME* utc);
// Moves the set clock on, and due timers with it.
void PlatAdvanceClock(DWORD milliseconds);
// While the clock is set, Sleep takes no time and moves it on instead: what lasts seconds on the device is over at once.
void PlatLetSleepMoveClock(bool on);
// The device's zone; null gives the system's back.
void PlatSetTimeZone(const TIME_ZONE_INFORMATION* zone);
// By IANA name ("Europe/Berlin"), with the rules of the year of the clock; false for an unknown name.
bool PlatSetTimeZoneByName(const std::string& name);
// An ICU locale id ("de_DE"); empty gives the environment's back.
void PlatSetLocale(const std::string& locale);

// --- Answers and records ------------------------------------------------------------------------------------------

struct PlatMessageBoxRecord {
    HWND owner;
    std::u16string text;
    std::u16string caption;
    DWORD flags;
};
// Answers of the next message boxes, in order; without one IDOK or IDYES is given.
void PlatAnswerMessageBox(int answer);
std::vector<PlatMessageBoxRecord> PlatTakeMessageBoxes();

struct PlatMenuRowRecord {
    int depth; // 0 in the menu itself, 1 in its sub-menus ...
    UINT flags;
    UINT id;
    std::u16string text;
};
struct PlatMenuRecord {
    HWND owner;
    std::vector<PlatMenuRowRecord> rows; // sub-menus behind the row that opens them
};
// The ids chosen in the next menus that are shown, in order; without one, or for an id that can't be chosen there, none.
void PlatAnswerMenu(UINT id);
std::vector<PlatMenuRecord> PlatTakeMenus();

struct PlatProgramRecord {
    std::u16string file;
    std::u16string arguments;
};
// While set, programs are recorded and not started; the result of the call is `error == 0`.
void PlatRecordPrograms(bool record, DWORD error = 0);
std::vector<PlatProgramRecord> PlatTakePrograms();

// The lines given to OutputDebugStringW since the last call.
std::vector<std::u16string> PlatTakeDebugOutput();

// --- Text ---------------------------------------------------------------------------------------------------------

// From now on text measures and paints without fonts: every unit is 6 pixels wide, a font as high as it was asked for, a
// fifth of it below the base line, a character a bar.
void PlatUseFixedWidthText(bool on);

// --- Faults -------------------------------------------------------------------------------------------------------

enum class PlatFault {
    FileOpen,      // error 5
    FileWrite,     // error 112, nothing written
    FileSync,      // error 29
    FileRename,    // error 5
    StoreWrite,    // a record write: error 112
    StoreCommit,   // a commit: error 112
    StoreLocked,   // the volume is locked by another: error 32
    RegistryWrite, // error 112
    ThreadCreate,  // error 8
    EventCreate,   // error 8
    Allocate,      // LocalAlloc, HeapAlloc and SysAllocString give null, error 8
    Gradient,      // GradientFill: error 50, nothing painted
};
// The nth call (1 the next) of that kind fails, and all behind it when `always`; n 0 takes the fault out.
void PlatInjectFault(PlatFault fault, unsigned nth, bool always = false);
// How often the operation was reached since the fault was injected: the loop "fail at the first, second, third ..."
// ends when this stays below n.
unsigned PlatFaultCount(PlatFault fault);

#pragma GCC visibility pop
