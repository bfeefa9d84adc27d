// User notifications: reminders that wait on disk until their time and survive restarts.
//
// The queue is one for all processes of a device folder. Each notification is delivered once, by the pump of whichever
// process comes first: one with a dialog goes to the desktop's notifications, one without a user block starts its
// application (by Platform/process.h). What came due while nothing ran is delivered at the next start of a pump.
// Any thread may call anything here. Handles are numbers below 2^31 that stay the same across restarts; they are
// not handles of CloseHandle.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr DWORD CNT_EVENT = 1;  // kept, but no event of that kind happens here
inline constexpr DWORD CNT_TIME = 2;   // at stStartTime
inline constexpr DWORD CNT_PERIOD = 3; // from stStartTime
inline constexpr DWORD PUN_DIALOG = 4;

// The size a caller puts into dwSize, whatever the width of a pointer is here.
inline constexpr DWORD kNotificationTriggerSize = 52;

struct CE_NOTIFICATION_TRIGGER {
    DWORD dwSize; // kNotificationTriggerSize
    DWORD dwType;
    DWORD dwEvent;
    LPCWSTR lpszApplication;
    LPCWSTR lpszArguments;
    SYSTEMTIME stStartTime; // local time
    SYSTEMTIME stEndTime;
};
struct CE_USER_NOTIFICATION {
    DWORD ActionFlags;
    LPCWSTR pwszDialogTitle;
    LPCWSTR pwszDialogText;
    LPCWSTR pwszSound;
    DWORD nMaxSound;
    DWORD dwReserved;
};
struct CE_NOTIFICATION_INFO_HEADER {
    HANDLE hNotification;
    DWORD dwStatus; // 0 waiting
    CE_NOTIFICATION_TRIGGER* pcent;
    CE_USER_NOTIFICATION* pceun; // null without a user block
};

// Puts a notification into the queue, or changes the one behind `notification` when that is not null. A date in the
// past is allowed. Returns the handle; null on failure: 87 (wrong size, impossible date), 6 (nothing to change), 112.
HANDLE CeSetUserNotificationEx(HANDLE notification, const CE_NOTIFICATION_TRIGGER* trigger,
                               const CE_USER_NOTIFICATION* user);
// FALSE, error 6: it isn't there (any more).
BOOL CeClearUserNotification(HANDLE notification);
// Fills the handles in the order they were made. *needed is their number; FALSE, error 122 when `count` is below it and
// `handles` is not null.
BOOL CeGetUserNotificationHandles(HANDLE* handles, DWORD count, DWORD* needed);
// Fills `buffer` with a CE_NOTIFICATION_INFO_HEADER and all it points to. FALSE: 122 with *needed, 6.
BOOL CeGetUserNotification(HANDLE notification, DWORD size, DWORD* needed, BYTE* buffer);

// Delivers what is due at that local time; returns how many were delivered.
DWORD PlatRunDueNotifications(const SYSTEMTIME& now);
// The pump: a thread that delivers at the time. Starting or stopping it twice does nothing; the stop waits for it.
void PlatStartNotificationPump();
void PlatStopNotificationPump();

// Host side: whoever shows reminders in place of the desktop. Called on the thread that delivers: it must not block nor
// use notifications. Null puts the desktop back.
using PlatReminderProvider = void (*)(void* user, LPCWSTR title, LPCWSTR text);
void PlatSetReminderProvider(PlatReminderProvider provider, void* user);

#pragma GCC visibility pop
