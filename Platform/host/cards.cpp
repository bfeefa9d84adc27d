// Storage cards, and the module that enumerates them.
#include "Platform/files.h"
#include "Platform/modules.h"
#include "Platform/threads.h"

#include <iterator>

namespace {

bool SkipFiles(HANDLE find, WIN32_FIND_DATAW* card) {
    while (!(card->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        if (!FindNextFileW(find, card)) return false;
    return true;
}

} // namespace

HANDLE FindFirstFlashCard(WIN32_FIND_DATAW* card) {
    const HANDLE find = FindFirstFileW(u"\\Storage Card*", card);
    if (find == INVALID_HANDLE_VALUE || SkipFiles(find, card)) return find;
    FindClose(find);
    SetLastError(ERROR_NO_MORE_FILES);
    return INVALID_HANDLE_VALUE;
}

BOOL FindNextFlashCard(HANDLE find, WIN32_FIND_DATAW* card) {
    return FindNextFileW(find, card) && SkipFiles(find, card);
}

namespace {

const PlatModuleEntry kEntries[] = {
    {nullptr, 7, reinterpret_cast<FARPROC>(FindFirstFlashCard)},
    {nullptr, 8, reinterpret_cast<FARPROC>(FindNextFlashCard)},
};

[[maybe_unused]] const HINSTANCE g_module =
    PlatRegisterModule({.name = u"note_prj.dll", .entries = kEntries, .entryCount = std::size(kEntries)});

} // namespace
