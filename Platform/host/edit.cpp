// The text field: its window, the messages about its text, and what a person's input does to it.
#include "Platform/host/edit.h"

#include "Platform/host/text.h"
#include "Platform/host/textorder.h"
#include "Platform/memory.h"

#include <algorithm>
#include <memory>

namespace plat {
namespace {

constexpr int kFirstLimit = 32767;

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

std::u16string ClipboardText(HWND window) {
    std::u16string text;
    if (!OpenClipboard(window)) return text;
    if (const void* data = GetClipboardData(CF_UNICODETEXT)) text = static_cast<const WCHAR*>(data);
    CloseClipboard();
    return text;
}

void PutOnClipboard(HWND window, std::u16string_view text) {
    HLOCAL data = LocalAlloc(LPTR, (text.size() + 1) * sizeof(WCHAR));
    if (!data) return;
    std::ranges::copy(text, static_cast<WCHAR*>(data));
    if (!OpenClipboard(window)) {
        LocalFree(data);
        return;
    }
    EmptyClipboard();
    SetClipboardData(CF_UNICODETEXT, data);
    CloseClipboard();
}

} // namespace

EditControl::EditControl(HWND window, LPCWSTR text)
    : m_hWnd(window), m_nLimit(kFirstLimit), m_cPassword(Is(ES_PASSWORD) ? u'*' : 0),
      m_bHasBar(Is(WS_VSCROLL) && Is(ES_MULTILINE)) {
    m_Text.Set(TextOf(text));
    m_Text.Hide(m_cPassword != 0);
    Relayout();
}

std::optional<LRESULT> EditControl::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (const auto result = HandleText(message, wParam, lParam)) return result;
    if (const auto result = HandleEdit(message, wParam, lParam)) return result;
    if (const auto result = HandleInput(message, wParam, lParam)) return result;
    return HandlePaint(message, wParam, lParam);
}

std::optional<LRESULT> EditControl::HandleText(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SETTEXT:
        SetText(reinterpret_cast<LPCWSTR>(lParam));
        return TRUE;
    case WM_GETTEXTLENGTH:
        return m_Text.Length();
    case WM_GETTEXT: {
        const auto buffer = reinterpret_cast<LPWSTR>(lParam);
        if (!buffer || wParam == 0) return 0;
        const std::size_t count = std::min<std::size_t>(wParam - 1, m_Text.Text().size());
        *std::copy_n(m_Text.Text().begin(), count, buffer) = 0;
        return static_cast<LRESULT>(count);
    }
    case WM_CUT:
        Cut();
        return 0;
    case WM_COPY:
        Copy();
        return 0;
    case WM_PASTE:
        Paste();
        return 0;
    case WM_CLEAR:
        if (!IsReadOnly() && m_Text.HasSelection()) Enter({}, false);
        return 0;
    case WM_UNDO:
        return UndoOrRedo();
    default:
        return std::nullopt;
    }
}

std::optional<LRESULT> EditControl::HandleEdit(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case EM_GETSEL:
        return SelectionTo(reinterpret_cast<DWORD*>(wParam), reinterpret_cast<DWORD*>(lParam));
    case EM_SETSEL:
        Select(static_cast<LPARAM>(wParam), lParam);
        return 0;
    case EM_SCROLLCARET:
        ShowCaret();
        return 1;
    case EM_GETMODIFY:
        return m_bModified;
    case EM_SETMODIFY:
        m_bModified = wParam != 0;
        return 0;
    case EM_GETLINECOUNT:
        return m_Layout.RowCount();
    case EM_LINEINDEX:
        return LineIndex(static_cast<int>(wParam));
    case EM_REPLACESEL:
        Enter(TextOf(reinterpret_cast<LPCWSTR>(lParam)), false);
        if (wParam == 0) m_Text.ForgetChanges();
        return 0;
    case EM_LIMITTEXT:
        m_nLimit = static_cast<int>(std::min<WPARAM>(wParam, 0x7FFFFFFF));
        return 0;
    case EM_CANUNDO:
        return m_bUndone ? m_Text.CanRedo() : m_Text.CanUndo();
    case EM_UNDO:
        return UndoOrRedo();
    case EM_SETPASSWORDCHAR:
        m_cPassword = static_cast<WCHAR>(wParam);
        m_Text.Hide(m_cPassword != 0);
        Relayout();
        return 0;
    case EM_SETREADONLY:
        SetReadOnly(wParam != 0);
        return TRUE;
    default:
        return std::nullopt;
    }
}

// --- Text and selection -------------------------------------------------------------------------------------------

void EditControl::SetText(LPCWSTR text) {
    m_Text.Set(TextOf(text));
    m_bModified = m_bUndone = false;
    m_nScrollX = m_nTopRow = 0;
    Relayout();
    if (Is(ES_MULTILINE)) return; // whoever sets a long text knows it
    Notify(EN_UPDATE);
    if (IsWindow(m_hWnd)) Notify(EN_CHANGE);
}

LRESULT EditControl::SelectionTo(DWORD* start, DWORD* end) const {
    const auto first = static_cast<DWORD>(m_Text.SelectionStart()),
               last = static_cast<DWORD>(m_Text.SelectionEnd());
    if (start) *start = first;
    if (end) *end = last;
    return first > 0xFFFF || last > 0xFFFF ? -1
                                           : MAKELPARAM(static_cast<WORD>(first), static_cast<WORD>(last));
}

void EditControl::Select(LPARAM start, LPARAM end) {
    const int first = static_cast<int>(start), last = static_cast<int>(end);
    if (first < 0)
        m_Text.MoveTo(m_Text.Caret(), false);
    else
        m_Text.Select(first, last < 0 ? m_Text.Length() : last);
    Invalidate();
}

LRESULT EditControl::LineIndex(int line) {
    if (line == -1) line = m_Layout.RowOf(m_Text.Caret());
    return line >= 0 && line < m_Layout.RowCount() ? m_Layout.At(line).start : -1;
}

void EditControl::SetReadOnly(bool readOnly) {
    const DWORD style = readOnly ? Style() | ES_READONLY : Style() & ~ES_READONLY;
    SetWindowLongW(m_hWnd, GWL_STYLE, static_cast<LONG_PTR>(style));
    Invalidate();
}

// --- Changes ------------------------------------------------------------------------------------------------------

void EditControl::Notify(WORD code) {
    const auto id = static_cast<WORD>(GetDlgCtrlID(m_hWnd));
    SendMessageW(GetParent(m_hWnd), WM_COMMAND, static_cast<WPARAM>(MAKELPARAM(id, code)),
                 reinterpret_cast<LPARAM>(m_hWnd));
}

void EditControl::Changed() {
    m_bModified = true;
    m_bUndone = false;
    Relayout();
    ShowCaret();
    Notify(EN_UPDATE);
    if (IsWindow(m_hWnd)) Notify(EN_CHANGE);
}

// What a person or a program puts in the place of the selection, as much of it as the limit lets in.
void EditControl::Enter(std::u16string_view text, bool typed) {
    const int selected = m_Text.SelectionEnd() - m_Text.SelectionStart();
    if (m_nLimit > 0) {
        const int room = std::max(m_nLimit - (m_Text.Length() - selected), 0);
        text = text.substr(0, static_cast<std::size_t>(CharacterStart(text, room)));
    }
    if (text.empty() && selected == 0) return;
    m_Text.Replace(text, typed);
    Changed();
}

void EditControl::Type(std::u16string_view text) {
    const bool refused = Is(ES_NUMBER) && !std::ranges::all_of(text, IsDigit);
    if (!refused && !IsReadOnly()) Enter(text, true);
}

void EditControl::DeleteBy(EditText::Motion motion) {
    if (!IsReadOnly() && m_Text.Delete(motion)) Changed();
}

void EditControl::Copy() {
    if (m_Text.HasSelection() && m_cPassword == 0) PutOnClipboard(m_hWnd, m_Text.Selected());
}

void EditControl::Cut() {
    if (m_cPassword != 0 || IsReadOnly() || !m_Text.HasSelection()) return;
    Copy();
    DeleteBy(EditText::Motion::Right);
}

// A field of one row takes the first one.
void EditControl::Paste() {
    std::u16string text = ClipboardText(m_hWnd);
    if (!Is(ES_MULTILINE)) text = text.substr(0, text.find_first_of(u"\r\n"));
    const bool refused = Is(ES_NUMBER) && !std::ranges::all_of(text, IsDigit);
    if (!refused && !IsReadOnly() && !text.empty()) Enter(text, false);
}

void EditControl::StepBack() {
    if (!IsReadOnly() && m_Text.Undo()) Changed();
}

void EditControl::StepForward() {
    if (!IsReadOnly() && m_Text.Redo()) Changed();
}

// One step back; what follows it directly does it again.
bool EditControl::UndoOrRedo() {
    const bool again = m_bUndone;
    if (IsReadOnly() || !(again ? m_Text.Redo() : m_Text.Undo())) return false;
    Changed();
    m_bUndone = !again;
    return true;
}

// --- The window ---------------------------------------------------------------------------------------------------

namespace {

// The object may end while it handles a message: whoever handles one holds it.
using Held = std::shared_ptr<EditControl>;

Held* HolderOf(HWND window) { return reinterpret_cast<Held*>(GetWindowLongW(window, 0)); }

} // namespace

LRESULT EditProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE) {
        const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        auto holder = std::make_unique<Held>(std::make_shared<EditControl>(window, create->lpszName));
        SetWindowLongW(window, 0, reinterpret_cast<LONG_PTR>(holder.release()));
        return 0;
    }
    if (message == WM_DESTROY) delete reinterpret_cast<Held*>(SetWindowLongW(window, 0, 0));
    const Held* holder = HolderOf(window);
    const Held control = holder ? *holder : nullptr;
    const auto result = control ? control->Handle(message, wParam, lParam) : std::nullopt;
    return result ? *result : DefWindowProcW(window, message, wParam, lParam);
}

} // namespace plat
