// The rich note editor. This is its part without a window: the document with a selection, undo, and the forms and files
// that it is read from and written to. Worker threads use one to get at the text of a note.
//
//     CeInkCtrl ink;
//     if (ink.StreamInBLOB(&blob, kNoteByContent)) text = ink.GetString();
//
// An object belongs to one thread at a time. Positions are those of the document (inkdocument.h).
#pragma once

#include "NorvoUI/inkdocument.h"

#include <vector>

// What the selection looks like. At an empty selection: what is inserted next.
struct INKPROPERTIES {
    WCHAR szFace[32];
    WORD wHalfPoints;
    BYTE bStyle; // kInkBold ...
    InkAlign align;
    COLORREF crText;
};

class QN_API CeInkCtrl {
public:
    static constexpr DWORD kAll = 0xFFFFFFFF;

    CeInkCtrl() = default;
    CeInkCtrl(const CeInkCtrl&) = delete;
    CeInkCtrl& operator=(const CeInkCtrl&) = delete;

    // --- In and out -----------------------------------------------------------------------------------------------
    // Replaces everything, with nothing to undo. False, and an empty note, for bytes that are no note of that form. A null
    // or empty blob is an empty note.
    bool StreamInBLOB(const _CEBLOB* blob, UINT format);
    bool StreamIn(const BYTE* bytes, DWORD length, UINT format);
    // The note in a form; the block is the caller's, by LocalFree, and null for no bytes. False for an unknown form.
    bool StreamOut(_CEBLOB* blob, UINT format) const;
    DWORD GetDataLength(UINT format = kNoteInk) const; // what StreamOut would give
    // The plain text; at most so many bytes.
    std::u16string GetString(DWORD limit = kAll) const;
    void SetText(const WCHAR* text);

    // --- Files ----------------------------------------------------------------------------------------------------
    // The form that the last three letters of a file name stand for, of any case.
    static UINT ParseFileFormat(const WCHAR* name);
    // By the content, whatever the name. False, and an empty note, for a file that can't be read, has more than
    // kLargestFile bytes, or is no note of the form that it begins as.
    bool ReadFromFile(const WCHAR* path);
    static constexpr DWORD kLargestFile = 8u << 20;
    // A path of 5 to 260 characters. The file is whole or as it was. A folder that can't be written is replaced by that of
    // the documents; when that fails too, the user is told. Gives the file's object id, 0 on failure.
    DWORD WriteToFile(const WCHAR* path, UINT format) const;

    // --- Editing --------------------------------------------------------------------------------------------------
    // Refused while read-only, as are Undo and SetProperties. The caret stands behind the text.
    bool InsertText(const WCHAR* text);
    bool Undo(); // takes the last insertion back; false when there is none left
    bool CanUndo() const { return !m_undo.empty(); }
    // Both are cut to the text. 998 to 999 is where the last insertion ended, unless the note is that long.
    void SetSel(LONG begin, LONG end);
    void GetSel(LONG& begin, LONG& end) const;
    // Selects the first place behind the selection, else the first of all.
    bool Find(const WCHAR* text, bool bCase);
    INKPROPERTIES GetProperties() const;
    bool SetProperties(const INKPROPERTIES& properties); // can't be undone
    void SetReadOnly(bool bReadOnly) { m_bReadOnly = bReadOnly; }
    bool IsReadOnly() const { return m_bReadOnly; }
    void SetZoom(int percent); // from 25 to 400
    int GetZoom() const { return m_nZoom; }

    const InkDocument& GetDocument() const { return m_document; }

private:
    // What to put back into the place of what was inserted.
    struct Step {
        std::size_t begin;
        std::size_t end;
        InkText removed;
    };
    void Restart();
    void SelectFormat();

    InkDocument m_document;
    std::vector<Step> m_undo; // the last one behind
    std::size_t m_begin = 0;  // of the selection
    std::size_t m_end = 0;
    std::size_t m_insertEnd = 0; // of the last insertion
    InkFormat m_format;          // of what is inserted next
    bool m_bReadOnly = false;
    int m_nZoom = 100;
};
