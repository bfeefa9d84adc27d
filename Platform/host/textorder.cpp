#include "Platform/host/textorder.h"

#include "Platform/host/facechain.h"

#include <algorithm>
#include <memory>
#include <unicode/ubidi.h>
#include <unicode/ubrk.h>
#include <unicode/utf16.h>

namespace plat {
namespace {

struct Closer {
    void operator()(UBreakIterator* breaks) const { ubrk_close(breaks); }
    void operator()(UBiDi* bidi) const { ubidi_close(bidi); }
};

// The thread's own, set to a text; null when the system has no rules.
UBreakIterator* BreaksOf(std::u16string_view text) {
    UErrorCode error = U_ZERO_ERROR;
    thread_local const std::unique_ptr<UBreakIterator, Closer> breaks(
        ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &error));
    error = U_ZERO_ERROR;
    if (breaks) ubrk_setText(breaks.get(), text.data(), static_cast<std::int32_t>(text.size()), &error);
    return U_SUCCESS(error) ? breaks.get() : nullptr;
}

// Below the first mark each unit is a character, but for CR LF.
bool IsSimple(char16_t unit) { return unit < 0x300 && unit != u'\r'; }

// May a character reach over this place? Only then the rules are asked.
bool MayPart(std::u16string_view text, int position) {
    if (position <= 0 || position >= static_cast<int>(text.size())) return false;
    const auto at = static_cast<std::size_t>(position);
    return !IsSimple(text[at - 1]) || !IsSimple(text[at]);
}

// `towards` leaves the middle of a pair; the rules look at whole ones alone.
int OutOfPair(std::u16string_view text, int position, int towards) {
    const int at = std::clamp(position, 0, static_cast<int>(text.size()));
    const bool inside = MayPart(text, at) && U16_IS_LEAD(text[static_cast<std::size_t>(at - 1)]) &&
                        U16_IS_TRAIL(text[static_cast<std::size_t>(at)]);
    return inside ? at + towards : at;
}

bool HasOrder(std::u16string_view row) {
    for (std::size_t at = 0; at < row.size();)
        if (NeedsOrder(CharAt(row, at))) return true;
    return false;
}

} // namespace

int CharacterStart(std::u16string_view text, int position) {
    const int at = OutOfPair(text, position, -1);
    UBreakIterator* breaks = MayPart(text, at) ? BreaksOf(text) : nullptr;
    return !breaks || ubrk_isBoundary(breaks, at) ? at : ubrk_preceding(breaks, at);
}

int CharacterEnd(std::u16string_view text, int position) {
    const int at = OutOfPair(text, position, 1);
    UBreakIterator* breaks = MayPart(text, at) ? BreaksOf(text) : nullptr;
    return !breaks || ubrk_isBoundary(breaks, at) ? at : ubrk_following(breaks, at);
}

std::vector<bool> CharacterStarts(std::u16string_view text) {
    const bool simple = std::ranges::all_of(text, IsSimple);
    UBreakIterator* breaks = simple ? nullptr : BreaksOf(text);
    std::vector<bool> starts(text.size(), !breaks);
    const auto count = static_cast<int>(text.size());
    for (int at = 0; breaks && at != UBRK_DONE && at < count; at = ubrk_next(breaks))
        starts[static_cast<std::size_t>(at)] = true;
    return starts;
}

bool BeginsFromRight(std::u16string_view text) {
    return ubidi_getBaseDirection(text.data(), static_cast<std::int32_t>(text.size())) == UBIDI_RTL;
}

// As the text layer does: the row as a whole goes to the right.
void PlaceUnits(std::u16string_view row, const int* widths, int* lefts, char* fromRight) {
    const auto count = static_cast<std::int32_t>(row.size());
    int x = 0;
    const auto place = [&](std::int32_t at, bool turned) {
        lefts[at] = x;
        fromRight[at] = turned;
        x += widths[at];
    };
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UBiDi, Closer> bidi(HasOrder(row) ? ubidi_open() : nullptr);
    if (bidi) ubidi_setPara(bidi.get(), row.data(), count, UBIDI_LTR, nullptr, &error);
    const std::int32_t runs = bidi ? ubidi_countRuns(bidi.get(), &error) : 0;
    if (!bidi || U_FAILURE(error))
        for (std::int32_t at = 0; at < count; ++at) place(at, false);
    for (std::int32_t run = 0; U_SUCCESS(error) && run < runs; ++run) {
        std::int32_t start = 0, length = 0;
        const bool turned = ubidi_getVisualRun(bidi.get(), run, &start, &length) == UBIDI_RTL;
        for (std::int32_t i = 0; i < length; ++i) place(turned ? start + length - 1 - i : start + i, turned);
    }
}

} // namespace plat
