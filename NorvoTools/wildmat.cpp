// Whole-text wildcard match.
//
// A run of "*" is tried by the last star alone: once a later star is reached, what stands before it stays matched. So
// the time is bounded by the product of the lengths, and there is no recursion for a pattern to exhaust.
#include "NorvoTools/StrFunctions.h"

static bool IsWildcard(WCHAR c) { return c == u'*' || c == u'?'; }

bool wildmat(const WCHAR* text, const WCHAR* pattern) {
    if (!text || !pattern) return false;
    if (IsWildcard(*pattern) && *text == u'.') return false;
    const WCHAR* starPattern = nullptr; // behind the last star
    const WCHAR* starText = nullptr;    // where its rest was tried
    for (;;) {
        if (!*pattern && !*text) return true;
        // At the end of the text only a single star is left to match, and an earlier place would be too short as well.
        if (!*text) return pattern[0] == u'*' && pattern[1] == 0;
        if (*pattern == u'*') {
            if (!*++pattern) return true;
            starPattern = pattern;
            starText = text;
            continue;
        }
        const WCHAR* literal = *pattern == u'\\' ? pattern + 1 : pattern;
        if (*pattern == u'?' || (*literal && *literal == *text)) {
            pattern = literal + 1;
            ++text;
            continue;
        }
        if (!starPattern || !*++starText) return false;
        pattern = starPattern;
        text = starText;
    }
}
