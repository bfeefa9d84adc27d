// A rich note as paragraphs of runs: what the ink control edits, and what reads and writes the forms of notes. It has no
// window. A document belongs to one thread at a time.
//
// Positions count characters; the end of a paragraph is one character. The text keeps it as U+000D; plain text has "\r\n".
// Pen strokes are opaque blocks, each standing in the text as one character that plain text leaves out.
#pragma once

#include "Platform/databases.h"
#include "Platform/notetext.h"
#include "Platform/types.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

inline constexpr BYTE kInkBold = 1;
inline constexpr BYTE kInkItalic = 2;
inline constexpr BYTE kInkUnderline = 4;
inline constexpr BYTE kInkStrike = 8;
inline constexpr BYTE kInkStyles = 15; // all of them
inline constexpr WORD kLeastHalfPoints = 2, kMostHalfPoints = 1000;
inline constexpr COLORREF kInkAutoColor = 0xFF000000; // the colour of text on the screen

struct InkFormat {
    WORD face = 0; // index into the faces of the document
    WORD halfPoints = 20;
    BYTE style = 0; // kInkBold ...
    COLORREF color = kInkAutoColor;
    LONG block = -1; // of a character that stands for pen strokes: index into the blocks of the document

    friend bool operator==(const InkFormat&, const InkFormat&) = default;
};

enum class InkAlign : BYTE { Left, Center, Right };

// Text with its formats, apart from a document: what is cut out of one and put into one.
struct InkText {
    // From here on to the next span.
    struct Span {
        std::size_t begin;
        InkFormat format;
    };
    std::u16string text;
    std::vector<Span> spans;      // ascending; the first begins at 0; neighbours differ
    std::vector<InkAlign> aligns; // one for each paragraph

    std::size_t SpanAt(std::size_t position) const; // index
};

// Views into a document, good until it changes.
struct InkRun {
    std::u16string_view text;
    InkFormat format;
};
struct InkParagraph {
    InkAlign align = InkAlign::Left;
    std::vector<InkRun> runs;
};

class QN_API InkDocument {
public:
    InkDocument() { Clear(); }
    void Clear();

    // --- What stands in it ----------------------------------------------------------------------------------------
    bool IsEmpty() const { return m_ink.text.empty(); }
    std::size_t GetLength() const { return m_ink.text.size(); }
    const InkText& GetInk() const { return m_ink; }
    std::u16string GetPlainText() const;
    std::vector<InkParagraph> GetParagraphs() const;
    InkFormat GetFormat(std::size_t position) const; // of the character there; at the end of the last one
    InkAlign GetAlign(std::size_t position) const;
    const std::vector<std::u16string>& GetFaces() const { return m_faces; } // the first is the default
    const std::vector<std::vector<BYTE>>& GetBlocks() const { return m_blocks; }
    // The first place from `from` on, npos for none; without regard to case unless bCase. Time is linear.
    std::size_t Find(std::u16string_view text, std::size_t from, bool bCase) const;

    // --- Changing -------------------------------------------------------------------------------------------------
    WORD
    AddFace(std::u16string_view name); // the index, also of a face that is there; 0 when there are too many
    LONG AddBlock(std::span<const BYTE> bytes);
    // Plain text at the end; any line end begins a paragraph, aligned as the last one.
    void Append(std::u16string_view text, const InkFormat& format);
    void AppendBlock(LONG block, InkFormat format);
    void SetLastAlign(InkAlign align) { m_ink.aligns.back() = align; }
    void DropLastLineEnd(); // of a last paragraph that is empty
    // Plain text as it would stand at `position` of this document: with the format before it.
    InkText Dress(std::u16string_view text, std::size_t position) const;
    // Puts the ink into the place of a range, and gives what stood there: putting that back undoes it.
    InkText Replace(std::size_t begin, std::size_t end, const InkText& ink);
    // The block of the format is not taken over.
    void SetFormat(std::size_t begin, std::size_t end, const InkFormat& format);
    void SetAlign(std::size_t begin, std::size_t end, InkAlign align);
    void SetAligns(std::span<const InkAlign> aligns); // of the first paragraphs

    // --- The forms of notes ---------------------------------------------------------------------------------------
    // Any bytes; false, and an empty document, for bytes that are no note of that form. Depth and counts are bounded, the
    // time is linear. Texts end at a zero.
    bool Read(std::span<const BYTE> bytes, UINT format);
    // Empty for an unknown format. UTF-16 has its mark; rich text ends in "\par }"; an empty note has no text in the
    // first two forms, and kEmptyInkNote bytes as ink, which no other ink note has.
    std::vector<BYTE> Write(UINT format) const;

private:
    std::size_t ParagraphOf(std::size_t position) const;
    InkText Slice(std::size_t begin, std::size_t end) const;

    InkText m_ink;
    std::vector<std::u16string> m_faces;
    std::vector<std::vector<BYTE>> m_blocks;
};

// The readers and writers behind Read and Write. Each reads into an empty document.
bool ReadRichText(std::span<const BYTE> bytes, InkDocument& document); // inkrtf.cpp
std::vector<BYTE> WriteRichText(const InkDocument& document);
bool ReadInkFile(std::span<const BYTE> bytes, InkDocument& document); // inkfile.cpp
std::vector<BYTE> WriteInkFile(const InkDocument& document);

// Whether a note holds nothing: null, no text, or a short one of white space alone. With bQuick by size and first bytes
// alone. What can't be read isn't empty.
QN_API bool IsNoteEmpty(const _CEBLOB* blob, bool bQuick);
