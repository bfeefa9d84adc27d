// Rich notes: how their form is told, each form in and out, editing with undo, files.
#include "NorvoUI/CeInkCtrl.h"
#include "Platform/memory.h"
#include "tests/support/devicefiles.h"
#include "tests/support/narrow.h"

#include <cstring>

namespace {

using namespace std::string_literals;

std::span<const BYTE> Bytes(const std::string& bytes) {
    return {reinterpret_cast<const BYTE*>(bytes.data()), bytes.size()};
}
std::string AsText(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }

InkDocument Read(const std::string& bytes, UINT format = kNoteByContent) {
    InkDocument document;
    document.Read(Bytes(bytes), format);
    return document;
}
std::string Plain(const InkDocument& document) { return Narrow(document.GetPlainText().c_str()); }

// "<center>plain[bold 24 ff0000 Face]|..." with "|" between paragraphs and what isn't the default in brackets before it.
std::string Dump(const InkDocument& document) {
    std::string text;
    for (const InkParagraph& paragraph : document.GetParagraphs()) {
        if (!text.empty()) text += '|';
        text += paragraph.align == InkAlign::Left ? "" : paragraph.align == InkAlign::Center ? "<c>" : "<r>";
        for (const InkRun& run : paragraph.runs) {
            std::string marks;
            const char letters[] = {'b', 'i', 'u', 's'};
            for (int bit = 0; bit < 4; ++bit)
                if (run.format.style & 1 << bit) marks += letters[bit];
            if (run.format.halfPoints != 20) marks += " " + std::to_string(run.format.halfPoints);
            char color[16];
            std::snprintf(color, sizeof color, " #%06x", run.format.color);
            if (run.format.color != kInkAutoColor) marks += color;
            if (run.format.face) marks += " " + Narrow(document.GetFaces()[run.format.face].c_str());
            if (run.format.block >= 0) marks += " pen" + std::to_string(run.format.block);
            text +=
                "[" + marks + "]" + (run.format.block >= 0 ? "" : Narrow(std::u16string(run.text).c_str()));
        }
    }
    return text;
}

TEST(NoteFormat, FirstBytesTell) {
    const struct {
        std::string bytes;
        UINT format;
    } kCases[] = {
        {"", kNoteBytes},
        {"{\\pwi12", kNoteInk},
        {"{\\pwi1", kNoteBytes}, // 6 bytes are not above 6
        {"{\\rtf1}", kNoteRich},
        {"{\\rtf1", kNoteBytes},
        {"\xFF\xFE"s + "a", kNoteWide},
        {"\xFE\xFF"s + "a", kNoteWide},
        {"\xFE"s + "abc", kNoteWide},
        {"a\0b"s, kNoteWide},
        {"a\0"s, kNoteBytes}, // two bytes: only the first is looked at
        {"\0a"s, kNoteWide},
        {"\0"s, kNoteBytes}, // one byte: none is
        {"abc\0defghijk"s, kNoteWide},
        {"abcdefghij\0k"s, kNoteBytes}, // the eleventh is not looked at
        {"abcd\0"s, kNoteBytes},        // nor is the last
        {"plain", kNoteBytes},
    };
    for (const auto& row : kCases)
        EXPECT_EQ(row.format, GetBlobFormat(Bytes(row.bytes).data(), static_cast<DWORD>(row.bytes.size())))
            << row.bytes;
}

TEST(NoteFormat, EmptyNotes) {
    const std::string empty = AsText(InkDocument().Write(kNoteInk));
    ASSERT_EQ(kEmptyInkNote, empty.size());
    const struct {
        std::string bytes;
        bool quick, whole;
    } kCases[] = {
        {"", true, true},
        {empty, true, true},
        {empty + '\0', false, false}, // no note of ours: it can't be read
        {"\0x"s, true, false},        // a letter far behind
        {" \r\n\t ", false, true},
        {std::string(15, ' '), false, false},
        {"x", false, false},
        {"{\\rtf1\\par }", false, true},
    };
    for (const auto& row : kCases) {
        std::string bytes = row.bytes;
        const CEBLOB blob{static_cast<DWORD>(bytes.size()), reinterpret_cast<BYTE*>(bytes.data())};
        EXPECT_EQ(row.quick, IsNoteEmpty(&blob, true)) << row.bytes;
        EXPECT_EQ(row.whole, IsNoteEmpty(&blob, false)) << row.bytes;
    }
    EXPECT_TRUE(IsNoteEmpty(nullptr, false));
}

TEST(InkDocument, PlainFormsInAndOut) {
    EXPECT_EQ("a\r\nb\r\nc\r\n", Plain(Read("a\r\nb\nc\r")));
    EXPECT_EQ("\xC3\xA4", Plain(Read("\xC3\xA4"))); // the code page
    EXPECT_EQ("\xC3\xA4z", Plain(Read("\xE4z")));   // what is none of it is windows-1252
    EXPECT_EQ("ab", Plain(Read("\xFF\xFE"
                               "a\0b\0"s))); // low byte first
    EXPECT_EQ("ab", Plain(Read("\xFE\xFF"
                               "\0a\0b"s)));    // high byte first
    EXPECT_EQ("a", Plain(Read("a\0\0\0b\0"s))); // a text ends at a zero
    const InkDocument document = Read("a\n\xC3\xA4");
    EXPECT_EQ("a\r\n\xC3\xA4", AsText(document.Write(kNoteBytes)));
    EXPECT_EQ("\xFF\xFE"
              "a\0\r\0\n\0\xE4\0"s,
              AsText(document.Write(kNoteWide)));
    EXPECT_TRUE(document.Write(5).empty());
    InkDocument other;
    EXPECT_FALSE(other.Read(Bytes("x"), 5));
}

TEST(RichText, IsReadAsItIsMeant) {
    const struct {
        const char* bytes; // behind "{\\rtf1"
        const char* expected;
    } kCases[] = {
        {" a\\par b\\par }", "[]a|[]b"},
        {" a\\par }", "[]a"},
        {" a\\par \\par }", "[]a|"},
        {"\\b x\\b0 y{\\i z}\\ul u\\ulnone\\strike s}", "[b]x[]y[i]z[u]u[s]s"},
        {"\\fs36 big\\plain small", "[ 36]big[]small"}, // the file may end anywhere
        {"{\\colortbl;\\red255\\green0\\blue16;}\\cf1 c\\cf0 d\\cf9 e}", "[ #1000ff]c[]de"},
        {"{\\fonttbl{\\f0\\fnil Tahoma;}{\\f3\\froman{\\*\\falt x}Serif;}}\\f3 s\\f0 t\\f7 u}",
         "[ Serif]s[]tu"},
        {"\\deff3{\\fonttbl{\\f3 Serif;}}d}", "[ Serif]d"},
        {"\\qc m\\par\\pard l\\par\\qr r\\par }", "<c>[]m|[]l|<r>[]r"},
        {"{\\qc m\\par}l", "<c>[]m|[]l"},
        {" \\'e4\\u1046?\\u-4?\\{\\}\\\\\\~\\tab x}", "[]\xC3\xA4\xD0\x96\xEF\xBF\xBC{}\\\xC2\xA0\tx"},
        {"\\uc2\\u1046\\'3f\\'3fx\\uc0\\u1046 y}", "[]\xD0\x96x\xD0\x96y"},
        {"\\u1046\\par b}", "[]\xD0\x96|[]b"}, // nothing stands for the character: the word counts
        {"{\\info{\\title no}}{\\stylesheet{a;}}{\\*\\x no}{\\pict 00ff}yes{\\nonsense kept}}", "[]yeskept"},
        {"\\bin3 }{\\a\r\nb}", "[]ab"},
        {" \xC3\xA4}", "[]\xC3\xA4"}, // bytes as they stand are of the code page
        {"{{{}}}}} tail", "[] tail"},
        {"\\emdash\\rquote}", "[]\xE2\x80\x94\xE2\x80\x99"},
        {"\\b99999999999 x\\u99999999999 ?}", "[b]x"},
    };
    for (const auto& row : kCases) EXPECT_EQ(row.expected, Dump(Read("{\\rtf1"s + row.bytes))) << row.bytes;
}

// Every kind of format, in one note.
InkDocument Colorful() {
    InkDocument document;
    InkFormat format;
    document.Append(u"plain {\\} \t\u0416\r\n", format);
    format = {document.AddFace(u"Serif"), 30, kInkBold | kInkStrike, 0x0000FF};
    document.Append(u"loud", format);
    format.style = kInkItalic | kInkUnderline;
    document.Append(u"soft", format);
    document.SetLastAlign(InkAlign::Right);
    document.Append(u"\r", format);
    document.SetLastAlign(InkAlign::Center);
    return document;
}

TEST(InkDocument, RichTextAndInkComeBackAsTheyWere) {
    InkDocument document = Colorful();
    const std::string dump = Dump(document);
    EXPECT_EQ("[]plain {\\} \t\xD0\x96|<r>[bs 30 #0000ff Serif]loud[iu 30 #0000ff Serif]soft|<c>", dump);
    const std::string rich = AsText(document.Write(kNoteRich));
    EXPECT_TRUE(rich.ends_with("\\par }")) << rich;
    EXPECT_EQ(dump, Dump(Read(rich)));
    EXPECT_EQ(dump, Dump(Read(AsText(document.Write(kNoteInk)))));

    const BYTE strokes[] = {1, 0, 7};
    const LONG block = document.AddBlock(strokes);
    document.AppendBlock(block, {});
    document.AppendBlock(block, {});
    document.Append(u"behind", {});
    const InkDocument again = Read(AsText(document.Write(kNoteInk)));
    EXPECT_EQ(dump + "[ pen0][]behind", Dump(again));
    EXPECT_EQ(document.GetLength(), again.GetLength());
    EXPECT_EQ(std::vector<BYTE>(strokes, strokes + 3), again.GetBlocks()[0]);
    EXPECT_EQ(Plain(document), "plain {\\} \t\xD0\x96\r\nloudsoft\r\nbehind");
}

TEST(InkDocument, OnlyAnEmptyNoteHasTheSizeOfAnEmptyOne) {
    for (int length = 1; length < 500; ++length) {
        InkDocument document;
        document.Append(std::u16string(static_cast<std::size_t>(length), u'x'), {});
        const std::vector<BYTE> bytes = document.Write(kNoteInk);
        ASSERT_NE(kEmptyInkNote, bytes.size());
        ASSERT_EQ(0u, bytes.size() % 2); // nor does rounding up lead there
        ASSERT_EQ(kNoteInk, GetBlobFormat(bytes.data(), static_cast<DWORD>(bytes.size())));
    }
}

TEST(InkDocument, DamagedInkIsRefused) {
    const std::string good = AsText(Colorful().Write(kNoteInk));
    InkDocument document;
    for (std::size_t size = 0; size < good.size() - 2; size += 3) {
        document.Append(u"old", {});
        EXPECT_FALSE(document.Read(Bytes(good.substr(0, size)), kNoteInk)) << size;
        EXPECT_TRUE(document.IsEmpty());
    }
    for (const std::size_t at : {8, 12, 16, 20, 24}) { // each count
        std::string bad = good;
        std::memset(bad.data() + at, 0xFF, 4);
        EXPECT_FALSE(document.Read(Bytes(bad), kNoteInk)) << at;
    }
}

TEST(InkDocument, InkWithWrongFormatsKeepsItsText) {
    InkDocument hello;
    hello.Append(u"hello", {});
    // Counts, then the text of 5 units, the face "Tahoma", and the span at 52.
    const struct {
        std::size_t at;
        std::string bytes;
        const char* expected;
    } kCases[] = {
        {52, "\x03"s, "[]hello"},             // a first span that comes late
        {52, "\xFF\xFF\xFF\xFF"s, "[]hello"}, // and one behind the end
        {16, "\0"s, "[]hello"},               // no span at all
        {60, "\x07\0\0\0"s, "[]hello"},       // a block that isn't there
        {64, "\x09"s, "[]hello"},             // nor is the face
        {66, "\0\0\xF4"s, "[u 2]hello"},      // a size and styles that are none
    };
    for (const auto& row : kCases) {
        std::string bytes = AsText(hello.Write(kNoteInk));
        bytes.replace(row.at, row.bytes.size(), row.bytes);
        EXPECT_EQ(row.expected, Dump(Read(bytes))) << row.at;
    }
}

TEST(InkDocument, HostileRichTextTakesLinearTime) {
    std::string deep = "{\\rtf1";
    for (int i = 0; i < 200000; ++i) deep += "{\\b";
    EXPECT_EQ("[b]x", Dump(Read(deep + " x")));
    std::string fonts = "{\\rtf1{\\fonttbl";
    for (int i = 0; i < 100000; ++i) fonts += "{\\f1 Name" + std::to_string(i) + ";}";
    EXPECT_EQ("[]x", Dump(Read(fonts + "}x}")).substr(0, 3));
    std::string turns = "{\\rtf1";
    for (int i = 0; i < 100000; ++i) turns += "\\b x\\b0 y\\par\\qc ";
    EXPECT_EQ(200000u + 100000u - 1u, Read(turns).GetLength());
}

TEST(InkCtrl, InsertsUndoesAndFinds) {
    CeInkCtrl ink;
    ink.SetText(u"one two\r\nthree");
    ink.SetSel(4, 7);
    EXPECT_TRUE(ink.InsertText(u"2\r\nnew"));
    EXPECT_EQ(u"one 2\r\nnew\r\nthree", ink.GetString());
    ink.SetSel(0, 0);
    ink.SetSel(998, 999); // behind what was inserted
    EXPECT_TRUE(ink.InsertText(u"er"));
    EXPECT_EQ(u"one 2\r\nnewer\r\nthree", ink.GetString());
    EXPECT_EQ(u"one 2", ink.GetString(11)); // bytes
    EXPECT_TRUE(ink.Undo() && ink.Undo());
    EXPECT_EQ(u"one two\r\nthree", ink.GetString());
    EXPECT_FALSE(ink.Undo());

    LONG begin, end;
    EXPECT_TRUE(ink.Find(u"T", false)); // behind "two", which came back selected
    ink.GetSel(begin, end);
    EXPECT_EQ(8, begin); // the end of a paragraph is one character
    EXPECT_TRUE(ink.Find(u"t", true));
    ink.GetSel(begin, end);
    EXPECT_EQ(4, begin); // from the start again
    EXPECT_FALSE(ink.Find(u"T", true));
    ink.SetSel(900, -3);
    ink.GetSel(begin, end);
    EXPECT_EQ("0 13", std::to_string(begin) + " " + std::to_string(end));
    ink.SetReadOnly(true);
    EXPECT_FALSE(ink.InsertText(u"x") || ink.SetProperties(ink.GetProperties()));
}

TEST(InkCtrl, FormatsStayWithTheirText) {
    CeInkCtrl ink;
    ink.SetText(u"one\r\ntwo");
    ink.SetSel(1, 5);
    INKPROPERTIES properties = ink.GetProperties();
    properties.bStyle = kInkBold;
    properties.align = InkAlign::Center;
    ink.SetProperties(properties);
    EXPECT_EQ("<c>[]o[b]ne|<c>[b]t[]wo", Dump(ink.GetDocument()));
    ink.SetSel(2, 2);
    ink.InsertText(u"X\nY");
    EXPECT_EQ("<c>[]o[b]nX|<c>[b]Ye|<c>[b]t[]wo", Dump(ink.GetDocument()));
    ink.SetSel(0, 5);
    ink.InsertText(u"");
    EXPECT_EQ("<c>[b]e|<c>[b]t[]wo", Dump(ink.GetDocument()));
    EXPECT_TRUE(ink.Undo() && ink.Undo());
    EXPECT_EQ("<c>[]o[b]ne|<c>[b]t[]wo", Dump(ink.GetDocument()));
}

class InkFiles : public DeviceFilesTest {};

TEST_F(InkFiles, AreReadByContentAndWrittenWhole) {
    Put("My Documents/a.txt", "plain");
    Put("My Documents/b.txt", "{\\rtf1 rich}");
    CeInkCtrl ink;
    EXPECT_TRUE(ink.ReadFromFile(u"\\My Documents\\b.txt"));
    EXPECT_EQ(u"rich", ink.GetString());
    EXPECT_NE(0u, ink.WriteToFile(u"\\My Documents\\a.txt", kNoteBytes));
    EXPECT_EQ("rich", Get("My Documents/a.txt"));
    EXPECT_NE(0u, ink.WriteToFile(u"\\Nowhere\\c.pwi", kNoteInk)); // into the documents
    EXPECT_TRUE(ink.ReadFromFile(u"\\My Documents\\c.pwi"));
    EXPECT_EQ(u"rich", ink.GetString());
    const std::u16string longest = u"\\My Documents\\" + std::u16string(59, 0x6F22) + u"\U0001F600" +
                                   std::u16string(23, 0x6F22) + u"-.pwi"; // 255 bytes
    for (int i = 0; i < 2; ++i) EXPECT_NE(0u, ink.WriteToFile(longest.c_str(), kNoteInk));
    EXPECT_EQ(0u, ink.WriteToFile(u"\\a.t", kNoteBytes));
    EXPECT_FALSE(ink.ReadFromFile(u"\\My Documents\\missing.txt"));
    EXPECT_TRUE(ink.GetDocument().IsEmpty());

    PlatInjectFault(PlatFault::FileWrite, 1, true);
    EXPECT_EQ(0u, ink.WriteToFile(u"\\My Documents\\a.txt", kNoteInk));
    EXPECT_EQ("rich", Get("My Documents/a.txt"));
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_NE(std::u16string::npos, boxes[0].text.find(u" File: \\My Documents\\a.txt"));

    const struct {
        const WCHAR* name;
        UINT format;
    } kNames[] = {{u"a.DOC", kNoteInk},
                  {u"a.pwi", kNoteInk},
                  {u"a.RTF", kNoteRich},
                  {u"a.txt", kNoteWide},
                  {u"x", kNoteInk}};
    for (const auto& row : kNames) EXPECT_EQ(row.format, CeInkCtrl::ParseFileFormat(row.name));
}

} // namespace
