#include "apps/pages/notecard.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoUI/CeInkCtrl.h"
#include "Platform/clock.h"
#include "Platform/files.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "apps/pages/notefiles.h"
#include "apps/pages/pagetext.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <optional>

namespace qn {

namespace {

constexpr std::size_t kEnding = 4; // ".txt"
constexpr DWORD kLongestCategories = 2048;

std::optional<DATE> MomentOf(const FILETIME& time) {
    SYSTEMTIME moment;
    if (FileTimeTicks(time) == 0 || !FileTimeToSystemTime(&time, &moment)) return std::nullopt;
    return ToDate(moment);
}

std::u16string FileMoment(const FILETIME& time) {
    const auto moment = MomentOf(time);
    return moment ? MomentText(*moment) : u"";
}

std::u16string TextOfFile(const DATANOTES& note) {
    if (note.m_nKind == kNoteRecording) return {};
    CeInkCtrl ink;
    if (ink.ReadFromFile(note.m_bstrPath)) {
        const std::u16string text = ink.GetString();
        return LongText(std::u16string_view(text).substr(0, text.find_last_not_of(u" \r\n") + 1));
    }
    constexpr LONG kLargest = CeInkCtrl::kLargestFile >> 10;
    return note.m_lSize > kLargest ? u"(Too large to be shown here)" : u"(Can't be read here)";
}

// What the suite knows of a file beside.
void ReadEntry(DATANOTES& note) {
    CRegistry notes(kNoteData);
    if (!notes.Exists(HKEY_CURRENT_USER, note.m_bstrPath)) return;
    DWORD isPrivate = 0;
    WCHAR categories[kLongestCategories] = {};
    notes.QueryValue(u"Category", categories, kLongestCategories);
    note.m_bstrCategory = SysAllocString(categories);
    notes.QueryValue(u"AHDT", &note.m_ftAlarm.dwHighDateTime);
    notes.QueryValue(u"ALDT", &note.m_ftAlarm.dwLowDateTime);
    notes.QueryValue(u"Private", &isPrivate);
    note.m_bPrivate = isPrivate != 0;
}

} // namespace

std::u16string NoteTitle(const DATANOTES& note) {
    std::u16string title(TextOf(note.m_bstrTitle));
    const bool file = !note.m_bFolder && note.m_nKind >= kNoteFile && note.m_nKind != kNoteDatabase;
    if (file && title.size() > kEnding) title.resize(title.size() - kEnding);
    return title;
}

std::u16string NoteDay(const FILETIME& time, bool narrow) {
    const auto moment = MomentOf(time);
    if (!moment) return {};
    const auto day = static_cast<LONG>(*moment);
    const LONG ago = static_cast<LONG>(Today()) - day;
    return ago >= -1 && ago <= 1 && !narrow ? NearDay(day) : DateText(day, nullptr);
}

std::u16string NoteSize(LONG kilobytes) {
    constexpr LONG kMegabyte = 1024;
    const bool large = kilobytes >= kMegabyte;
    return Utf16(std::to_string(large ? kilobytes / kMegabyte : kilobytes)) + (large ? u" MB" : u" KB");
}

std::u16string ShownPath(std::u16string_view path) {
    return std::u16string(path.substr(path.starts_with(u'\\') ? 1 : 0));
}

CardText NoteCard(const DATANOTES& note) {
    CardText card;
    card.titleLabel = u"Note";
    card.title = NoteTitle(note);
    const bool file = note.m_nKind != kNoteDatabase;
    if (file) card.Add(u"File", ShownPath(TextOf(note.m_bstrPath)));
    if (file) card.Add(u"Size", NoteSize(note.m_lSize));
    card.Add(u"Changed", FileMoment(note.m_ftModified));
    card.Add(u"Made", FileMoment(note.m_ftCreated));
    card.Add(u"Alarm", FileMoment(note.m_ftAlarm));
    card.Add(u"Categories", std::u16string(TextOf(note.m_bstrCategory)));
    card.Add(u"Private", note.m_bPrivate ? u"Yes" : u"");
    if (file) card.Add(u"Text", TextOfFile(note));
    return card;
}

CardText NoteCard(const WCHAR* path) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(path, &found);
    if (search == INVALID_HANDLE_VALUE || wcslen(path) < kEnding) return {};
    FindClose(search);
    DATANOTES note;
    note.m_bstrPath = SysAllocString(path);
    note.m_bstrTitle = SysAllocString(found.cFileName);
    note.m_nKind = _wcsicmp(path + wcslen(path) - kEnding, u".wav") == 0 ? kNoteRecording : kNoteFile;
    note.m_lSize = std::max<LONG>(static_cast<LONG>(found.nFileSizeLow >> 10), 1);
    FileTimeToLocalFileTime(&found.ftCreationTime, &note.m_ftCreated);
    FileTimeToLocalFileTime(&found.ftLastWriteTime, &note.m_ftModified);
    ReadEntry(note);
    return NoteCard(note);
}

} // namespace qn
