// The list file: the form of the suite's small lists on disk ("TaskContexts.bin", "RecentContacts.bin" ...).
//
//     version (1 byte, 1), length of the magic with its zero (4), the magic, element count (4), index of the current
//     element (4), base index (4), element argument (4), then for each element its length in bytes (4) and the bytes
//
// All numbers are little-endian. A null element has length 0. Elements are read up to the end of the file, whatever the
// count says. The list needs a describe callback: CeStrList has one, a list of numbers takes CeDescribeNumber.
//
// No state; the list belongs to its caller. A file is replaced in one step, so a reader sees the old or the new one.
#pragma once

#include "NorvoTools/CeList.h"

#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

inline constexpr int LISTFILE_OK = 0;
inline constexpr int LISTFILE_CLOSED = 1; // it is there but can't be opened or read: nothing is wrong with it
inline constexpr int LISTFILE_NOMEMORY = 2;
// A field or an element that the file doesn't hold whole; a short write.
inline constexpr int LISTFILE_SHORT = 4;
inline constexpr int LISTFILE_FORMAT = 5; // another version or magic

// What is saved as the current index.
enum class CeListFileIndex { Last, Current };

// A parsed file; the elements point into its bytes.
struct CeListFileContents {
    int nCurrent = 0;
    int nBase = 0;
    DWORD dwElementArgument = 0;
    std::vector<std::span<const BYTE>> elements;
    std::size_t nErrorOffset = 0; // where the reading stopped, when it failed
};

// --- Bytes --------------------------------------------------------------------------------------------------------

// LISTFILE_OK, LISTFILE_SHORT or LISTFILE_FORMAT; on failure there are no elements.
QN_API int ParseListFile(std::span<const BYTE> bytes, std::string_view magic, CeListFileContents& contents);
QN_API std::vector<BYTE> BuildListFile(std::string_view magic, const CeListFileContents& contents);

// --- Files of the device ------------------------------------------------------------------------------------------

// The bytes of a file. A missing file is LISTFILE_OK with no bytes; one that is empty is LISTFILE_SHORT.
QN_API int ReadListFileBytes(const WCHAR* path, std::vector<BYTE>& bytes);
// Writes beside the file, flushes, and puts it in place; a missing folder is made. LISTFILE_OK, or LISTFILE_SHORT with
// the old file untouched. Of several threads and processes that save at once the last one's list stays.
QN_API int WriteListFileBytes(const WCHAR* path, std::span<const BYTE> bytes);
// The last step of an owner that throws a damaged file away: it is kept as "<path>.bad", in place of an older one.
// False when the file could not be renamed; GetLastError tells.
QN_API bool SetListFileAside(const WCHAR* path);
// A line in the log: the file, the place and the code.
QN_API void LogListFileDamage(const WCHAR* path, std::size_t nOffset, int nCode);

// --- Lists --------------------------------------------------------------------------------------------------------

// The describe callback for lists of numbers and object ids: the element is its bytes.
template<class T>
bool CeDescribeNumber(T* element, CeElementBytes* bytes, CEUSER) {
    static_assert(std::is_arithmetic_v<T>);
    if (!bytes->bStore) {
        bytes->pData = element;
        bytes->dwSize = sizeof(T);
        return true;
    }
    if (bytes->dwSize != sizeof(T)) return false;
    std::memcpy(element, bytes->pData, sizeof(T));
    return true;
}

// Fills the emptied list with the elements and makes the saved index the one read last. On failure the list is empty.
template<class T>
int LoadList(const CeListFileContents& contents, CeList<T>& list) {
    list.Clear();
    for (std::span<const BYTE> element : contents.elements) {
        CeElementBytes bytes{true, element.data(), static_cast<DWORD>(element.size())};
        T value{};
        if (!list.GetDescribe() || !list.GetDescribe()(&value, &bytes, list.GetUser())) {
            list.Clear();
            return std::is_arithmetic_v<T> ? LISTFILE_SHORT : LISTFILE_NOMEMORY;
        }
        list.Adopt(value);
    }
    list.MoveTo(static_cast<int>(LONGLONG{contents.nCurrent} - contents.nBase + list.GetBase()));
    return LISTFILE_OK;
}

// The elements point into the list.
template<class T>
CeListFileContents DescribeList(CeList<T>& list, CeListFileIndex index) {
    CeListFileContents contents;
    contents.nBase = list.GetBase();
    contents.nCurrent = index == CeListFileIndex::Last ? list.GetLast() : list.GetCurrent();
    for (T& element : list) {
        CeElementBytes bytes{false, nullptr, 0};
        if (list.GetDescribe()) list.GetDescribe()(&element, &bytes, list.GetUser());
        contents.elements.emplace_back(static_cast<const BYTE*>(bytes.pData), bytes.dwSize);
    }
    return contents;
}

// Reads a file into the list; a missing file gives an empty list. Damage is logged and leaves the list empty and the
// file where it is: an owner that throws it away calls SetListFileAside on LISTFILE_SHORT and LISTFILE_FORMAT.
template<class T>
int ReadListFile(const WCHAR* path, std::string_view magic, CeList<T>& list) {
    list.Clear();
    std::vector<BYTE> bytes;
    int code = ReadListFileBytes(path, bytes);
    if (code != LISTFILE_OK || bytes.empty()) return code;
    CeListFileContents contents;
    code = ParseListFile(bytes, magic, contents);
    if (code == LISTFILE_OK) code = LoadList(contents, list);
    if (code == LISTFILE_SHORT || code == LISTFILE_FORMAT)
        LogListFileDamage(path, contents.nErrorOffset, code);
    return code;
}

template<class T>
int WriteListFile(const WCHAR* path, std::string_view magic, CeList<T>& list,
                  CeListFileIndex index = CeListFileIndex::Last) {
    if (!list.GetDescribe()) return LISTFILE_SHORT; // it would be a file of nulls
    return WriteListFileBytes(path, BuildListFile(magic, DescribeList(list, index)));
}
