// What a text field holds: its text, where caret and selection are, what can be undone.
#pragma once

#include "Platform/types.h"

#include <memory>
#include <string>
#include <string_view>

namespace plat {

class EditText {
public:
    enum class Motion { Left, Right, WordLeft, WordRight };

    EditText();
    ~EditText();
    EditText(const EditText&) = delete;
    EditText& operator=(const EditText&) = delete;

    const std::u16string& Text() const { return m_Text; }
    int Length() const { return static_cast<int>(m_Text.size()); }
    // A new text: the caret at its start, nothing to undo.
    void Set(std::u16string_view text);

    int Caret() const;
    int Anchor() const; // the other end of the selection
    int SelectionStart() const;
    int SelectionEnd() const;
    bool HasSelection() const { return SelectionStart() != SelectionEnd(); }
    std::u16string_view Selected() const;
    // Both are bounded, and kept out of the middle of characters.
    void Select(int anchor, int caret);
    void MoveTo(int caret, bool extend) { Select(extend ? Anchor() : caret, caret); }
    void Move(Motion motion, bool extend);
    void SelectWord(int at);
    // All is one word.
    void Hide(bool hidden) { m_bHidden = hidden; }

    // In place of the selection. `typed`: it is undone together with what was typed just before it.
    void Replace(std::u16string_view text, bool typed);
    // The selection, else what the motion passes over. False when that is nothing.
    bool Delete(Motion motion);

    bool CanUndo() const;
    bool CanRedo() const;
    bool Undo();
    bool Redo();
    void ForgetChanges();

private:
    struct State;

    int Passed(Motion motion) const;
    void MergeTyping();

    std::u16string m_Text;
    std::unique_ptr<State> m_pState;
    int m_nTypingEnd = -1; // where the run of typing goes on
    bool m_bHidden = false;
};

} // namespace plat
