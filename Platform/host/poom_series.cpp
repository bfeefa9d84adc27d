#include "Platform/host/poom_series.h"

#include "Platform/civil.h"

#include <algorithm>

namespace plat::poom {

namespace {

constexpr DWORD kForm4 = 0x30043004;
constexpr DWORD kForm5 = 0x30053005; // eight more bytes behind the pattern's fields
constexpr DWORD kMarker = 0x3005;

constexpr WORD kDaily = 8202;
constexpr WORD kWeekly = 8203;
constexpr WORD kMonthly = 8204;
constexpr WORD kYearly = 8205;

constexpr DWORD kEndByDate = 0x2021;
constexpr DWORD kEndAfterCount = 0x2022;
constexpr DWORD kEndNever = 0x2023;

// Parts of an exception record, in the order in which they follow.
constexpr WORD kHasSubject = 0x0001;
constexpr WORD kHasPart8 = 0x0008;
constexpr WORD kHasPart4 = 0x0004;
constexpr WORD kHasLocation = 0x0010;
constexpr WORD kHasBusy = 0x0020;
constexpr WORD kHasAllDay = 0x0080;
constexpr WORD kHasNote = 0x0100;
constexpr WORD kKnownParts =
    kHasSubject | kHasPart8 | kHasPart4 | kHasLocation | kHasBusy | kHasAllDay | kHasNote;

// Minutes of the 365-day year before each month; what stands between two of them is read as the earlier.
constexpr DWORD kMonthOffsets[] = {0,      44640,  84960,  129600, 172800, 217440,
                                   260640, 305280, 349920, 393120, 437760, 480960};

constexpr struct {
    LONG type;
    WORD recur;
    WORD pattern;
    bool hasDay;
    bool hasMask;
    bool hasNth;
} kForms[] = {
    {0, kDaily, 0, false, false, false}, {0, kDaily, 1, false, true, false},
    {1, kWeekly, 1, false, true, false}, {2, kMonthly, 2, true, false, false},
    {3, kMonthly, 3, false, true, true}, {5, kYearly, 2, true, false, false},
    {6, kYearly, 3, false, true, true},
};

LONG MonthOfOffset(DWORD offset) {
    const auto next = std::ranges::upper_bound(kMonthOffsets, offset);
    return static_cast<LONG>(next - std::begin(kMonthOffsets));
}

DWORD Midnight(DWORD minutes) { return minutes - minutes % kMinutesOfDay; }

civil::Date DateOf(DWORD minutes) { return civil::CivilFromDays(minutes / kMinutesOfDay); }

struct CountUpTo {
    DWORD limit;
    DWORD count;
    DWORD last;
};

bool CountDate(void* user, DWORD date) {
    auto& state = *static_cast<CountUpTo*>(user);
    state.last = date;
    return ++state.count < state.limit;
}

// Stops at the limit-th date from `first` through `last`.
CountUpTo Walk(const Series& series, DWORD first, DWORD last, DWORD limit) {
    CountUpTo state{limit, 0, 0};
    const PlatRuleWalk walk = PlatGetRuleWalk();
    if (walk && first <= last && limit) walk(series.Rule(), first, last, &CountDate, &state);
    return state;
}

bool CollectDate(void* user, DWORD date) {
    static_cast<std::vector<DWORD>*>(user)->push_back(date);
    return true;
}

} // namespace

PlatRule Series::Rule() const {
    const civil::Date first = DateOf(startDate);
    const auto weekday = static_cast<LONG>(1u << civil::WeekdayOfDays(startDate / kMinutesOfDay));
    const LONG every = std::max<LONG>(interval.value_or(1), 1);
    PlatRule rule{};
    for (const auto& form : kForms) {
        if (form.type != type || (form.pattern == 1 && form.recur == kDaily) != EveryWeekday()) continue;
        rule.wRecurType = form.recur;
        rule.wPatternType = form.pattern;
        if (form.hasDay) rule.dwDay = static_cast<DWORD>(dayOfMonth.value_or(first.day));
        if (form.hasMask) rule.dwWeekMask = static_cast<DWORD>(weekMask.value_or(weekday));
        if (form.hasNth) rule.dwNth = static_cast<DWORD>(instance.value_or(1));
    }
    rule.dwStartDate = startDate;
    if (rule.wRecurType == kYearly) {
        rule.dwYearOffset = kMonthOffsets[std::clamp(month.value_or(first.month), 1, 12) - 1];
        rule.dwPeriod = 12; // written and not read
    } else if (rule.wRecurType != kDaily) {
        rule.dwPeriod = static_cast<DWORD>(every);
    } else if (rule.wPatternType == 0) {
        rule.dwPeriod = static_cast<DWORD>(every) * kMinutesOfDay;
    }
    return rule;
}

void Series::SetStartTime(DWORD minutes) {
    startTime = minutes;
    for (ChangedOccurrence& occurrence : changed) occurrence.original = occurrence.OriginalDay() + minutes;
}

void Series::ForgetOccurrences() {
    deleted.clear();
    changed.clear();
    endCounted = false;
}

const ChangedOccurrence* Series::FindChanged(DWORD originalDay) const {
    const auto at = std::ranges::find(changed, originalDay, &ChangedOccurrence::OriginalDay);
    return at == changed.end() ? nullptr : &*at;
}

bool Series::IsDeleted(DWORD day) const { return std::ranges::binary_search(deleted, day); }

void Series::DeleteOccurrence(DWORD day) {
    std::erase_if(changed, [day](const auto& occurrence) { return occurrence.OriginalDay() == day; });
    const auto at = std::ranges::lower_bound(deleted, day);
    if (at == deleted.end() || *at != day) deleted.insert(at, day);
}

void Series::Change(ChangedOccurrence occurrence) {
    DeleteOccurrence(occurrence.OriginalDay()); // a changed one stands among the deleted, too
    const auto at = std::ranges::upper_bound(changed, occurrence.start, {}, &ChangedOccurrence::start);
    changed.insert(at, std::move(occurrence));
}

// --- Counting -------------------------------------------------------------------------------------------------------

HRESULT CountEnd(Series& series) {
    if (series.endCounted) return S_OK;
    if (series.end == SeriesEnd::Never) {
        series.count = 0;
        series.endDate = kEndOfEndless;
    } else {
        if (!PlatGetRuleWalk()) return E_UNEXPECTED;
        const bool byDate = series.end == SeriesEnd::ByDate;
        const DWORD last = byDate ? series.endDate : kFirstEndless - 1;
        const auto counted = Walk(series, series.startDate, last, byDate ? ~0u : series.count);
        if (!byDate && counted.count < series.count) return E_INVALIDARG;
        if (byDate)
            series.count = counted.count;
        else
            series.endDate = Midnight(counted.last);
    }
    series.endCounted = true;
    return S_OK;
}

DWORD LastDay(const Series& series) {
    return series.end == SeriesEnd::Never ? kFirstEndless - 1 : series.endDate;
}

DWORD FirstDate(const Series& series) {
    const auto first = Walk(series, series.startDate, LastDay(series), 1);
    return first.count ? Midnight(first.last) : series.startDate;
}

bool HasRuleDate(const Series& series, DWORD day) {
    return day >= series.startDate && day <= LastDay(series) && Walk(series, day, day, 1).count == 1;
}

DWORD NextDate(const Series& series, DWORD day) {
    const DWORD from = std::max(day + kMinutesOfDay, series.startDate);
    return Midnight(Walk(series, from, LastDay(series), 1).last);
}

std::vector<DWORD> RuleDates(const Series& series, DWORD first, DWORD last) {
    std::vector<DWORD> dates;
    last = std::min(last, LastDay(series));
    first = std::max(first, series.startDate);
    const PlatRuleWalk walk = PlatGetRuleWalk();
    if (walk && first <= last) walk(series.Rule(), first, last, &CollectDate, &dates);
    return dates;
}

// --- The block ------------------------------------------------------------------------------------------------------

namespace {

bool ReadPattern(ByteReader& in, bool form5, Series& series) {
    const WORD recur = in.Read16();
    const WORD pattern = in.Read16();
    const auto form =
        std::ranges::find_if(kForms, [&](const auto& f) { return f.recur == recur && f.pattern == pattern; });
    if (form == std::end(kForms)) return false;
    in.Read16();
    const DWORD yearOffset = in.Read32();
    const DWORD period = in.Read32();
    in.Read32();
    series.type = form->type;
    if (form->hasDay) series.dayOfMonth = static_cast<LONG>(in.Read32());
    if (form->hasMask) series.weekMask = static_cast<LONG>(in.Read32() & 0x7F);
    if (form->hasNth) series.instance = static_cast<LONG>(in.Read32());
    if (recur == kYearly)
        series.month = MonthOfOffset(yearOffset);
    else if (recur == kDaily)
        series.interval = pattern == 1 ? 0 : static_cast<LONG>(std::max(period / kMinutesOfDay, 1u));
    else
        series.interval = static_cast<LONG>(std::clamp(period, 1u, 0xFFFFu));
    if (form5) in.Take(8);
    return in.Ok();
}

bool ReadDates(ByteReader& in, std::vector<DWORD>& dates) {
    const DWORD count = in.Read32();
    if (count > in.Left() / 4) return false;
    dates.resize(count);
    for (DWORD& date : dates) date = Midnight(in.Read32());
    return true;
}

std::u16string ReadText(ByteReader& in) {
    in.Read16(); // the count again, and one more
    return in.Text(in.Read16());
}

ChangedOccurrence ReadOccurrence(ByteReader& in) {
    ChangedOccurrence occurrence;
    occurrence.start = in.Read32();
    occurrence.end = in.Read32();
    occurrence.original = in.Read32();
    const WORD flags = in.Read16();
    occurrence.reserved = in.Read16();
    occurrence.otherFlags = flags & static_cast<WORD>(~kKnownParts);
    if (flags & kHasSubject) occurrence.subject = ReadText(in);
    if (flags & kHasPart8) occurrence.part8 = in.Read32();
    if (flags & kHasPart4) occurrence.part4 = in.Read32();
    if (flags & kHasLocation) occurrence.location = ReadText(in);
    if (flags & kHasBusy) occurrence.busyStatus = static_cast<WORD>(in.Read32());
    if (flags & kHasAllDay) occurrence.allDay = (in.Read32() & 0xFFFF) == 1;
    if (flags & kHasNote) {
        const WORD size = in.Read16();
        if (size) in.Read32();
        const auto note = in.Take(size);
        occurrence.note.emplace(note.begin(), note.end());
    }
    return occurrence;
}

void WriteText(ByteWriter& out, std::u16string_view text) {
    const auto count = static_cast<DWORD>(std::min<std::size_t>(text.size(), 0xFFFE));
    out.Write16(count + 1);
    out.Write16(count);
    out.Text(text.substr(0, count));
}

void WriteOccurrence(ByteWriter& out, const ChangedOccurrence& occurrence) {
    out.Write32(occurrence.start);
    out.Write32(occurrence.end);
    out.Write32(occurrence.original);
    WORD flags = occurrence.otherFlags;
    if (occurrence.subject) flags |= kHasSubject;
    if (occurrence.part8) flags |= kHasPart8;
    if (occurrence.part4) flags |= kHasPart4;
    if (occurrence.location) flags |= kHasLocation;
    if (occurrence.busyStatus) flags |= kHasBusy;
    if (occurrence.allDay) flags |= kHasAllDay;
    if (occurrence.note) flags |= kHasNote;
    out.Write16(flags);
    out.Write16(occurrence.reserved);
    if (occurrence.subject) WriteText(out, *occurrence.subject);
    if (occurrence.part8) out.Write32(*occurrence.part8);
    if (occurrence.part4) out.Write32(*occurrence.part4);
    if (occurrence.location) WriteText(out, *occurrence.location);
    if (occurrence.busyStatus) out.Write32(*occurrence.busyStatus);
    if (occurrence.allDay) out.Write32(*occurrence.allDay ? 1 : 2);
    if (occurrence.note) {
        const auto size = static_cast<DWORD>(std::min<std::size_t>(occurrence.note->size(), 0xFFFF));
        out.Write16(size);
        if (size) out.Write32(0);
        out.Write({occurrence.note->data(), size});
    }
}

void WritePattern(ByteWriter& out, const PlatRule& rule) {
    out.Write32(kForm4);
    out.Write16(rule.wRecurType);
    out.Write16(rule.wPatternType);
    out.Write16(0);
    out.Write32(rule.dwYearOffset);
    out.Write32(rule.dwPeriod);
    out.Write32(0);
    if (rule.wPatternType == 2) out.Write32(rule.dwDay);
    if (rule.wPatternType == 1 || rule.wPatternType == 3) out.Write32(rule.dwWeekMask);
    if (rule.wPatternType == 3) out.Write32(rule.dwNth);
}

DWORD EndType(SeriesEnd end) {
    switch (end) {
    case SeriesEnd::AfterCount:
        return kEndAfterCount;
    case SeriesEnd::ByDate:
        return kEndByDate;
    default:
        return kEndNever;
    }
}

} // namespace

bool DecodeSeries(std::span<const BYTE> block, Series& series) {
    ByteReader in(block);
    const DWORD magic = in.Read32();
    if ((magic != kForm4 && magic != kForm5) || !ReadPattern(in, magic == kForm5, series)) return false;
    const DWORD endType = in.Read32();
    series.count = in.Read32();
    in.Read32(); // first day of the week
    std::vector<DWORD> modified;
    if (!ReadDates(in, series.deleted) || !ReadDates(in, modified)) return false;
    std::ranges::sort(series.deleted);
    series.startDate = Midnight(in.Read32());
    series.endDate = Midnight(in.Read32());
    if (in.Read32() != kMarker || in.Read32() != kMarker) return false;
    series.startTime = in.Read32();
    const DWORD endTime = in.Read32();
    series.duration = endTime > series.startTime ? endTime - series.startTime : 0;
    const WORD exceptions = in.Read16();
    for (WORD i = 0; i < exceptions && in.Ok(); ++i) series.changed.push_back(ReadOccurrence(in));
    std::ranges::stable_sort(series.changed, {}, &ChangedOccurrence::start);
    if (endType == kEndNever || series.endDate >= kFirstEndless)
        series.end = SeriesEnd::Never;
    else
        series.end = endType == kEndAfterCount && series.count ? SeriesEnd::AfterCount : SeriesEnd::ByDate;
    // Another writer's block need not say how many there are, and an endless one is set to what is written here.
    series.endCounted =
        series.end != SeriesEnd::Never && (endType == kEndByDate || endType == kEndAfterCount);
    return in.Ok() && series.startTime < kMinutesOfDay;
}

std::vector<BYTE> EncodeSeries(const Series& series) {
    ByteWriter out;
    WritePattern(out, series.Rule());
    out.Write32(EndType(series.end));
    out.Write32(series.count);
    out.Write32(0);
    out.Write32(static_cast<DWORD>(series.deleted.size()));
    for (DWORD date : series.deleted) out.Write32(date);
    out.Write32(static_cast<DWORD>(series.changed.size()));
    for (const auto& occurrence : series.changed) out.Write32(Midnight(occurrence.start));
    out.Write32(series.startDate);
    out.Write32(series.endDate);
    out.Write32(kMarker);
    out.Write32(kMarker);
    out.Write32(series.startTime);
    out.Write32(series.startTime + series.duration);
    out.Write16(static_cast<DWORD>(series.changed.size()));
    for (const auto& occurrence : series.changed) WriteOccurrence(out, occurrence);
    return out.Take();
}

} // namespace plat::poom
