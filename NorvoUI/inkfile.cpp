// The ink form of a note, which is this suite's own. Little-endian:
//
//     5 bytes "{\pwi", version, two zero bytes
//     how many: text units, faces, spans, paragraphs, blocks (32 bits each)
//     text; faces (length in units in 16 bits, text); spans (begin, colour, block in 32 bits, face and half points in 16,
//     style, zero); alignments, a byte a paragraph; blocks (size in 32 bits, bytes); zeros
//
// The zeros fill an empty note up to kEmptyInkNote bytes, and keep every other note at an even size that is not that one:
// who asks only for the size of a note relies on it.
#include "NorvoUI/inkdocument.h"

#include <algorithm>

namespace {

constexpr std::string_view kMagic = "{\\pwi";
constexpr BYTE kVersion = 1;
constexpr std::size_t kSpanBytes = 18;
constexpr DWORD kMostFaces = 1000;

class Cursor {
public:
    explicit Cursor(std::span<const BYTE> bytes) : m_bytes(bytes) {}

    // Zero behind the end, after which Failed.
    DWORD Number(int bytes) {
        DWORD value = 0;
        for (const BYTE byte : Bytes(static_cast<std::size_t>(bytes))) value = value >> 8 | DWORD{byte} << 24;
        return value >> (32 - 8 * bytes);
    }
    std::span<const BYTE> Bytes(std::size_t count) {
        if (count > m_bytes.size()) {
            m_bFailed = true;
            count = 0;
        }
        const auto taken = m_bytes.first(count);
        m_bytes = m_bytes.subspan(count);
        return taken;
    }
    std::u16string Text(std::size_t units) {
        const auto bytes = Bytes(units > m_bytes.size() / 2 ? m_bytes.size() + 1 : 2 * units);
        std::u16string text(bytes.size() / 2, u'\0');
        for (std::size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<WCHAR>(bytes[2 * i] | bytes[2 * i + 1] << 8);
        return text;
    }
    // Whether so many things of at least this size can follow.
    bool Holds(DWORD count, std::size_t size) const { return count <= m_bytes.size() / size; }
    bool Failed() const { return m_bFailed; }

private:
    std::span<const BYTE> m_bytes;
    bool m_bFailed = false;
};

// The parts of a file, before they are a document.
struct Parts {
    std::u16string text;
    std::vector<std::u16string> faces;
    std::vector<InkText::Span> spans;
    std::vector<InkAlign> aligns;
    std::vector<std::span<const BYTE>> blocks;
};

InkText::Span ReadSpan(Cursor& in, DWORD faces) {
    InkText::Span span{in.Number(4), {}};
    span.format.color = in.Number(4);
    span.format.block = static_cast<LONG>(in.Number(4));
    const DWORD face = in.Number(2);
    span.format.face = static_cast<WORD>(face < faces ? face : 0);
    span.format.halfPoints =
        static_cast<WORD>(std::clamp<DWORD>(in.Number(2), kLeastHalfPoints, kMostHalfPoints));
    span.format.style = static_cast<BYTE>(in.Number(1) & kInkStyles);
    in.Number(1);
    return span;
}

bool ReadParts(std::span<const BYTE> bytes, Parts& parts) {
    Cursor in(bytes);
    in.Bytes(kMagic.size());
    if (in.Number(1) != kVersion) return false;
    in.Number(2);
    const DWORD units = in.Number(4), faces = in.Number(4), spans = in.Number(4), paragraphs = in.Number(4),
                blocks = in.Number(4);
    parts.text = in.Text(units);
    if (!in.Holds(faces, 2) || faces > kMostFaces) return false;
    for (DWORD i = 0; i < faces; ++i) parts.faces.push_back(in.Text(in.Number(2)));
    if (!in.Holds(spans, kSpanBytes)) return false;
    for (DWORD i = 0; i < spans; ++i) parts.spans.push_back(ReadSpan(in, faces));
    if (!std::ranges::is_sorted(parts.spans, {}, &InkText::Span::begin)) return false;
    if (parts.spans.empty()) parts.spans.push_back({0, {}});
    for (const BYTE align : in.Bytes(paragraphs))
        parts.aligns.push_back(align <= static_cast<BYTE>(InkAlign::Right) ? InkAlign{align}
                                                                           : InkAlign::Left);
    if (!in.Holds(blocks, 4)) return false;
    for (DWORD i = 0; i < blocks; ++i) parts.blocks.push_back(in.Bytes(in.Number(4)));
    return !in.Failed();
}

// Piece by piece, so that whatever the file says the document is whole, and has all of its text.
void Assemble(const Parts& parts, InkDocument& document) {
    const std::u16string_view text = parts.text;
    std::vector<WORD> faces;
    for (const std::u16string& face : parts.faces) faces.push_back(document.AddFace(face));
    for (const auto& block : parts.blocks) document.AddBlock(block);
    std::size_t end = 0;
    for (std::size_t i = 0; i < parts.spans.size(); ++i) {
        const InkFormat& format = parts.spans[i].format;
        const std::size_t begin = end; // a first span that comes late counts from the start
        end = i + 1 < parts.spans.size() ? std::min(parts.spans[i + 1].begin, text.size()) : text.size();
        InkFormat own = format;
        own.face = own.face < faces.size() ? faces[own.face] : WORD{0};
        own.block = -1;
        if (format.block >= 0 && static_cast<std::size_t>(format.block) < parts.blocks.size())
            for (std::size_t at = begin; at < end; ++at) document.AppendBlock(format.block, own);
        else
            document.Append(text.substr(begin, end - begin), own);
    }
    document.SetAligns(parts.aligns);
}

void Put(std::vector<BYTE>& out, DWORD value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<BYTE>(value >> (8 * i)));
}
void Put(std::vector<BYTE>& out, std::u16string_view text) {
    for (const WCHAR unit : text) Put(out, unit, 2);
}
void Put(std::vector<BYTE>& out, const InkText::Span& span) {
    Put(out, static_cast<DWORD>(span.begin), 4);
    Put(out, span.format.color, 4);
    Put(out, static_cast<DWORD>(span.format.block), 4);
    Put(out, span.format.face, 2);
    Put(out, span.format.halfPoints, 2);
    Put(out, span.format.style, 2);
}

} // namespace

bool ReadInkFile(std::span<const BYTE> bytes, InkDocument& document) {
    if (bytes.size() < kMagic.size() || !std::equal(kMagic.begin(), kMagic.end(), bytes.begin()))
        return false;
    if (bytes.size() == kEmptyInkNote) return true; // also one of another program
    Parts parts;
    if (!ReadParts(bytes, parts)) return false;
    Assemble(parts, document);
    return true;
}

std::vector<BYTE> WriteInkFile(const InkDocument& document) {
    std::vector<BYTE> out(kMagic.begin(), kMagic.end());
    if (!document.IsEmpty()) {
        const InkText& ink = document.GetInk();
        Put(out, kVersion, 3);
        for (const std::size_t count : {ink.text.size(), document.GetFaces().size(), ink.spans.size(),
                                        ink.aligns.size(), document.GetBlocks().size()})
            Put(out, static_cast<DWORD>(count), 4);
        Put(out, ink.text);
        for (const std::u16string& face : document.GetFaces()) {
            Put(out, static_cast<DWORD>(face.size()), 2);
            Put(out, face);
        }
        for (const InkText::Span& span : ink.spans) Put(out, span);
        for (const InkAlign align : ink.aligns) out.push_back(static_cast<BYTE>(align));
        for (const auto& block : document.GetBlocks()) {
            Put(out, static_cast<DWORD>(block.size()), 4);
            out.insert(out.end(), block.begin(), block.end());
        }
        out.resize(out.size() + out.size() % 2);
        if (out.size() == kEmptyInkNote) out.resize(out.size() + 2);
    } else {
        out.resize(kEmptyInkNote);
    }
    return out;
}
