// Rich text: the part of the published Rich Text Format that notes use. What is not known is passed over: control words
// without effect, groups that begin with "\*", and groups that hold no text of the note.
#include "NorvoUI/inkdocument.h"

#include "Platform/strings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>

namespace {

constexpr std::size_t kMostDepth = 200;    // deeper groups are read as if their braces weren't there
constexpr std::size_t kMostEntries = 1000; // of the tables of fonts and colours
constexpr LONG kNoParameter = INT32_MIN;

// --- Reading ------------------------------------------------------------------------------------------------------

class Reader {
public:
    Reader(std::span<const BYTE> bytes, InkDocument& document)
        : m_bytes(reinterpret_cast<const char*>(bytes.data()), bytes.size()), m_document(document) {}

    bool Read() {
        if (!m_bytes.starts_with("{\\rtf")) return false;
        while (m_at < m_bytes.size()) Step();
        Flush();
        m_document.DropLastLineEnd(); // the last paragraph is ended as all others are
        return true;
    }

private:
    enum class Place { Text, Fonts, Colors, Skipped };
    struct State {
        Place place = Place::Text;
        InkFormat format;
        InkAlign align = InkAlign::Left;
        LONG afterUnicode = 1; // characters that stand for a \u where none is known
    };
    struct Word {
        std::string_view name;
        LONG parameter = kNoParameter;
        LONG Or(LONG value) const { return parameter == kNoParameter ? value : parameter; }
        bool On() const { return Or(1) != 0; }
    };
    using Action = void (Reader::*)(const Word& word);

    void Step() {
        const char c = m_bytes[m_at++];
        if (c == '{')
            Open();
        else if (c == '}')
            Close();
        else if (c == '\\')
            Control();
        else if (c != '\r' && c != '\n' && c != 0)
            Byte(c, false);
    }

    // --- Groups ---
    void Open() {
        Flush();
        if (m_states.size() < kMostDepth)
            m_states.push_back(m_state);
        else
            ++m_tooDeep;
        m_toSkip = 0;
    }
    void Close() {
        Flush();
        if (m_state.place == Place::Fonts) EndFont();
        m_toSkip = 0;
        if (m_tooDeep > 0) {
            --m_tooDeep;
            return;
        }
        if (m_states.empty()) return;
        m_state = m_states.back();
        m_states.pop_back();
    }

    // --- Control words ---
    void Control() {
        if (m_at >= m_bytes.size()) return;
        const char c = m_bytes[m_at];
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) return ControlWord();
        ++m_at;
        switch (c) {
        case '\'':
            return HexByte();
        case '\\':
        case '{':
        case '}':
            return Byte(c, false);
        case '~':
            return Unit(0xA0);
        case '_':
            return Unit(0x2011);
        case '*':
            m_state.place = Place::Skipped;
            return;
        case '\r':
        case '\n':
            return Unit(u'\r');
        default:
            return; // optional hyphens, formulas, index entries
        }
    }

    void ControlWord() {
        Word word;
        const std::size_t begin = m_at;
        while (m_at < m_bytes.size() && ((m_bytes[m_at] | 0x20) >= 'a' && (m_bytes[m_at] | 0x20) <= 'z'))
            ++m_at;
        word.name = m_bytes.substr(begin, m_at - begin);
        const auto number =
            std::from_chars(m_bytes.data() + m_at, m_bytes.data() + m_bytes.size(), word.parameter);
        m_at = static_cast<std::size_t>(number.ptr - m_bytes.data());
        if (number.ec != std::errc()) word.parameter = kNoParameter;
        if (m_at < m_bytes.size() && m_bytes[m_at] == ' ') ++m_at;
        if (word.name == "bin") {
            m_at += std::min(static_cast<std::size_t>(std::max(word.Or(0), 0)), m_bytes.size() - m_at);
            return;
        }
        m_toSkip = 0; // what stands for a \u is characters: a word means what it says
        if (const Action action = ActionOf(word.name)) {
            Flush();
            (this->*action)(word);
        }
    }

    // By its name; null for a word without effect.
    static Action ActionOf(std::string_view name) {
        struct Entry {
            std::string_view name;
            Action action;
        };
        static constexpr Entry kActions[] = {
            {"annotation", &Reader::Skip},
            {"b", &Reader::Bold},
            {"bkmkend", &Reader::Skip},
            {"bkmkstart", &Reader::Skip},
            {"blue", &Reader::Blue},
            {"bullet", &Reader::Character},
            {"cell", &Reader::Tab},
            {"cf", &Reader::Color},
            {"colorschememapping", &Reader::Skip},
            {"colortbl", &Reader::ColorTable},
            {"datastore", &Reader::Skip},
            {"deff", &Reader::DefaultFont},
            {"emdash", &Reader::Character},
            {"endash", &Reader::Character},
            {"f", &Reader::Font},
            {"filetbl", &Reader::Skip},
            {"fldinst", &Reader::Skip},
            {"fonttbl", &Reader::FontTable},
            {"footer", &Reader::Skip},
            {"footerf", &Reader::Skip},
            {"footerl", &Reader::Skip},
            {"footerr", &Reader::Skip},
            {"footnote", &Reader::Skip},
            {"fs", &Reader::FontSize},
            {"generator", &Reader::Skip},
            {"green", &Reader::Green},
            {"header", &Reader::Skip},
            {"headerf", &Reader::Skip},
            {"headerl", &Reader::Skip},
            {"headerr", &Reader::Skip},
            {"i", &Reader::Italic},
            {"info", &Reader::Skip},
            {"latentstyles", &Reader::Skip},
            {"ldblquote", &Reader::Character},
            {"line", &Reader::Paragraph},
            {"listoverridetable", &Reader::Skip},
            {"listtable", &Reader::Skip},
            {"lquote", &Reader::Character},
            {"object", &Reader::Skip},
            {"par", &Reader::Paragraph},
            {"pard", &Reader::PlainParagraph},
            {"pict", &Reader::Skip},
            {"plain", &Reader::Plain},
            {"qc", &Reader::Center},
            {"qj", &Reader::PlainParagraph},
            {"ql", &Reader::PlainParagraph},
            {"qr", &Reader::ToTheRight},
            {"rdblquote", &Reader::Character},
            {"red", &Reader::Red},
            {"revtbl", &Reader::Skip},
            {"row", &Reader::Paragraph},
            {"rquote", &Reader::Character},
            {"rsidtbl", &Reader::Skip},
            {"sect", &Reader::Paragraph},
            {"strike", &Reader::Strike},
            {"stylesheet", &Reader::Skip},
            {"tab", &Reader::Tab},
            {"tc", &Reader::Skip},
            {"themedata", &Reader::Skip},
            {"u", &Reader::Unicode},
            {"uc", &Reader::AfterUnicode},
            {"ul", &Reader::Underline},
            {"ulnone", &Reader::NoUnderline},
            {"xe", &Reader::Skip},
            {"xmlnstbl", &Reader::Skip},
        };
        static_assert(std::ranges::is_sorted(kActions, {}, &Entry::name));
        const Entry* found = std::ranges::lower_bound(kActions, name, {}, &Entry::name);
        return found != std::end(kActions) && found->name == name ? found->action : nullptr;
    }

    void Skip(const Word&) { m_state.place = Place::Skipped; }
    void Paragraph(const Word&) { Unit(u'\r'); }
    void Tab(const Word&) { Unit(u'\t'); }
    void Style(BYTE bit, bool on) {
        m_state.format.style =
            static_cast<BYTE>(on ? m_state.format.style | bit : m_state.format.style & ~bit);
    }
    void Bold(const Word& word) { Style(kInkBold, word.On()); }
    void Italic(const Word& word) { Style(kInkItalic, word.On()); }
    void Underline(const Word& word) { Style(kInkUnderline, word.On()); }
    void NoUnderline(const Word&) { Style(kInkUnderline, false); }
    void Strike(const Word& word) { Style(kInkStrike, word.On()); }
    void Plain(const Word&) {
        m_state.format = {};
        m_state.format.face = FaceOf(m_defaultFont);
    }
    void PlainParagraph(const Word&) { m_state.align = InkAlign::Left; }
    void Center(const Word&) { m_state.align = InkAlign::Center; }
    void ToTheRight(const Word&) { m_state.align = InkAlign::Right; }
    void FontSize(const Word& word) {
        m_state.format.halfPoints = static_cast<WORD>(
            std::clamp<LONG>(word.Or(InkFormat{}.halfPoints), kLeastHalfPoints, kMostHalfPoints));
    }
    void AfterUnicode(const Word& word) { m_state.afterUnicode = std::clamp(word.Or(1), 0, 100); }
    void Unicode(const Word& word) {
        Unit(static_cast<WCHAR>(word.Or(0)));
        m_toSkip = m_state.afterUnicode;
    }
    void Character(const Word& word) {
        constexpr std::pair<std::string_view, WCHAR> kCharacters[] = {
            {"emdash", 0x2014}, {"endash", 0x2013},    {"bullet", 0x2022},   {"lquote", 0x2018},
            {"rquote", 0x2019}, {"ldblquote", 0x201C}, {"rdblquote", 0x201D}};
        for (const auto& [name, unit] : kCharacters)
            if (name == word.name) Unit(unit);
    }

    // --- Tables ---
    void FontTable(const Word&) { m_state.place = Place::Fonts; }
    void ColorTable(const Word&) {
        m_state.place = Place::Colors;
        m_color = kInkAutoColor;
    }
    void Font(const Word& word) {
        if (m_state.place == Place::Fonts)
            m_font = word.Or(0);
        else
            m_state.format.face = FaceOf(word.Or(0));
    }
    void DefaultFont(const Word& word) { m_defaultFont = word.Or(0); }
    void EndFont() {
        if (!m_fontName.empty() && m_fontEntries < kMostEntries) {
            ++m_fontEntries;
            const WORD face = m_document.AddFace(m_fontName);
            m_fonts.emplace(m_font, face);
            // The table comes behind \deff: what follows it begins in that font.
            if (m_font == m_defaultFont)
                for (State& state : m_states) state.format.face = face;
        }
        m_fontName.clear();
    }
    WORD FaceOf(LONG font) const {
        const auto found = m_fonts.find(font);
        return found == m_fonts.end() ? WORD{0} : found->second;
    }
    void Component(const Word& word, int shift) {
        if (m_color == kInkAutoColor) m_color = 0;
        m_color |= static_cast<COLORREF>(std::clamp(word.Or(0), 0, 255)) << shift;
    }
    void Red(const Word& word) { Component(word, 0); }
    void Green(const Word& word) { Component(word, 8); }
    void Blue(const Word& word) { Component(word, 16); }
    void Color(const Word& word) {
        const auto index = static_cast<std::size_t>(std::max(word.Or(0), 0));
        m_state.format.color = index < m_colors.size() ? m_colors[index] : kInkAutoColor;
    }

    // --- Text ---
    void HexByte() {
        unsigned value = 0;
        const std::size_t end = std::min(m_at + 2, m_bytes.size());
        const auto parsed = std::from_chars(m_bytes.data() + m_at, m_bytes.data() + end, value, 16);
        m_at = static_cast<std::size_t>(parsed.ptr - m_bytes.data());
        if (parsed.ec == std::errc() && value != 0) Byte(static_cast<char>(value), true);
    }
    // Bytes wait until something else comes, since a character may take several of them. Those that are written as
    // numbers are windows-1252, the others in the code page of the device.
    void Byte(char byte, bool bNumber) {
        if (m_toSkip > 0) {
            --m_toSkip;
            return;
        }
        if (m_state.place == Place::Skipped) return;
        if (m_state.place == Place::Colors) {
            if (byte == ';') EndColor();
            return;
        }
        if (m_state.place == Place::Fonts && byte == ';') {
            Flush();
            return EndFont();
        }
        if (bNumber != m_pendingNumbers) Flush();
        m_pendingNumbers = bNumber;
        m_pending += byte;
    }
    void EndColor() {
        if (m_colors.size() < kMostEntries) m_colors.push_back(m_color);
        m_color = kInkAutoColor;
    }
    void Unit(WCHAR unit) {
        if (m_toSkip > 0) {
            --m_toSkip;
            return;
        }
        Flush();
        Text({&unit, 1});
    }
    void Flush() {
        if (m_pending.empty()) return;
        const UINT page = m_pendingNumbers ? CP_1252 : CP_ACP;
        const auto size = static_cast<int>(m_pending.size());
        m_wide.resize(
            static_cast<std::size_t>(MultiByteToWideChar(page, 0, m_pending.data(), size, nullptr, 0)));
        MultiByteToWideChar(page, 0, m_pending.data(), size, m_wide.data(), static_cast<int>(m_wide.size()));
        m_pending.clear();
        Text(m_wide);
    }
    // A paragraph is aligned as its end is.
    void Text(std::u16string_view text) {
        if (m_state.place == Place::Fonts) m_fontName += text;
        if (m_state.place != Place::Text) return;
        m_document.SetLastAlign(m_state.align);
        m_document.Append(text, m_state.format);
        m_document.SetLastAlign(m_state.align);
    }

    const std::string_view m_bytes;
    InkDocument& m_document;
    std::size_t m_at = 0;
    State m_state;
    std::vector<State> m_states;
    std::size_t m_tooDeep = 0;
    LONG m_toSkip = 0; // characters behind a \u
    std::string m_pending;
    bool m_pendingNumbers = false;
    std::u16string m_wide; // scratch of Flush
    std::unordered_map<LONG, WORD> m_fonts;
    std::size_t m_fontEntries = 0;
    LONG m_defaultFont = 0;
    LONG m_font = 0;
    std::u16string m_fontName;
    std::vector<COLORREF> m_colors;
    COLORREF m_color = kInkAutoColor;
};

// --- Writing ------------------------------------------------------------------------------------------------------

class Writer {
public:
    explicit Writer(const InkDocument& document) : m_document(document) {}

    std::vector<BYTE> Write() {
        const std::vector<InkParagraph> paragraphs = m_document.GetParagraphs();
        for (const InkParagraph& paragraph : paragraphs)
            for (const InkRun& run : paragraph.runs) ColorIndex(run.format.color);
        Head();
        for (const InkParagraph& paragraph : paragraphs) WriteParagraph(paragraph);
        m_out += '}';
        return {m_out.begin(), m_out.end()};
    }

private:
    void Word(std::string_view name, LONG parameter) {
        (m_out += '\\').append(name) += std::to_string(parameter);
    }

    void Head() {
        m_out = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1{\\fonttbl";
        LONG number = 0;
        for (const std::u16string& face : m_document.GetFaces()) {
            m_out += '{';
            Word("f", number++);
            m_out += "\\fnil ";
            Text(face);
            m_out += ";}";
        }
        m_out += "}{\\colortbl;";
        for (const COLORREF color : m_colors) {
            Word("red", static_cast<BYTE>(color));
            Word("green", static_cast<BYTE>(color >> 8));
            Word("blue", static_cast<BYTE>(color >> 16));
            m_out += ';';
        }
        m_out += "}\r\n";
    }

    void WriteParagraph(const InkParagraph& paragraph) {
        constexpr std::array<std::string_view, 3> kAligns{"\\pard", "\\pard\\qc", "\\pard\\qr"};
        m_out += kAligns[static_cast<std::size_t>(paragraph.align)];
        for (const InkRun& run : paragraph.runs) {
            if (run.format.block >= 0) continue; // this form has no pen strokes
            Format(run.format);
            Text(run.text);
        }
        m_out += "\\par ";
    }

    void Format(const InkFormat& format) {
        m_out += "\\plain";
        Word("f", format.face);
        Word("fs", format.halfPoints);
        if (format.color != kInkAutoColor) Word("cf", ColorIndex(format.color));
        constexpr std::pair<BYTE, std::string_view> kStyles[] = {
            {kInkBold, "\\b"}, {kInkItalic, "\\i"}, {kInkUnderline, "\\ul"}, {kInkStrike, "\\strike"}};
        for (const auto& [bit, word] : kStyles)
            if (format.style & bit) m_out += word;
        m_out += ' ';
    }

    void Text(std::u16string_view text) {
        for (const WCHAR unit : text) {
            if (unit == u'\t') {
                m_out += "\\tab ";
            } else if (unit >= 0x80 || unit < 0x20) {
                Word("u", static_cast<SHORT>(unit));
                m_out += '?';
            } else {
                if (unit == u'\\' || unit == u'{' || unit == u'}') m_out += '\\';
                m_out += static_cast<char>(unit);
            }
        }
    }

    // From 1; a colour that is new joins the table.
    LONG ColorIndex(COLORREF color) {
        if (color == kInkAutoColor) return 0;
        const auto [found, isNew] = m_colorIndex.emplace(color, static_cast<LONG>(m_colors.size() + 1));
        if (isNew) m_colors.push_back(color);
        return found->second;
    }

    const InkDocument& m_document;
    std::string m_out;
    std::vector<COLORREF> m_colors;
    std::unordered_map<COLORREF, LONG> m_colorIndex;
};

} // namespace

bool ReadRichText(std::span<const BYTE> bytes, InkDocument& document) {
    return Reader(bytes, document).Read();
}

std::vector<BYTE> WriteRichText(const InkDocument& document) { return Writer(document).Write(); }
