// The telephone. No host has one by itself: without a provider a call is answered as by a device without a phone.
//
// Callers find the operations by name in "phone.dll" and "sms.dll", which LoadLibraryW does not find on such a device. A
// host that has a phone registers modules of these names (Platform/modules.h), with PhoneMakeCall as the entry of that name
// and as many of the others as it has; a caller does without those that are missing.
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

using PhoneMakeCallProc = LONG (*)(const PHONEMAKECALLINFO* info);

// Called on the thread of PhoneMakeCall; must not block. Null puts the absent phone back.
using PlatPhoneProvider = LONG (*)(void* user, const PHONEMAKECALLINFO& info);
void PlatSetPhoneProvider(PlatPhoneProvider provider, void* user);

// --- Other entries of "phone.dll" -----------------------------------------------------------------------------------

// Gives the key that the number was put on.
using PhoneAddSpeedDialProc = LONG (*)(DWORD flags, DWORD* key, LPCWSTR name, LPCWSTR number);

// A call of the past. The texts are blocks of LocalAlloc, the receiver's; any may be null.
struct CALLLOGENTRY {
    DWORD cbSize; // kCallLogEntrySize
    FILETIME ftStartTime;
    FILETIME ftEndTime;
    DWORD iom;     // 0 missed, 1 incoming, 2 outgoing
    DWORD dwFlags; // bits: 0 outgoing, 1 connected, 2 ended by the caller, 3 roaming
    DWORD cidt;    // 0 number not known, 1 blocked, 2 known
    LPWSTR pszNumber;
    LPWSTR pszName;
    LPWSTR pszNameType;
    LPWSTR pszNote;
};
// The size a caller puts into cbSize, whatever the width of a pointer is here.
inline constexpr DWORD kCallLogEntrySize = 48;
using PhoneOpenCallLogProc = HRESULT (*)(HANDLE* log);
// The next one, latest first; S_FALSE behind the last.
using PhoneGetCallLogEntryProc = HRESULT (*)(HANDLE log, CALLLOGENTRY* entry);
using PhoneCloseCallLogProc = HRESULT (*)(HANDLE log);

// --- Entries of "sms.dll" -------------------------------------------------------------------------------------------

inline constexpr DWORD SMS_MODE_SEND = 2;
struct SMS_ADDRESS {
    DWORD smsatAddressType;
    WCHAR ptsAddress[256];
};
using SmsOpenProc = HRESULT (*)(LPCWSTR protocol, DWORD modes, HANDLE* sms, HANDLE* messageAvailable);
using SmsSendMessageProc = HRESULT (*)(HANDLE sms, const SMS_ADDRESS* center, const SMS_ADDRESS* to,
                                       const SYSTEMTIME* validity, const BYTE* data, DWORD dataSize,
                                       const BYTE* provider, DWORD providerSize, DWORD encoding,
                                       DWORD options, DWORD* messageId);
using SmsCloseProc = HRESULT (*)(HANDLE sms);

#pragma GCC visibility pop
