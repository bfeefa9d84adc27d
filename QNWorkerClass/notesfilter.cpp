// Which notes are rows: by privacy, category and a text to compare with.
#include "QNWorkerClass/notesthread.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/memory.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>

bool CNotesThread::FilterNote(const DATANOTES& row) {
    if (m_nFilterPrivacy >= 0 && m_nFilterPrivacy != (row.m_bPrivate ? 1 : 0)) return false;
    const WCHAR* categories = row.m_bstrCategory ? row.m_bstrCategory : u"";
    if (!CategoryFilterHighLevel(categories, &m_CategoryFilter)) return false;
    if (m_szCompare.empty()) return true;
    std::u16string body;
    if (m_bCompareContents && ReadBody(row, body) && Matches(std::move(body))) return true;
    return Matches(row.m_bstrTitle);
}

bool CNotesThread::ReadBody(const DATANOTES& row, std::u16string& body) {
    if (row.m_nKind == kNoteRecording) return false;
    if (row.m_nKind != kNoteDatabase) {
        if (!m_ink.ReadFromFile(row.m_bstrPath)) return false;
    } else {
        if (!m_library->GetNotePreviewText) return false;
        const std::unique_ptr<WCHAR, decltype(&std::free)> preview(
            m_library->GetNotePreviewText(row.m_oidDatabase, row.m_oid), &std::free);
        if (!preview) return false;
        const std::u16string_view text = preview.get();
        if (text.starts_with(u"{\\rtf")) {
            std::string narrow(wcstombs(nullptr, preview.get(), 0), '\0');
            wcstombs(narrow.data(), preview.get(), narrow.size());
            m_ink.StreamIn(reinterpret_cast<const BYTE*>(narrow.data()), static_cast<DWORD>(narrow.size()),
                           kNoteRich);
        } else {
            m_ink.SetText(preview.get());
        }
    }
    body = m_ink.GetString();
    m_ink.SetText(nullptr);
    return true;
}

// Without the two ways to search, the shorter of both texts decides: a note "A" is found for "ABC" as well, as quick input
// of a name that is not yet finished needs it.
bool CNotesThread::Matches(std::u16string text) const {
    _wcsupr(text.data());
    if (m_bCompareWildcard) return wildmat(text.c_str(), m_szCompare.c_str());
    if (m_bCompareAnywhere) return wcsstr(text.c_str(), m_szCompare.c_str()) != nullptr;
    const std::size_t length = std::min(text.size(), m_szCompare.size());
    return length != 0 && wcsncmp(text.c_str(), m_szCompare.c_str(), length) == 0;
}
