// The lock of the device: asking whoever holds it for the password before something private is shown.
// Without a provider there is no password, as on a device whose owner set none: every check passes at once.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// 0 when the user may go on.
HRESULT SHDeviceLockAndPrompt();
// TRUE when the user is who he should be. A null prompt is the system's own.
BOOL VerifyUser(const GUID* context, LPCWSTR prompt, HWND owner, DWORD mode, void* extra);

// Both questions come here, on the caller's thread. Null puts the default back.
using PlatLockProvider = bool (*)(void* user, HWND owner, LPCWSTR prompt);
void PlatSetLockProvider(PlatLockProvider provider, void* user);

#pragma GCC visibility pop
