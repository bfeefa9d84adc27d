// How failures reach the user and the log. Any thread may call these; a message box waits for its answer.
#pragma once

#include "Platform/types.h"

// Error icon, always on top: what every message box of a failure carries.
inline constexpr UINT kErrorBoxFlags = 0x40010;

// Shows a message box from a string number; the object only keeps the answer.
class QN_API CShowError {
public:
    // Without resources nothing is shown and m_nResult stays 0.
    CShowError(WORD stringId, HINSTANCE resources, UINT flags);

    int m_nResult = 0;
};

// A message box from a format (%s takes UTF-16), of at most 1,023 characters.
QN_API void ShowError(const WCHAR* format, ...);
// The system's text of the last error: a message box, then a line in the log. A code without text shows nothing.
QN_API void ShowError();

extern "C" {
// Appends "<tick count>: <text>" to \QN8_ERROR_LOG.txt and to the debug output. A line has at most 1,023 characters.
QN_API void CeTraceLog(const WCHAR* format, ...);

// The trace: lines about single operations, for whoever looks into a fault. They go to the hook, which starts out
// empty, and never to the log. The hook may be called on any thread.
using CeTraceHook = void (*)(const WCHAR* line);
QN_API CeTraceHook CeSetTraceHook(CeTraceHook hook); // null takes it out; gives the former one
QN_API void CeTrace(const WCHAR* format, ...);
}
