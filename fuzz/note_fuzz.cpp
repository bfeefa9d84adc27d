// Notes of any form: whatever the bytes, reading ends, and what was read comes back the same from each form that keeps it.
#include "NorvoUI/CeInkCtrl.h"
#include "Platform/memory.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

// An empty note keeps nothing but that.
bool SameInk(const InkText& a, const InkText& b) {
    const auto same = [](const InkText::Span& x, const InkText::Span& y) { return x.begin == y.begin; };
    return a.text == b.text && (a.text.empty() || a.aligns == b.aligns) &&
           std::ranges::equal(a.spans, b.spans, same);
}

void CheckRound(const CeInkCtrl& ink, UINT format) {
    CEBLOB blob{};
    if (!ink.StreamOut(&blob, format)) std::abort();
    CeInkCtrl again;
    if (!again.StreamInBLOB(&blob, blob.lpb ? format : kNoteBytes)) std::abort();
    if (ink.GetString() != again.GetString()) std::abort();
    if (format == kNoteInk && !SameInk(ink.GetDocument().GetInk(), again.GetDocument().GetInk()))
        std::abort();
    if (format == kNoteInk && (blob.dwCount == kEmptyInkNote) != ink.GetDocument().IsEmpty()) std::abort();
    LocalFree(blob.lpb);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CeInkCtrl ink;
    if (!ink.StreamIn(data, static_cast<DWORD>(size), kNoteByContent)) {
        if (!ink.GetDocument().IsEmpty()) std::abort();
        return 0;
    }
    CheckRound(ink, kNoteRich);
    CheckRound(ink, kNoteInk);
    const std::u16string text = ink.GetString();
    ink.SetSel(static_cast<LONG>(size / 3), static_cast<LONG>(size / 2));
    if (!ink.InsertText(u"in\nserted") || !ink.Undo() || ink.GetString() != text) std::abort();
    return 0;
}
