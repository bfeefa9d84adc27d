// The notes list as a tree: its orders, opening and closing folders, reading one again.
#include "QNWorkerClass/notesthread.h"

#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "QNWorkerClass/sortkey.h"
#include "QNWorkerClass/viewsettings.h"

#include <algorithm>
#include <unordered_set>

namespace {

template<class T>
int Order(T a, T b) {
    return a < b ? -1 : a > b;
}

const WCHAR* Text(const WCHAR* text) { return text ? text : u""; }

int CompareTexts(const WCHAR* a, const WCHAR* b) {
    if (wcscmp(Text(a), Text(b)) == 0) return 0;
    return CompareStringW(LOCALE_USER_DEFAULT, 0, Text(a), -1, Text(b), -1) - CSTR_EQUAL;
}

// With keys on both sides no language is asked.
int CompareTitles(const DATANOTES& a, const DATANOTES& b) {
    if (a.m_titleKey.empty() || b.m_titleKey.empty()) return CompareTexts(a.m_bstrTitle, b.m_bstrTitle);
    return Order(a.m_titleKey.compare(b.m_titleKey), 0);
}

int Directed(int order, CEUSER user) { return user == 1 ? order : -order; }

int CompareTimes(const FILETIME& a, const FILETIME& b) { return CompareFileTime(&a, &b); }

} // namespace

// --- Orders -------------------------------------------------------------------------------------------------------

// What stands before what in every order; folders keep the order of their names in both directions.
int CNotesThread::CompareFuncBasic(DATANOTES* const& a, DATANOTES* const& b, CEUSER) {
    if (a == b) return 0;
    if (!a || !b) return a ? -1 : 1;
    if (const int order = Order(b->m_nKind == kNoteDatabase, a->m_nKind == kNoteDatabase)) return order;
    if (const int order = Order(b->m_bFolder, a->m_bFolder)) return order;
    return a->m_bFolder ? CompareTitles(*a, *b) : 0;
}

int CNotesThread::CompareFuncSubject(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    return Directed(CompareTitles(*a, *b), user);
}

int CNotesThread::CompareFuncCategory(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    if (const int order = CompareTexts(a->m_bstrCategory, b->m_bstrCategory)) return Directed(order, user);
    return CompareFuncSubject(a, b, user);
}

int CNotesThread::CompareFuncSize(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    return Directed(Order(static_cast<DWORD>(a->m_lSize), static_cast<DWORD>(b->m_lSize)), user);
}

int CNotesThread::CompareFuncAlarmTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    return Directed(CompareTimes(a->m_ftAlarm, b->m_ftAlarm), user);
}

int CNotesThread::CompareFuncCreatedTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    return Directed(CompareTimes(a->m_ftCreated, b->m_ftCreated), user);
}

int CNotesThread::CompareFuncModifiedTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user) {
    if (const int order = CompareFuncBasic(a, b, user); order || a == b) return order;
    return Directed(CompareTimes(a->m_ftModified, b->m_ftModified), user);
}

int CNotesThread::CompareFuncOID(DATANOTES* const& a, DATANOTES* const& b, CEUSER) {
    return Order(static_cast<LONG>(a->m_oid), static_cast<LONG>(b->m_oid));
}

// --- Sorting ------------------------------------------------------------------------------------------------------

void CNotesThread::SortDataList() {
    const DataHold hold(*this);
    if (hold.IsHeld()) Sort();
}

void CNotesThread::Sort() {
    constexpr NoteCompare kCompares[] = {&CompareFuncSubject,     &CompareFuncAlarmTime,
                                         &CompareFuncCreatedTime, &CompareFuncModifiedTime,
                                         &CompareFuncSize,        &CompareFuncCategory};
    LONG key, direction;
    {
        const ViewSettings settings(m_regSettings, m_szSettingsKey);
        key = settings.Number(u"dwSort", kNotesBySubject);
        direction = settings.Number(u"bDescending", 1) ? -1 : 1;
    }
    if (key < 0 || static_cast<std::size_t>(key) >= std::size(kCompares)) key = kNotesBySubject;
    CePtrList<DATANOTES*> roots(0);
    for (DATANOTES* row : m_listNotes) {
        if (row->m_titleKey.empty()) row->m_titleKey = TextSortKey(Text(row->m_bstrTitle));
        if (row->m_nDepth == 0) roots.Add(row);
    }
    if (roots.IsEmpty()) return;
    SortHier(roots, kCompares[key], direction);
    const PlatUnended unended; // the list has all rows, or those that it lacks are nobody's
    m_listNotes.SetDelete(nullptr);
    m_listNotes.Clear();
    LoadHier(roots);
    m_listNotes.SetDelete(&DeleteRow);
}

// Children first, then the level. The length of paths bounds the depth.
void CNotesThread::SortHier(CePtrList<DATANOTES*>& level, NoteCompare compare, LONG direction) {
    for (DATANOTES* row : level)
        if (row->IsParentNode()) SortHier(row->m_listChildren, compare, direction);
    level.SetCompare(compare);
    level.SetUser(static_cast<CEUSER>(direction));
    level.Sort(true);
}

void CNotesThread::LoadHier(const CePtrList<DATANOTES*>& level) {
    for (DATANOTES* row : level) {
        m_listNotes.Add(row);
        LoadHier(row->m_listChildren);
    }
}

// --- Folders ------------------------------------------------------------------------------------------------------

void CNotesThread::ExpandTreeNode(bool bExpand, DATANOTES* row, bool bPersist) {
    LONG count = 0;
    {
        const DataHold hold(*this);
        if (!hold.IsHeld() || !row || !row->m_bFolder) return;
        row->m_bExpanded = bExpand;
        Empty(row);
        if (bExpand) FillFolder(row);
        if (bPersist) {
            SetFolderState(row->m_bstrPath, static_cast<DWORD>(row->m_lHidden) + bExpand);
            Sort();
        }
        count = GetActiveDataCount();
    }
    if (bPersist) Tell(count);
}

void CNotesThread::FillFolder(DATANOTES* row) {
    const Reading reading(*this, nullptr);
    const LONG recordings = m_nRecordings;
    const int rows = m_listNotes.GetCount();
    if (row->m_nKind == kNoteDatabase)
        AddHPCDatabase(row->m_oid, row);
    else
        AddFolderContents(row->m_bstrPath, row, true);
    // Empty takes off rows alone.
    const auto isRecording = [](const DATANOTES* note) { return note->m_nKind == kNoteRecording; };
    m_nRecordings = recordings + static_cast<LONG>(std::count_if(std::next(m_listNotes.begin(), rows),
                                                                 m_listNotes.end(), isRecording));
}

void CNotesThread::RemoveChildren(DATANOTES* row, bool bTell) {
    LONG count = 0;
    {
        const DataHold hold(*this);
        if (!hold.IsHeld()) return;
        Empty(row);
        count = GetActiveDataCount();
    }
    if (bTell) Tell(count);
}

// All descendants at once: one pass over the list, however many they are.
void CNotesThread::Empty(DATANOTES* row) {
    std::unordered_set<const DATANOTES*> gone;
    std::vector<const DATANOTES*> waiting{row};
    while (!waiting.empty()) {
        const DATANOTES* parent = waiting.back();
        waiting.pop_back();
        for (const DATANOTES* child : parent->m_listChildren) {
            m_nRecordings -= child->m_nKind == kNoteRecording;
            gone.insert(child);
            waiting.push_back(child);
        }
    }
    row->m_listChildren.Clear();
    for (int i = gone.empty() ? 0 : m_listNotes.GetLast(); i >= m_listNotes.GetBase(); --i)
        if (gone.contains(m_listNotes.Get(i))) m_listNotes.RemoveAt(i);
}

void CNotesThread::Reread(DATANOTES* row) {
    if (!row || !row->m_bExpanded) return;
    Empty(row);
    FillFolder(row);
}

// The last row of the list of which the test is true.
template<class Test>
DATANOTES* CNotesThread::FindLast(Test test) const {
    DATANOTES* last = nullptr;
    for (DATANOTES* row : m_listNotes)
        if (test(*row)) last = row;
    return last;
}

void CNotesThread::UpdateFolder(const WCHAR* path, WORD bSort) {
    const DataHold hold(*this);
    if (!hold.IsHeld() || !path) return;
    std::u16string wanted = path;
    if (wanted.ends_with(u'\\')) wanted.pop_back();
    Reread(FindLast([&wanted](const DATANOTES& row) {
        return row.m_bFolder && row.m_nKind != kNoteDatabase && _wcsicmp(row.m_bstrPath, wanted.c_str()) == 0;
    }));
    if (bSort) Sort();
}

void CNotesThread::UpdateDatabase(LONG oid) {
    const DataHold hold(*this);
    if (!hold.IsHeld()) return;
    Reread(FindLast([oid](const DATANOTES& row) {
        return row.m_bFolder && row.m_nKind == kNoteDatabase && row.m_oid == static_cast<DWORD>(oid);
    }));
}
