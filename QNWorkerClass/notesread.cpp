// Reading folders of files, storage cards and the databases of the notes library into rows.
#include "QNWorkerClass/notesthread.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/clock.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "QNWorkerClass/texts.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr UINT kTextNoNotes = 42482;
constexpr int kNoNotesRoom = 50;
constexpr std::size_t kLongestFolder = 257; // with "\*" behind it a path that can be searched
constexpr std::size_t kEndingChars = 4;

// Only the first five are looked at: word processor files are no notes here, and users have come to rely on it.
constexpr std::array<const WCHAR*, 7> kEndings{u".wav", u".pwi", u".pmi", u".rtf", u".txt", u".doc", u".psw"};
constexpr std::size_t kEndingsUsed = 5;

// How a card enumeration is found in a module.
constexpr WORD kFirstCardOrdinal = 7, kNextCardOrdinal = 8;
using FirstCardProc = HANDLE (*)(WIN32_FIND_DATAW* data);
using NextCardProc = BOOL (*)(HANDLE find, WIN32_FIND_DATAW* data);

constexpr std::array<COLORREF, 5> kLibraryColors{0x80FFFF, 0x80FF80, 0xFFFFFF, 0xFF80FF, 0xFFFF80};

const WCHAR* EndingOf(const WCHAR* name) { return name + wcslen(name) - kEndingChars; }

LONG KindOf(const WCHAR* name) {
    if (_wcsicmp(EndingOf(name), u".wav") == 0) return kNoteRecording;
    if (_wcsicmp(EndingOf(name), u".pmi") == 0) return kNotePmi;
    return kNoteFile;
}

// Whole kilobytes, at least one. The high half is taken off, not put in front: no note is that large.
LONG SizeOf(const WIN32_FIND_DATAW& found) {
    return std::max(static_cast<LONG>((found.nFileSizeLow - found.nFileSizeHigh) >> 10), 1);
}

std::u16string Below(std::u16string_view folder, const WCHAR* name) {
    return std::u16string(folder).append(u"\\").append(name);
}

template<std::size_t N>
std::u16string_view Bounded(const WCHAR (&text)[N]) {
    return {text, static_cast<std::size_t>(std::find(text, text + N, u'\0') - text)};
}

BSTR NewBstr(std::u16string_view text) {
    return SysAllocStringLen(text.empty() ? u"" : text.data(), static_cast<UINT>(text.size()));
}

void TakeTimes(DATANOTES& row, const WIN32_FIND_DATAW& found) {
    FileTimeToLocalFileTime(&found.ftCreationTime, &row.m_ftCreated);
    FileTimeToLocalFileTime(&found.ftLastWriteTime, &row.m_ftModified);
}

class Module {
public:
    explicit Module(const WCHAR* name) : m_hModule(LoadLibraryW(name)) {}
    ~Module() { FreeLibrary(m_hModule); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    template<class Proc>
    Proc Entry(WORD ordinal) const {
        return m_hModule ? reinterpret_cast<Proc>(GetProcAddressW(m_hModule, MAKEINTRESOURCEW(ordinal)))
                         : nullptr;
    }

private:
    HINSTANCE m_hModule;
};

class Search {
public:
    Search(HANDLE find) : m_hFind(find) {}
    ~Search() {
        if (*this) FindClose(m_hFind);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    explicit operator bool() const { return m_hFind && m_hFind != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_hFind; }

private:
    HANDLE m_hFind;
};

} // namespace

bool CNotesThread::IsValidExtension(const WCHAR* name) {
    if (!name || wcslen(name) <= kEndingChars) return false;
    return std::any_of(kEndings.begin(), kEndings.begin() + kEndingsUsed,
                       [name](const WCHAR* ending) { return _wcsicmp(EndingOf(name), ending) == 0; });
}

// --- Rows ---------------------------------------------------------------------------------------------------------

std::unique_ptr<DATANOTES> CNotesThread::NewRow(std::u16string_view title, std::u16string_view path) {
    auto row = std::make_unique<DATANOTES>();
    row->m_listChildren.SetDelete(nullptr); // they belong to the thread like all rows
    row->m_oid = m_nNextId++;
    row->m_bstrTitle = NewBstr(title);
    row->m_bstrPath = NewBstr(path);
    row->m_bShown = 1;
    return row;
}

std::unique_ptr<DATANOTES> CNotesThread::NewFolder(std::u16string_view title, std::u16string_view path,
                                                   DWORD state) {
    auto row = NewRow(title, path);
    row->m_bFolder = 1;
    row->m_lHidden = state > kFolderOpen ? kFolderHidden : 0;
    row->m_bExpanded = IsOpen(state);
    return row;
}

void CNotesThread::Attach(DATANOTES* row, DATANOTES* parent) {
    if (!parent) return;
    row->m_pParent = parent;
    row->m_oidParent = parent->m_oid;
    row->m_nDepth = static_cast<SHORT>(parent->m_nDepth + 1);
    parent->m_listChildren.Add(row);
}

// --- Roots --------------------------------------------------------------------------------------------------------

void CNotesThread::AddMyDocumentsRoot() {
    WCHAR path[MAX_PATH] = {};
    if (!SHGetSpecialFolderPath(nullptr, path, CSIDL_PERSONAL, FALSE)) return;
    m_rootFolder = path;
    AddRoot(m_rootFolder, m_nAppLayout != 0);
}

void CNotesThread::AddStorageCards() {
    const Module cards(u"note_prj.dll");
    const auto first = cards.Entry<FirstCardProc>(kFirstCardOrdinal);
    const auto next = cards.Entry<NextCardProc>(kNextCardOrdinal);
    if (!first || !next) return;
    WIN32_FIND_DATAW card{};
    const Search search(first(&card));
    for (bool more = static_cast<bool>(search); more && !IsStopped();
         more = next(search.Get(), &card) != FALSE)
        if (!wcsistr(card.cFileName, u"bluetooth")) AddRoot(Below({}, card.cFileName), true);
}

void CNotesThread::AddRoot(const std::u16string& path, bool bSubFolders) {
    const DWORD state = StateOf(path);
    if (IsLeftOut(state)) return;
    DATANOTES* row = NewFolder(path, path, state).release();
    m_listNotes.Add(row);
    m_roots.push_back(path);
    if (!row->m_bExpanded) return;
    WIN32_FIND_DATAW own{};
    const Search search(FindFirstFileW(path.c_str(), &own));
    m_chain.assign(1, own.dwOID);
    AddFolderContents(path, row, bSubFolders);
}

// --- Folders ------------------------------------------------------------------------------------------------------

LONG CNotesThread::AddFolderContents(const std::u16string& path, DATANOTES* parent, bool bSubFolders) {
    const LONG count = AddFolder(path, bSubFolders, parent);
    if (!parent->IsParentNode()) {
        DATANOTES* row = NewRow(LoadText(kTextNoNotes, kNoNotesRoom), {}).release();
        Attach(row, parent);
        m_listNotes.Add(row);
    }
    return count;
}

LONG CNotesThread::AddFolder(const std::u16string& path, bool bSubFolders, DATANOTES* parent) {
    if (path.empty() || path.size() > kLongestFolder) return 0;
    LONG count = 0;
    WIN32_FIND_DATAW found{};
    const Search search(FindFirstFileW(Below(path, u"*").c_str(), &found));
    for (bool more = static_cast<bool>(search); more; more = FindNextFileW(search.Get(), &found) != FALSE) {
        if (IsStopped()) break;
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            count += IsValidExtension(found.cFileName) && AddPWINote(found, parent);
        else if (bSubFolders)
            count += AddSubFolder(found, path, parent);
    }
    return count;
}

LONG CNotesThread::AddSubFolder(const WIN32_FIND_DATAW& found, const std::u16string& path,
                                DATANOTES* parent) {
    if (_wcsicmp(found.cFileName, u"Templates") == 0 || _wcsicmp(found.cFileName, u"Norvo") == 0) return 0;
    const std::u16string below = Below(path, found.cFileName);
    const DWORD state = StateOf(below);
    if (IsLeftOut(state)) return 0;
    auto folder = NewFolder(found.cFileName, below, state);
    TakeTimes(*folder, found);
    DATANOTES* row = folder.get();
    Attach(folder.release(), parent);
    LONG count = 0;
    row->m_bExpanded = row->m_bExpanded && MayFill(found.dwOID);
    if (row->m_bExpanded) {
        m_chain.push_back(found.dwOID);
        count = AddFolderContents(below, row, true);
        m_chain.pop_back();
    }
    m_listNotes.Add(row);
    return count;
}

// A link may lead back to where we are, and a few of them to very many places. Folders that have no number, on a device
// that can't be written, share one count.
bool CNotesThread::MayFill(DWORD oid) {
    constexpr int kMostVisits = 8, kMostWithoutNumber = 2000;
    if (oid == 0) return ++m_visits[oid] <= kMostWithoutNumber;
    return std::ranges::find(m_chain, oid) == m_chain.end() && ++m_visits[oid] <= kMostVisits;
}

bool CNotesThread::AddPWINote(const WIN32_FIND_DATAW& found, DATANOTES* parent) {
    const WCHAR* folder = parent ? parent->m_bstrPath : m_rootFolder.c_str();
    auto row = NewRow(found.cFileName, Below(folder, found.cFileName));
    row->m_nKind = KindOf(found.cFileName);
    m_nRecordings += row->m_nKind == kNoteRecording;
    TakeTimes(*row, found);
    row->m_lSize = SizeOf(found);
    ReadAttributes(*row);
    if (!FilterNote(*row)) return false;
    if (parent) row->m_bExpanded = parent->m_bExpanded;
    Attach(row.get(), parent);
    m_listNotes.Add(row.release());
    return true;
}

void CNotesThread::ReadAttributes(DATANOTES& row) const {
    const INIFile::Section* section = m_pStores->Note(row.m_bstrPath);
    if (!section) return;
    const auto number = [section](std::u16string_view name) {
        const INIFile::Value* value = section->Find(name);
        return value && value->type == kValueDoubleWord ? value->number : 0;
    };
    const INIFile::Value* category = section->Find(u"Category");
    if (category && category->type == kValueString) row.m_bstrCategory = NewBstr(category->text);
    row.m_ftAlarm = {number(u"ALDT"), number(u"AHDT")};
    row.m_bHasAlarm = FileTimeTicks(row.m_ftAlarm) != 0;
    row.m_bPrivate = number(u"Private") != 0;
}

// --- The notes library --------------------------------------------------------------------------------------------

void CNotesThread::AddHPCDatabases() {
    if (!m_library->HasDatabases()) return;
    HANDLE last = nullptr;
    while (const HANDLE database = IsStopped() ? nullptr : m_library->FindNextDatabase(last)) {
        last = database;
        WCHAR name[MAX_PATH] = {};
        const DWORD oid = m_library->GetDatabaseOid(database);
        if (oid == 0 || m_library->GetDatabaseName(database, name, MAX_PATH) <= 0) continue;
        const DWORD state = StateOf(Bounded(name));
        if (IsLeftOut(state)) continue;
        DATANOTES* row = NewFolder(Bounded(name), Bounded(name), state).release();
        row->m_oid = oid;
        row->m_nKind = kNoteDatabase;
        m_listNotes.Add(row);
        if (row->m_bExpanded) AddHPCDatabase(oid, row);
    }
    if (last) m_library->CloseFindDBHandle(last);
}

LONG CNotesThread::AddHPCDatabase(DWORD oid, DATANOTES* parent) {
    if (!m_library->HasNotes()) return 0;
    LONG count = 0;
    HANDLE last = nullptr;
    while (const HANDLE note =
               IsStopped() ? nullptr : m_library->FindNextNote(oid, last, kLibraryNoteProperty)) {
        last = note;
        PWN_NOTE data{};
        data.dwSize = sizeof data;
        if (m_library->GetNoteData(note, &data) == 1 && data.oid != 0)
            count += AddLibraryNote(data, oid, parent);
    }
    if (last) m_library->CloseFindNoteHandle(last);
    return count;
}

bool CNotesThread::AddLibraryNote(const PWN_NOTE& note, DWORD database, DATANOTES* parent) {
    auto row = NewRow(Bounded(note.szName), Bounded(note.szName));
    const std::u16string category(Bounded(note.szCategories));
    row->m_oid = note.oid;
    row->m_oidDatabase = database;
    row->m_nKind = kNoteDatabase;
    row->m_bstrCategory = NewBstr(category);
    row->m_nFlags = note.nFlags;
    row->m_bPrivate = note.bPrivate != 0;
    SystemTimeToFileTime(&note.stCreated, &row->m_ftCreated);
    SystemTimeToFileTime(&note.stModified, &row->m_ftModified);
    const auto color = static_cast<std::size_t>(note.nColor);
    if (color < kLibraryColors.size()) row->m_crColor = kLibraryColors[color];
    if (!category.empty() && std::ranges::find(m_libraryCategories, category) == m_libraryCategories.end())
        m_libraryCategories.push_back(category);
    if (!FilterNote(*row)) return false;
    Attach(row.get(), parent);
    m_listNotes.Add(row.release());
    return true;
}
