#!/bin/sh
# Text is UTF-16 in char16_t: no 32-bit wide characters anywhere.
# usage: text.sh SOURCE-FOLDER
cd "$1" || exit 2
found=$(find Platform NorvoTools NorvoUI QNWorkerClass QNGridCtrl QNNewEditUI QNTools Resources apps tests bench fuzz cmake \
            \( -name '*.h' -o -name '*.cpp' \) -print0 |
        xargs -0 grep -nE "\bwchar_t\b|(^|[^A-Za-z0-9_\"'])L[\"']|std::wstring\b")
[ -z "$found" ] && exit 0
echo "$found"
exit 1
