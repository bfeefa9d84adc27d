// Composing mail. The default provider opens the desktop's mail program; a host or a test may put another in its place.
//
// The message stores of the device ("CEMAPI.dll") are not there: LoadLibraryW does not find the library, unless a host
// registers a module of that name (Platform/modules.h).
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// Any text may be null.
struct MAILCOMPOSEFIELDS {
    DWORD cbSize;
    DWORD dwFlags;
    LPCWSTR pszAccount; // a transport: "SMS" for text messages, null for mail
    LPCWSTR pszTo;
    LPCWSTR pszCc;
    LPCWSTR pszBcc;
    LPCWSTR pszSubject;
    LPCWSTR pszBody;
    DWORD cAttachments;
    LPCWSTR pszAttachments; // device paths, one behind the other, each with its terminator
};

// Shows a new message for the user to finish; doesn't wait for it. 0, or a negative result: E_INVALIDARG, E_FAIL (no
// mail program, or a transport that this host lacks).
HRESULT MailComposeMessage(const MAILCOMPOSEFIELDS* fields);

// Called on the thread of MailComposeMessage; must not block.
using PlatMailProvider = HRESULT (*)(void* user, const MAILCOMPOSEFIELDS& fields);
// Null puts the default back.
void PlatSetMailProvider(PlatMailProvider provider, void* user);

#pragma GCC visibility pop
