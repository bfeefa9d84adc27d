// From the text to the tokens: the scanner (HTMLTokenizer.cpp) and the tag rules (HTMLTags.cpp). The parser's own.
#pragma once

#include "QNGridCtrl/HTMLParser.h"

#include <string_view>

// One pass over one text: the scanner, the tag rules and the record that is being filled.
class HTMLTokenizer {
public:
    using Text = std::u16string_view;

    explicit HTMLTokenizer(CHTMLParser& parser) : m_parser(parser), m_html(parser.m_pszHTML) {}

    // False without memory.
    bool Run();
    // What a text begins with, and /FONT goes back to.
    static LOGFONTW DefaultFont(BYTE quality);

private:
    // What a tag rule makes of the record.
    enum class Made { State, Break, Image, Span, EndSpan, Tab, Edge };
    using Apply = Made (HTMLTokenizer::*)(Text body);
    struct Rule {
        Text name;
        bool prefix; // the tag begins with the name; otherwise it is the name
        Apply apply;
    };
    struct Rules;

    WCHAR At(std::size_t i) const { return i < m_html.size() ? m_html[i] : 0; }
    bool Ended() const { return m_next >= m_html.size(); }

    void TakeBreak();
    void TakeControl();
    void TakeTag();
    void TakeText(std::size_t from, std::size_t searchFrom);
    std::size_t TagEnd(std::size_t from) const;
    std::size_t TextEnd(std::size_t from) const;
    static const Rule* RuleOf(Text body);

    void StoreMade(Made made, Text body);
    void TakeColors();
    void Store(TOKENTYPE type, Text text, UINT align);
    UINT LastAlign() const;
    tagNM_IMAGENOTIFY AskForImage(const WCHAR* name, std::size_t length) const;
    DWORD ImageSize(DWORD wanted, const tagNM_IMAGENOTIFY& answer) const;

    Made Break(Text) { return Made::Break; }
    Made Tab(Text) { return Made::Tab; }
    Made Edge(Text) { return Made::Edge; }
    Made Nothing(Text) { return Made::State; }
    Made Weight(LONG weight);
    Made Normal(Text) { return Weight(FW_NORMAL); }
    Made Bold(Text);
    Made Heavy(Text);
    template<BYTE LOGFONTW::*flag, BYTE value>
    Made Style(Text) {
        m_parser.m_lf.*flag = value;
        return Made::State;
    }
    Made SelectionColors(Text);
    Made DefaultColors(Text);
    Made Span(Text);
    Made EndSpan(Text);
    Made Editable(Text);
    Made NotEditable(Text);
    Made Image(Text body);
    Made Link(Text body);
    Made EndLink(Text);
    Made Paragraph(Text body);
    Made EndParagraph(Text);
    Made Font(Text body);
    Made EndFont(Text);
    Made Body(Text body);

    CHTMLParser& m_parser;
    Text m_html;
    std::size_t m_next = 0; // the next character
    HTMLTOKEN m_pending;    // kept until it is stored: the mark of an A goes to the next token that is
    bool m_bOutOfMemory = false;
};
