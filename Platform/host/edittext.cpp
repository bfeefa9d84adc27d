// The text of a field over stb_textedit, which knows how the caret moves and keeps what can be undone.
#include "Platform/host/edittext.h"

#include "Platform/host/textorder.h"

#include <algorithm>

#define STB_TEXTEDIT_CHARTYPE char16_t
#define STB_TEXTEDIT_POSITIONTYPE int
#define STB_TEXTEDIT_UNDOSTATECOUNT 99
#define STB_TEXTEDIT_UNDOCHARCOUNT 32768
#include <stb/stb_textedit.h>

namespace plat {
namespace {

using Buffer = std::u16string;

// The keys that its moves are asked for by.
constexpr int kShift = 0x10000;
enum Key : int {
    kLeft = 1,
    kRight,
    kUp,
    kDown,
    kPageUp,
    kPageDown,
    kLineStart,
    kLineEnd,
    kTextStart,
    kTextEnd,
    kDelete,
    kBackspace,
    kUndo,
    kRedo,
    kWordLeft,
    kWordRight,
};

int LengthOf(const Buffer* text) { return static_cast<int>(text->size()); }

char16_t UnitAt(const Buffer* text, int index) { return (*text)[static_cast<std::size_t>(index)]; }

int InsertUnits(Buffer* text, int at, const char16_t* units, int count) {
    text->insert(static_cast<std::size_t>(at), units, static_cast<std::size_t>(count));
    return 1;
}

void DeleteUnits(Buffer* text, int at, int count) {
    text->erase(static_cast<std::size_t>(at), static_cast<std::size_t>(count));
}

bool IsBlank(char16_t unit) { return unit <= u' ' || unit == 0xA0 || unit == 0x3000; }

// Rows are laid out elsewhere: here the text is one.
void LayoutRow(StbTexteditRow* row, const Buffer* text, int start) {
    *row = {0, 0, 1, 0, 1, LengthOf(text) - start};
}

#define STB_TEXTEDIT_STRING Buffer
#define STB_TEXTEDIT_STRINGLEN(text) LengthOf(text)
#define STB_TEXTEDIT_LAYOUTROW(row, text, start) LayoutRow(row, text, start)
#define STB_TEXTEDIT_GETWIDTH(text, start, index) 1.0F
#define STB_TEXTEDIT_KEYTOTEXT(key) 0
#define STB_TEXTEDIT_GETCHAR(text, index) UnitAt(text, index)
#define STB_TEXTEDIT_NEWLINE u'\n'
#define STB_TEXTEDIT_IS_SPACE(unit) IsBlank(unit)
#define STB_TEXTEDIT_DELETECHARS(text, at, count) DeleteUnits(text, at, count)
#define STB_TEXTEDIT_INSERTCHARS(text, at, units, count) InsertUnits(text, at, units, count)
#define STB_TEXTEDIT_K_SHIFT kShift
#define STB_TEXTEDIT_K_LEFT kLeft
#define STB_TEXTEDIT_K_RIGHT kRight
#define STB_TEXTEDIT_K_UP kUp
#define STB_TEXTEDIT_K_DOWN kDown
#define STB_TEXTEDIT_K_PGUP kPageUp
#define STB_TEXTEDIT_K_PGDOWN kPageDown
#define STB_TEXTEDIT_K_LINESTART kLineStart
#define STB_TEXTEDIT_K_LINEEND kLineEnd
#define STB_TEXTEDIT_K_TEXTSTART kTextStart
#define STB_TEXTEDIT_K_TEXTEND kTextEnd
#define STB_TEXTEDIT_K_DELETE kDelete
#define STB_TEXTEDIT_K_BACKSPACE kBackspace
#define STB_TEXTEDIT_K_UNDO kUndo
#define STB_TEXTEDIT_K_REDO kRedo
#define STB_TEXTEDIT_K_WORDLEFT kWordLeft
#define STB_TEXTEDIT_K_WORDRIGHT kWordRight
#define STB_TEXTEDIT_IMPLEMENTATION
#include <stb/stb_textedit.h>

int KeyOf(EditText::Motion motion) {
    switch (motion) {
    case EditText::Motion::Left:
        return kLeft;
    case EditText::Motion::Right:
        return kRight;
    case EditText::Motion::WordLeft:
        return kWordLeft;
    default:
        return kWordRight;
    }
}

bool GoesForward(EditText::Motion motion) {
    return motion == EditText::Motion::Right || motion == EditText::Motion::WordRight;
}

} // namespace

struct EditText::State {
    STB_TexteditState stb;
};

EditText::EditText() : m_pState(std::make_unique<State>()) { ForgetChanges(); }
EditText::~EditText() = default;

void EditText::Set(std::u16string_view text) {
    m_Text = text;
    ForgetChanges();
    Select(0, 0);
}

void EditText::ForgetChanges() {
    STB_TexteditState& stb = m_pState->stb;
    const int caret = stb.cursor, start = stb.select_start, end = stb.select_end;
    stb_textedit_initialize_state(&stb, 0);
    stb.cursor = caret, stb.select_start = start, stb.select_end = end;
    m_nTypingEnd = -1;
}

// --- Caret and selection ------------------------------------------------------------------------------------------

int EditText::Caret() const { return m_pState->stb.cursor; }
int EditText::Anchor() const {
    const STB_TexteditState& stb = m_pState->stb;
    return STB_TEXT_HAS_SELECTION(&stb) ? stb.select_start : stb.cursor;
}
int EditText::SelectionStart() const { return std::min(Anchor(), Caret()); }
int EditText::SelectionEnd() const { return std::max(Anchor(), Caret()); }

std::u16string_view EditText::Selected() const {
    return std::u16string_view(m_Text).substr(static_cast<std::size_t>(SelectionStart()),
                                              static_cast<std::size_t>(SelectionEnd() - SelectionStart()));
}

void EditText::Select(int anchor, int caret) {
    STB_TexteditState& stb = m_pState->stb;
    stb.select_start = CharacterStart(m_Text, anchor);
    stb.select_end = stb.cursor = CharacterStart(m_Text, caret);
}

// Where the caret would be.
int EditText::Passed(Motion motion) const {
    STB_TexteditState moved = m_pState->stb;
    moved.select_start = moved.select_end = moved.cursor;
    Buffer hidden(m_bHidden ? m_Text.size() : 0, u'*');
    Buffer& text = m_bHidden ? hidden : const_cast<Buffer&>(m_Text); // moves leave it as it is
    stb_textedit_key(&text, &moved, KeyOf(motion));
    return GoesForward(motion) ? CharacterEnd(m_Text, moved.cursor) : CharacterStart(m_Text, moved.cursor);
}

// Without Shift a selection closes at the side that the caret goes to.
void EditText::Move(Motion motion, bool extend) {
    m_nTypingEnd = -1;
    if (HasSelection() && !extend)
        MoveTo(GoesForward(motion) ? SelectionEnd() : SelectionStart(), false);
    else
        MoveTo(Passed(motion), extend);
}

void EditText::SelectWord(int at) {
    const auto blank = [this](int index) {
        return !m_bHidden && IsBlank(m_Text[static_cast<std::size_t>(index)]);
    };
    int start = std::clamp(at, 0, Length()), end = start;
    while (start > 0 && !blank(start - 1)) --start;
    while (end < Length() && !blank(end)) ++end;
    Select(start, end);
}

// --- Changes ------------------------------------------------------------------------------------------------------

void EditText::Replace(std::u16string_view text, bool typed) {
    STB_TexteditState& stb = m_pState->stb;
    const int at = SelectionStart(), removed = SelectionEnd() - at, added = static_cast<int>(text.size());
    if (removed == 0 && added == 0) return;
    const bool goesOn = typed && removed == 0 && at == m_nTypingEnd;
    stb_text_makeundo_replace(&m_Text, &stb, at, removed, added);
    DeleteUnits(&m_Text, at, removed);
    InsertUnits(&m_Text, at, text.data(), added);
    if (goesOn) MergeTyping();
    const int end = CharacterEnd(m_Text, at + added); // what follows may be a mark on it
    MoveTo(end, false);
    m_nTypingEnd = typed ? end : -1;
}

// The last change and the one before become one; both end where the caret was.
void EditText::MergeTyping() {
    StbUndoState& undo = m_pState->stb.undostate;
    if (undo.undo_point < 2) return;
    StbUndoRecord& former = undo.undo_rec[undo.undo_point - 2];
    former.delete_length += undo.undo_rec[undo.undo_point - 1].delete_length;
    --undo.undo_point;
}

bool EditText::Delete(Motion motion) {
    if (!HasSelection()) Select(Caret(), Passed(motion));
    if (!HasSelection()) return false;
    Replace({}, false);
    return true;
}

bool EditText::CanUndo() const { return m_pState->stb.undostate.undo_point > 0; }
bool EditText::CanRedo() const { return m_pState->stb.undostate.redo_point < STB_TEXTEDIT_UNDOSTATECOUNT; }

// What can be done again is dropped where the store for both has no room: it would be dropped in part otherwise.
bool EditText::Undo() {
    if (!CanUndo()) return false;
    StbUndoState& undo = m_pState->stb.undostate;
    const int removed = undo.undo_rec[undo.undo_point - 1].delete_length;
    const bool noRoom = undo.undo_char_point + removed >= STB_TEXTEDIT_UNDOCHARCOUNT;
    if (undo.undo_char_point + removed > undo.redo_char_point) stb_textedit_flush_redo(&undo);
    stb_text_undo(&m_Text, &m_pState->stb);
    if (noRoom) stb_textedit_flush_redo(&undo);
    MoveTo(Caret(), false);
    m_nTypingEnd = -1;
    return true;
}

bool EditText::Redo() {
    if (!CanRedo()) return false;
    stb_text_redo(&m_Text, &m_pState->stb);
    MoveTo(Caret(), false);
    m_nTypingEnd = -1;
    return true;
}

} // namespace plat
