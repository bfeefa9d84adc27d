#include "QNWorkerClass/notelibrary.h"

#include "Platform/modules.h"
#include "Platform/threads.h"

#include <mutex>

namespace {

std::mutex g_lock;
HINSTANCE g_library; // both under g_lock
int g_nUsers;

template<class Entry>
void Take(Entry& entry, const WCHAR* name) {
    entry = g_library ? reinterpret_cast<Entry>(GetProcAddressW(g_library, name)) : nullptr;
}

} // namespace

NoteLibraryUse::NoteLibraryUse() : m_entries{} {
    const PlatUnended unended; // a thread that is ended must not leave with the lock
    const std::lock_guard lock(g_lock);
    if (g_nUsers++ == 0) g_library = LoadLibraryW(u"pwnotesapi.dll");
    Take(m_entries.FindNextDatabase, u"PWN_FindNextDatabase");
    Take(m_entries.GetDatabaseOid, u"PWN_GetDatabaseOid");
    Take(m_entries.GetDatabaseName, u"PWN_GetDatabaseName");
    Take(m_entries.CloseFindDBHandle, u"PWN_CloseFindDBHandle");
    Take(m_entries.FindNextNote, u"PWN_FindNextNote");
    Take(m_entries.GetNoteData, u"PWN_GetNoteData");
    Take(m_entries.CloseFindNoteHandle, u"PWN_CloseFindNoteHandle");
    Take(m_entries.GetNotePreviewText, u"PWN_GetNotePreviewText");
}

NoteLibraryUse::~NoteLibraryUse() {
    const PlatUnended unended; // a thread that is ended must not leave with the lock
    const std::lock_guard lock(g_lock);
    if (--g_nUsers > 0) return;
    FreeLibrary(g_library);
    g_library = nullptr;
}
