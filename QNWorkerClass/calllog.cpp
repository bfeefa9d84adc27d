#include "QNWorkerClass/calllog.h"

#include "Platform/clock.h"
#include "Platform/memory.h"

#include <algorithm>
#include <limits>

namespace {

constexpr ULONGLONG kTicksPerSecond = 10'000'000;

template<class Proc>
Proc Entry(HINSTANCE module, const WCHAR* name) {
    return reinterpret_cast<Proc>(GetProcAddressW(module, name));
}

} // namespace

void CCallLogEntry::NullData() {
    for (LPWSTR* text : {&pszNumber, &pszName, &pszNameType, &pszNote}) {
        LocalFree(*text);
        *text = nullptr;
    }
}

DWORD CCallLogEntry::Seconds() const {
    const ULONGLONG start = FileTimeTicks(ftStartTime), end = FileTimeTicks(ftEndTime);
    const ULONGLONG seconds = end > start ? (end - start) / kTicksPerSecond : 0;
    return static_cast<DWORD>(std::min<ULONGLONG>(seconds, std::numeric_limits<LONG>::max()));
}

CCallLog::CCallLog() : m_hPhone(LoadLibraryW(u"phone.dll")) {
    if (!m_hPhone) return;
    const auto open = Entry<PhoneOpenCallLogProc>(m_hPhone, u"PhoneOpenCallLog");
    m_pfnNext = Entry<PhoneGetCallLogEntryProc>(m_hPhone, u"PhoneGetCallLogEntry");
    m_pfnClose = Entry<PhoneCloseCallLogProc>(m_hPhone, u"PhoneCloseCallLog");
    if (!open || !m_pfnNext || open(&m_hLog) != S_OK) m_hLog = nullptr;
}

CCallLog::~CCallLog() {
    if (m_hLog && m_pfnClose) m_pfnClose(m_hLog);
    if (m_hPhone) FreeLibrary(m_hPhone);
}

bool CCallLog::Next(CCallLogEntry& entry) {
    entry.NullData();
    return m_hLog && m_pfnNext(m_hLog, &entry) == S_OK;
}
