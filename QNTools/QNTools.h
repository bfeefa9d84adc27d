// The library's frame: what every application calls first and last.
//
// All of it belongs to the application's main thread; no worker thread may run across either call. The library is up or
// down, nothing between: a second InitQNTools does nothing, and the first UnInitQNTools takes the library down however
// many applications brought it up. Bringing it up again works.
#pragma once

#include "NorvoTools/errors.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/hidpi.h"
#include "Platform/types.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/categories.h"

extern QN_API BYTE g_bInitialised; // the library is up
extern QN_API DWORD g_nInitCount;  // 0 or 1: only raised on the way up

extern "C" {
// Brings the library up: suite directory, categories, screen metrics, resources, session, colours. A given session is
// the library's from then on. No failure stops it: without resources texts are empty, an unreadable setting keeps its
// default.
QN_API void InitQNTools(COutlook* pOutlook, bool bInitCOM);
// Takes it down: session, resources, bold font, suite directory. Called at process detach by itself.
QN_API void UnInitQNTools();

QN_API DWORD GetLeftDefine();
QN_API HINSTANCE CeGetAppInstance(); // the application's, not the library's
QN_API HWND CeGetAppWindow();        // the top of the active window's parents
}
