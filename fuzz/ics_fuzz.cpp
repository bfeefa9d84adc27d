// The iCalendar reader, and what becomes of the rules and zones of what it read: any bytes are items or are refused; a
// pattern can be written as a rule again, and that rule means the same pattern's dates.
#include "apps/qn/icsfile.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/support.h"

#include <cstdlib>
#include <sstream>

namespace {

constexpr std::size_t kMostRules = 4; // of one input, so that each takes little time

void CheckRule(const std::string& rule, const icaltimetype& start) {
    const auto pattern = qn::PatternOf(rule, start, qn::UntilOf(rule));
    if (pattern) {
        const std::string text = qn::RuleTextOf(*pattern, start);
        if (!text.empty() && !qn::PatternOf(text, start, {})) std::abort();
        return;
    }
    qn::Expansion expansion;
    expansion.start = start;
    expansion.horizon = start;
    expansion.horizon.year += 2;
    expansion.past = start;
    expansion.most = 100;
    std::vector<icaltimetype> dates;
    qn::ExpandRule(rule, expansion, dates);
    if (dates.size() > expansion.most) std::abort();
}

void CheckMoment(qn::ZoneTable& zones, const qn::When& when) {
    if (!when.IsSet()) return;
    const icaltimetype wall = zones.ToZone(when, "America/New_York");
    if (qn::FromIcal(wall).wYear == 0) std::abort();
    zones.ToDevice(when);
    zones.Rules(when.tzid, when.time.year);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    try {
        qn::IcsFile file = qn::ReadIcs(in, "input", nullptr);
        std::size_t rules = 0;
        for (const qn::IcsItem& item : file.items) {
            const bool mayLackDate = item.isTodo || item.isJournal;
            if (item.uid.empty() || (!mayLackDate && !item.start.IsSet())) std::abort();
            CheckMoment(file.zones, item.start);
            CheckMoment(file.zones, item.recurrenceId);
            for (const std::string& rule : item.rules)
                if (item.start.IsSet() && rules++ < kMostRules) CheckRule(rule, item.start.time);
        }
    } catch (const qn::Failure&) { // no calendar at all
    }
    return 0;
}
