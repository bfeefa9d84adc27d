// A row of what was found, and its card.
#pragma once

#include "QNWorkerClass/DATAGENERAL.h"
#include "apps/pages/card.h"

#include <string_view>

namespace qn {

// What a row of the search tells, apart from the search. The image and the context are mark-up.
struct SearchRow {
    LONG type = 0; // of DATAGENERAL; 0: a heading
    DWORD oid = 0;
    DWORD record = 0;
    DATE start = 0;
    DATE end = 0;
    std::u16string title;
    std::u16string image;
    std::u16string context; // below the title; of a heading the number of its rows
    std::u16string linked;  // title of the item that a journal entry belongs to
    std::u16string path;    // of a note
    std::u16string categories;
    bool hasNote = false;
    bool hasLink = false;
    bool isPrivate = false;
    bool told = false; // where it was found

    static SearchRow Of(const DATAGENERAL& found);
    static SearchRow OfHeading(const DATAPARENT& header);
    ULONGLONG Id() const; // the same in another search
    // Puts into the context where it was found, unless title or context have it; reads the item for that.
    void TellWhere(std::u16string_view wanted);
};

// Mark-up. `wanted` is what was looked for: where it stands in the title, it is bold.
std::u16string SearchRowText(const SearchRow& row, std::u16string_view wanted);
std::u16string SearchHeadingText(const SearchRow& row, bool open);
CardText SearchCard(const SearchRow& row);

} // namespace qn
