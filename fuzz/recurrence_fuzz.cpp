// The recurrence blob reader and the walks: any bytes are refused or give lines that belong where they stand, and no
// number in them makes the work long.
#include "Platform/testing.h"
#include "tests/support/expander.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

// A device folder for the settings that a thread object reads.
std::unique_ptr<Expander> MakeExpander() {
    std::string folder = (std::filesystem::temp_directory_path() / "qnfuzz-XXXXXX").string();
    PlatSetDeviceFolder(mkdtemp(folder.data()));
    return std::make_unique<Expander>();
}

void Check(Expander& expander, LONG first, LONG last) {
    constexpr int kMostLines = 40000; // each date of two months over days of its own
    if (expander.GetList().GetCount() > kMostLines) std::abort();
    for (const DATACALENDAR* line : expander.GetList()) {
        if (line->m_bException) continue; // these are listed wherever they land
        if (static_cast<LONG>(line->m_dtEnd) < first || static_cast<LONG>(line->m_dtStart) > last)
            std::abort();
        if (line->m_lDay < static_cast<LONG>(line->m_dtStart)) std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::unique_ptr<Expander> expander = MakeExpander();
    const TIME_ZONE_INFORMATION newYork = {
        300, {}, {0, 11, 0, 1, 2, 0, 0, 0}, 0, {}, {0, 3, 0, 2, 2, 0, 0, 0}, -60};
    const struct {
        civil::Date first;
        int days;
    } kRanges[] = {{{2010, 3, 1}, 31}, {{2012, 2, 1}, 29}, {{2099, 12, 15}, 60}, {{4400, 7, 1}, 31}};
    for (const auto& range : kRanges)
        for (bool allDay : {false, true}) {
            LONG first = DayOf({range.first.year, range.first.month, range.first.day});
            LONG last = first + range.days - 1;
            DATACALENDAR like;
            like.m_oid = 1;
            like.m_bAllDay = allDay;
            like.m_lDuration = 90;
            expander->GetList().Clear();
            expander->SetDays(first, last);
            expander->Expand(data, static_cast<DWORD>(size), like, allDay ? nullptr : &newYork);
            Check(*expander, first, last);
        }
    return 0;
}
