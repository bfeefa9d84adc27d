// The telephone. No host has one by itself: without a provider a call is answered as by a device without a phone.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// The size a caller puts into cbSize, whatever the width of a pointer is here.
inline constexpr DWORD kPhoneMakeCallSize = 24;

struct PHONEMAKECALLINFO {
    DWORD cbSize; // kPhoneMakeCallSize
    DWORD dwFlags;
    LPCWSTR pszDestAddress; // the number
    LPCWSTR pszAppName;
    LPCWSTR pszCalledParty; // the name shown
    LPCWSTR pszComment;
};

// 0 when the call was handed on; E_INVALIDARG for a wrong size or no number, E_NOINTERFACE without a phone.
LONG PhoneMakeCall(const PHONEMAKECALLINFO* info);

// Called on the thread of PhoneMakeCall; must not block. Null puts the absent phone back.
using PlatPhoneProvider = LONG (*)(void* user, const PHONEMAKECALLINFO& info);
void PlatSetPhoneProvider(PlatPhoneProvider provider, void* user);

#pragma GCC visibility pop
