#include "NorvoUI/inkdocument.h"

#include "Platform/strings.h"

#include <algorithm>
#include <functional>

namespace {

constexpr WCHAR kLineEnd = u'\r';
constexpr WCHAR kBlockMark = 0xFFFC;
constexpr std::size_t kMostFaces = 1000;
constexpr std::size_t kLongestFace = 200; // units of a name
constexpr WCHAR kDefaultFace[] = u"Tahoma";

std::size_t LineEnds(std::u16string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), kLineEnd));
}

// Every kind of line end becomes ours; zeros, which would end the text of others, go.
std::u16string WithOurLineEnds(std::u16string_view text) {
    std::u16string ours;
    ours.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\n')
            ours += kLineEnd;
        else if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            continue; // the line feed behind it counts
        else if (text[i] != 0)
            ours += text[i];
    }
    return ours;
}

void AddSpan(std::vector<InkText::Span>& spans, std::size_t begin, const InkFormat& format) {
    if (!spans.empty() && spans.back().begin == begin) spans.pop_back();
    if (spans.empty() || spans.back().format != format) spans.push_back({begin, format});
}

// The spans of a range, moved to `to`.
void CopySpans(const InkText& from, std::size_t begin, std::size_t end, std::size_t to,
               std::vector<InkText::Span>& out) {
    if (begin >= end) return;
    for (std::size_t i = from.SpanAt(begin); i < from.spans.size() && from.spans[i].begin < end; ++i)
        AddSpan(out, std::max(from.spans[i].begin, begin) - begin + to, from.spans[i].format);
}

// Letters alike whatever their case, unit by unit.
std::u16string Folded(std::u16string_view text) {
    std::u16string folded(text);
    for (WCHAR& unit : folded) unit = towlower(unit);
    return folded;
}

} // namespace

std::size_t InkText::SpanAt(std::size_t position) const {
    const auto behind = std::ranges::upper_bound(spans, position, {}, &Span::begin);
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(behind - spans.begin(), 1) - 1);
}

void InkDocument::Clear() {
    m_ink = {{}, {{0, InkFormat{}}}, {InkAlign::Left}};
    m_faces.assign(1, kDefaultFace);
    m_blocks.clear();
}

// --- What stands in it --------------------------------------------------------------------------------------------

std::u16string InkDocument::GetPlainText() const {
    std::u16string text;
    text.reserve(m_ink.text.size());
    for (std::size_t i = 0; i < m_ink.spans.size(); ++i) {
        if (m_ink.spans[i].format.block >= 0) continue;
        const std::size_t begin = m_ink.spans[i].begin;
        const std::size_t end = i + 1 < m_ink.spans.size() ? m_ink.spans[i + 1].begin : m_ink.text.size();
        for (const WCHAR unit : std::u16string_view(m_ink.text).substr(begin, end - begin)) {
            text += unit;
            if (unit == kLineEnd) text += u'\n';
        }
    }
    return text;
}

std::vector<InkParagraph> InkDocument::GetParagraphs() const {
    const std::u16string_view text = m_ink.text;
    std::vector<InkParagraph> paragraphs(m_ink.aligns.size());
    std::size_t at = 0, span = 0;
    for (std::size_t i = 0; i < paragraphs.size(); ++i, ++at) {
        paragraphs[i].align = m_ink.aligns[i];
        const std::size_t end = std::min(text.find(kLineEnd, at), text.size());
        while (at < end) {
            while (span + 1 < m_ink.spans.size() && m_ink.spans[span + 1].begin <= at) ++span;
            const std::size_t next =
                span + 1 < m_ink.spans.size() ? std::min(m_ink.spans[span + 1].begin, end) : end;
            paragraphs[i].runs.push_back({text.substr(at, next - at), m_ink.spans[span].format});
            at = next;
        }
    }
    return paragraphs;
}

InkFormat InkDocument::GetFormat(std::size_t position) const {
    if (position >= m_ink.text.size() && !m_ink.text.empty()) position = m_ink.text.size() - 1;
    return m_ink.spans[m_ink.SpanAt(position)].format;
}

std::size_t InkDocument::ParagraphOf(std::size_t position) const {
    return LineEnds(std::u16string_view(m_ink.text).substr(0, position));
}

InkAlign InkDocument::GetAlign(std::size_t position) const { return m_ink.aligns[ParagraphOf(position)]; }

std::size_t InkDocument::Find(std::u16string_view text, std::size_t from, bool bCase) const {
    if (text.empty() || from >= m_ink.text.size()) return m_ink.text.npos;
    const std::u16string folded = bCase ? std::u16string() : Folded(m_ink.text);
    const std::u16string& where = bCase ? m_ink.text : folded;
    const std::u16string wanted = bCase ? std::u16string(text) : Folded(text);
    const auto found = std::search(where.begin() + static_cast<std::ptrdiff_t>(from), where.end(),
                                   std::boyer_moore_searcher(wanted.begin(), wanted.end()));
    return found == where.end() ? where.npos : static_cast<std::size_t>(found - where.begin());
}

// --- Changing -----------------------------------------------------------------------------------------------------

WORD InkDocument::AddFace(std::u16string_view name) {
    const auto found = std::find(m_faces.begin(), m_faces.end(), name);
    if (found == m_faces.end()) {
        if (m_faces.size() >= kMostFaces || name.empty() || name.size() > kLongestFace) return 0;
        m_faces.emplace_back(name);
        return static_cast<WORD>(m_faces.size() - 1);
    }
    return static_cast<WORD>(found - m_faces.begin());
}

LONG InkDocument::AddBlock(std::span<const BYTE> bytes) {
    m_blocks.emplace_back(bytes.begin(), bytes.end());
    return static_cast<LONG>(m_blocks.size() - 1);
}

void InkDocument::Append(std::u16string_view text, const InkFormat& format) {
    const std::u16string ours = WithOurLineEnds(text);
    if (ours.empty()) return;
    AddSpan(m_ink.spans, m_ink.text.size(), format);
    m_ink.text += ours;
    m_ink.aligns.insert(m_ink.aligns.end(), LineEnds(ours), m_ink.aligns.back());
}

void InkDocument::AppendBlock(LONG block, InkFormat format) {
    format.block = block;
    AddSpan(m_ink.spans, m_ink.text.size(), format);
    m_ink.text += kBlockMark;
}

void InkDocument::DropLastLineEnd() {
    const std::size_t length = m_ink.text.size();
    if (m_ink.text.ends_with(kLineEnd)) Replace(length - 1, length, Dress({}, length - 1));
}

InkText InkDocument::Dress(std::u16string_view text, std::size_t position) const {
    InkFormat format = GetFormat(position == 0 ? 0 : position - 1);
    format.block = -1;
    InkText ink{WithOurLineEnds(text), {{0, format}}, {}};
    ink.aligns.assign(LineEnds(ink.text) + 1, GetAlign(position));
    return ink;
}

InkText InkDocument::Slice(std::size_t begin, std::size_t end) const {
    InkText ink{m_ink.text.substr(begin, end - begin), {}, {}};
    CopySpans(m_ink, begin, end, 0, ink.spans);
    if (ink.spans.empty()) ink.spans.push_back({0, GetFormat(begin)});
    const auto first = m_ink.aligns.begin() + static_cast<std::ptrdiff_t>(ParagraphOf(begin));
    ink.aligns.assign(first, first + static_cast<std::ptrdiff_t>(LineEnds(ink.text)) + 1);
    return ink;
}

InkText InkDocument::Replace(std::size_t begin, std::size_t end, const InkText& ink) {
    end = std::min(end, m_ink.text.size());
    begin = std::min(begin, end);
    InkText removed = Slice(begin, end);
    std::vector<InkText::Span> spans;
    const std::size_t behind = begin + ink.text.size();
    CopySpans(m_ink, 0, begin, 0, spans);
    CopySpans(ink, 0, ink.text.size(), begin, spans);
    CopySpans(m_ink, end, m_ink.text.size(), behind, spans);
    if (spans.empty()) spans.push_back({0, ink.spans.empty() ? GetFormat(0) : ink.spans[0].format});
    const auto first = m_ink.aligns.begin() + static_cast<std::ptrdiff_t>(ParagraphOf(begin));
    const auto rest = m_ink.aligns.erase(first, first + static_cast<std::ptrdiff_t>(removed.aligns.size()));
    m_ink.aligns.insert(rest, ink.aligns.begin(), ink.aligns.end());
    m_ink.text.replace(begin, end - begin, ink.text);
    m_ink.spans = std::move(spans);
    return removed;
}

void InkDocument::SetFormat(std::size_t begin, std::size_t end, const InkFormat& format) {
    end = std::min(end, m_ink.text.size());
    if (begin >= end) return;
    InkText ink = Slice(begin, end);
    std::vector<InkText::Span> spans;
    for (const InkText::Span& span : ink.spans) {
        InkFormat changed = format;
        changed.block = span.format.block;
        AddSpan(spans, span.begin, changed);
    }
    ink.spans = std::move(spans);
    Replace(begin, end, ink);
}

void InkDocument::SetAlign(std::size_t begin, std::size_t end, InkAlign align) {
    const auto from = m_ink.aligns.begin();
    std::fill(from + static_cast<std::ptrdiff_t>(ParagraphOf(begin)),
              from + static_cast<std::ptrdiff_t>(ParagraphOf(end)) + 1, align);
}

void InkDocument::SetAligns(std::span<const InkAlign> aligns) {
    std::ranges::copy(aligns.first(std::min(aligns.size(), m_ink.aligns.size())), m_ink.aligns.begin());
}

// --- The forms of notes -------------------------------------------------------------------------------------------

namespace {

std::vector<BYTE> WideBytes(const std::u16string& text) {
    if (text.empty()) return {};
    std::vector<BYTE> bytes{0xFF, 0xFE};
    bytes.reserve(2 * text.size() + 2);
    for (const WCHAR unit : text) {
        bytes.push_back(static_cast<BYTE>(unit));
        bytes.push_back(static_cast<BYTE>(unit >> 8));
    }
    return bytes;
}

std::vector<BYTE> NarrowBytes(const std::u16string& text) {
    std::vector<BYTE> bytes(wcstombs(nullptr, text.c_str(), 0));
    wcstombs(reinterpret_cast<char*>(bytes.data()), text.c_str(), bytes.size());
    return bytes;
}

bool ReadRichOrInk(const BYTE* bytes, DWORD length, std::u16string& text) {
    InkDocument document;
    if (!document.Read({bytes, length}, kNoteByContent)) return false;
    text = document.GetPlainText();
    return true;
}

[[maybe_unused]] const bool g_registered = (PlatSetNoteReader(&ReadRichOrInk), true);

} // namespace

bool InkDocument::Read(std::span<const BYTE> bytes, UINT format) {
    Clear();
    const auto length = static_cast<DWORD>(bytes.size());
    if (format == kNoteByContent) format = GetBlobFormat(bytes.data(), length);
    bool good = false;
    if (format == kNoteRich) {
        good = ReadRichText(bytes, *this);
    } else if (format == kNoteInk) {
        good = ReadInkFile(bytes, *this);
    } else if (format == kNoteBytes || format == kNoteWide) {
        std::u16string text;
        good = PlatTextOfNote(bytes.data(), length, text, format);
        Append(text, InkFormat{});
    }
    if (!good) Clear();
    return good;
}

std::vector<BYTE> InkDocument::Write(UINT format) const {
    switch (format) {
    case kNoteBytes:
        return NarrowBytes(GetPlainText());
    case kNoteWide:
        return WideBytes(GetPlainText());
    case kNoteRich:
        return WriteRichText(*this);
    case kNoteInk:
        return WriteInkFile(*this);
    default:
        return {};
    }
}

bool IsNoteEmpty(const _CEBLOB* blob, bool bQuick) {
    constexpr std::size_t kShort = 15; // characters
    if (!blob || !blob->lpb || blob->dwCount == 0) return true;
    const BYTE* bytes = blob->lpb;
    const DWORD length = blob->dwCount;
    if (bQuick) return (length == kEmptyInkNote && GetBlobFormat(bytes, length) == kNoteInk) || bytes[0] == 0;
    std::u16string text;
    if (!PlatTextOfNote(bytes, length, text)) return false;
    const auto isSpace = [](WCHAR unit) { return iswctype(unit, kCharSpace) != 0; };
    return text.size() < kShort && std::all_of(text.begin(), text.end(), isSpace);
}
