// Series of an iCalendar file: as a pattern with its changed and deleted occurrences where one holds it, otherwise date by
// date.
#include "Platform/civil.h"
#include "Platform/databases.h"
#include "apps/qn/icssave.h"

#include <algorithm>
#include <cmath>

namespace qn {

namespace {

constexpr std::size_t kMostSingles = 4000;   // of one series
constexpr std::size_t kMostChanges = 5000;   // of one series
constexpr LONG kPastDays = 366;              // of a series with too many dates, these at least are kept
constexpr double kHalfASecond = 0.5 / 86400; // of dates
constexpr const char* kNotAndFollowing =
    "changes an occurrence and all that follow, which a series can't hold";

auto MomentOf(const icaltimetype& t) {
    return civil::DaysFromCivil(t.year, t.month, t.day) * civil::kMinutesPerDay * 60 +
           (t.is_date ? 0 : (t.hour * 60 + t.minute) * 60 + t.second);
}

bool SameDay(const icaltimetype& a, const icaltimetype& b) {
    return a.year == b.year && a.month == b.month && a.day == b.day;
}

DATE DayOf(const icaltimetype& wall) { return WholeDay(ToDate(FromIcal(wall))); }

// One date of a series that was split is known by its place among them.
std::string PartName(const std::string& uid, std::size_t index) { return uid + "#" + std::to_string(index); }

// A changed occurrence whose series nobody has is known by the date it stands for.
std::string PartName(const IcsItem& change) {
    return change.uid + "#" + icaltime_as_ical_string(change.recurrenceId.time);
}

// The date that EXDATE or RECURRENCE-ID means: the same moment, or else the first of that day.
template<class Dates>
auto* FindDate(Dates& dates, const icaltimetype& wall, bool exact) {
    icaltimetype from = wall;
    if (!exact) from.is_date = 1; // from midnight on
    const auto first =
        std::lower_bound(dates.begin(), dates.end(), MomentOf(from),
                         [](const auto& date, auto moment) { return MomentOf(date.wall) < moment; });
    for (auto at = first; at != dates.end() && SameDay(at->wall, wall); ++at)
        if (!at->out && (!exact || MomentOf(at->wall) == MomentOf(wall))) return &*at;
    return static_cast<decltype(&*first)>(nullptr);
}

} // namespace

auto IcsSaver::DateIdentity(const std::string& uid, std::size_t index) -> Identity {
    return {uid, index ? PartName(uid, index) : std::string()};
}

// --- The clock ----------------------------------------------------------------------------------------------------

auto IcsSaver::SeriesOf(const IcsItem& item) -> Series {
    Series series;
    if (!item.start.IsDate() && icaltime_is_utc(item.start.time))
        series.tzid = "UTC";
    else if (!item.start.IsDate() && m_zones.Knows(item.start.tzid))
        series.tzid = item.start.tzid;
    series.start = Wall(item.start, series);
    return series;
}

icaltimetype IcsSaver::Wall(const When& when, const Series& series) {
    return series.rules ? m_zones.ToRules(when, *series.rules) : m_zones.ToZone(when, series.tzid);
}

std::optional<icaltimetype> IcsSaver::UntilWall(const std::string& rule, const IcsItem& item,
                                                const Series& series) {
    const auto until = UntilOf(rule);
    if (!until || until->is_date) return until;
    return Wall({*until, item.start.tzid}, series);
}

// Rules change over the years: those of today hold for a series that still runs.
void IcsSaver::GiveZone(IAppointment* appointment, const Series& series, const Pattern& pattern) {
    if (series.tzid.empty()) return;
    const int last = pattern.endDay ? ToSystemTime(*pattern.endDay).wYear : 9999;
    const int year = std::max<int>(series.start.year, std::min(last, m_thisYear));
    const auto rules = m_zones.Rules(series.tzid, year);
    if (!rules) return;
    TIME_ZONE_INFORMATION zone = *rules;
    CEPROPVAL value{};
    value.propid = PIMPR_TIMEZONE;
    value.val.blob = {sizeof zone, reinterpret_cast<BYTE*>(&zone)};
    Check(BagOf(appointment)->SetProps(0, 1, &value));
}

// --- As a pattern -------------------------------------------------------------------------------------------------

void IcsSaver::SaveRepeating(const IcsGroup& group) {
    const IcsItem& item = *group.master;
    Series series = SeriesOf(item);
    if (item.rules.size() != 1) return SaveSplit(group, series);
    const auto until = UntilWall(item.rules[0], item, series);
    SingleDates extras = ExtrasOf(item, series);
    if (const auto pattern = PatternOf(item.rules[0], series.start, until))
        return SaveSeries(group, *pattern, series, std::move(extras));
    // A start that the rule doesn't give is a date beside it, and the first that a count counts.
    const auto first = FirstDateOf(item.rules[0], series.start, until);
    auto pattern = first ? PatternOf(item.rules[0], *first, until) : std::nullopt;
    if (!pattern || SameDay(*first, series.start) || pattern->occurrences == 1)
        return SaveSplit(group, series);
    if (pattern->occurrences) --pattern->occurrences;
    extras.insert(extras.begin(), {.wall = series.start, .minutes = {}});
    series.start = *first;
    SaveSeries(group, *pattern, series, std::move(extras));
}

void IcsSaver::ApplyPattern(IRecurrencePattern* rule, const Pattern& pattern, DATE firstDay) const {
    Check(rule->put_RecurrenceType(pattern.type));
    Check(rule->put_Interval(pattern.interval));
    if (pattern.mask) Check(rule->put_DayOfWeekMask(pattern.mask));
    if (pattern.day) Check(rule->put_DayOfMonth(pattern.day));
    if (pattern.instance) Check(rule->put_Instance(pattern.instance));
    if (pattern.month) Check(rule->put_MonthOfYear(pattern.month));
    Check(rule->put_PatternStartDate(firstDay));
    if (pattern.occurrences)
        Check(rule->put_Occurrences(pattern.occurrences));
    else if (pattern.endDay)
        Check(rule->put_PatternEndDate(*pattern.endDay));
    else
        Check(rule->put_NoEndDate(VARIANT_TRUE));
}

void IcsSaver::SaveSeries(const IcsGroup& group, const Pattern& pattern, const Series& series,
                          SingleDates extras) {
    const IcsItem& item = *group.master;
    Target target = Open({item.uid, {}});
    IAppointment* appointment = target.appointment.Get();
    FillTexts(appointment, item);
    GiveZone(appointment, series, pattern);
    FillTimes(appointment, item, ToDate(FromIcal(series.start)), DurationMinutes(item));
    FillReminder(appointment, item);
    Com<IRecurrencePattern> rule;
    Check(appointment->GetRecurrencePattern(rule.Out()));
    ApplyPattern(rule.Get(), pattern, DayOf(series.start));

    std::erase_if(extras, [&](const SingleDate& date) { // the rule's own dates again
        Com<IAppointment> own;
        DATE start = 0;
        return SUCCEEDED(rule->GetOccurrence(DayOf(date.wall), own.Out())) &&
               SUCCEEDED(own->get_Start(&start)) &&
               MomentOf(ToIcal(ToSystemTime(start), date.wall.is_date)) == MomentOf(date.wall);
    });
    for (const When& date : item.exceptionDates) {
        if (SingleDate* extra = FindDate(extras, Wall(date, series), !date.IsDate()))
            extra->out = true;
        else
            DeleteOccurrence(rule.Get(), date, series, item.line);
    }
    std::size_t changes = 0;
    for (const IcsItem* change : group.changes) {
        if (++changes > kMostChanges) {
            Complain(change->line, "the series has too many changed occurrences");
            continue;
        }
        if (SingleDate* extra =
                FindDate(extras, Wall(change->recurrenceId, series), !change->recurrenceId.IsDate()))
            extra->change = change, DropPart(PartName(*change));
        else
            ChangeOccurrence(rule.Get(), *change, &item, series);
    }
    Finish(target, item, {item.uid, {}});
    RemarkUnkept(item);
    SaveDates(extras, item, series, 1, !target.isNew, 0);
}

void IcsSaver::DeleteOccurrence(IRecurrencePattern* rule, const When& date, const Series& series,
                                unsigned line) {
    Com<IAppointment> occurrence;
    if (FAILED(rule->GetOccurrence(DayOf(Wall(date, series)), occurrence.Out())))
        Remark("EXDATE that the rule doesn't have");
    else if (FAILED(occurrence->Delete()))
        Complain(line, "an excluded date can't be taken out");
    else
        ++m_tally.deletedOccurrences;
}

void IcsSaver::ChangeOccurrence(IRecurrencePattern* rule, const IcsItem& change, const IcsItem* master,
                                const Series& series) {
    Com<IAppointment> occurrence;
    if (FAILED(rule->GetOccurrence(DayOf(Wall(change.recurrenceId, series)), occurrence.Out())))
        return SaveStrayChange(change);
    DropPart(PartName(change));
    if (change.cancelled) return DeleteOccurrence(rule, change.recurrenceId, series, change.line);
    if (change.thisAndFuture) return Complain(change.line, kNotAndFollowing);
    // What equals the series' own is not written by the store.
    if (!change.summary.empty()) Check(occurrence->put_Subject(Bstr(Utf16(change.summary))));
    Check(occurrence->put_Location(Bstr(Utf16(change.location))));
    Check(occurrence->put_BusyStatus(change.busyStatus));
    SetNote(occurrence.Get(), TakeNote(change.note, change.own));
    FillTimes(occurrence.Get(), change, ToDate(FromIcal(Wall(change.start, series))),
              DurationMinutes(change));
    const HRESULT saved = occurrence->Save();
    if (FAILED(saved)) return Complain(change.line, "a changed occurrence can't be saved: " + Reason(saved));
    ++m_tally.changedOccurrences;
    RemarkUnkept(change);
    if (master) RemarkDifferences(change, *master);
}

// A change of a date that its series doesn't have, or has taken out. It is an appointment for whoever wrote it.
void IcsSaver::SaveStrayChange(const IcsItem& change) {
    if (change.cancelled) {
        DropPart(PartName(change));
        return Remark("cancelled dates that their series doesn't have");
    }
    Remark("changed dates that their series doesn't have (single appointments now)");
    SaveSingle(change, change.start, {}, {change.uid, PartName(change)});
    RemarkUnkept(change);
}

void IcsSaver::RemarkDifferences(const IcsItem& change, const IcsItem& master) {
    Remark("categories of changed occurrences", change.categories != master.categories);
    Remark("privacy of changed occurrences", change.sensitivity != master.sensitivity);
    Remark("alarms of changed occurrences",
           change.reminderMinutes != master.reminderMinutes || change.reminderTime);
    Remark("people of changed occurrences", change.attendees != master.attendees);
}

// --- Date by date -------------------------------------------------------------------------------------------------

auto IcsSaver::ExtrasOf(const IcsItem& item, const Series& series) -> SingleDates {
    SingleDates extras;
    for (const ExtraDate& extra : item.extraDates) {
        icaltimetype wall = Wall(extra.start, series);
        if (wall.is_date && !series.start.is_date) { // at the time of the others
            const icaltimetype day = wall;
            wall = series.start;
            wall.year = day.year, wall.month = day.month, wall.day = day.day;
        }
        wall.is_date = series.start.is_date;
        extras.push_back({.wall = wall, .minutes = extra.minutes});
    }
    const auto less = [](const SingleDate& a, const SingleDate& b) {
        return MomentOf(a.wall) < MomentOf(b.wall);
    };
    const auto same = [](const SingleDate& a, const SingleDate& b) {
        return MomentOf(a.wall) == MomentOf(b.wall);
    };
    std::stable_sort(extras.begin(), extras.end(), less);
    extras.erase(std::unique(extras.begin(), extras.end(), same), extras.end());
    return extras;
}

void IcsSaver::SaveSplit(const IcsGroup& group, const Series& series) {
    const IcsItem& item = *group.master;
    SingleDates dates{{.wall = series.start, .minutes = {}}};
    bool cut = false;
    for (const std::string& rule : item.rules) {
        Expansion expansion;
        expansion.start = series.start;
        expansion.untilWall = UntilWall(rule, item, series);
        expansion.horizon = ToIcal(ToSystemTime(m_horizonDay), true);
        expansion.past = ToIcal(ToSystemTime(Today() - kPastDays), false);
        expansion.most = kMostSingles;
        std::vector<icaltimetype> walls;
        const bool whole = ExpandRule(rule, expansion, walls);
        if (!whole && walls.empty()) Remark("rules that can't be followed date by date");
        cut = cut || !whole;
        for (const icaltimetype& wall : walls) dates.push_back({.wall = wall, .minutes = {}});
    }
    for (SingleDate& extra : ExtrasOf(item, series)) dates.push_back(extra);
    // The first of two equal ones is the start's or the rule's, without a length of its own.
    const auto less = [](const SingleDate& a, const SingleDate& b) {
        return MomentOf(a.wall) < MomentOf(b.wall);
    };
    const auto same = [](const SingleDate& a, const SingleDate& b) {
        return MomentOf(a.wall) == MomentOf(b.wall);
    };
    std::stable_sort(dates.begin(), dates.end(), less);
    dates.erase(std::unique(dates.begin(), dates.end(), same), dates.end());

    const auto find = [&](const When& when) {
        const icaltimetype wall = Wall(when, series);
        SingleDate* date = when.IsDate() ? nullptr : FindDate(dates, wall, true);
        return date ? date : FindDate(dates, wall, false);
    };
    for (const When& excluded : item.exceptionDates) {
        if (SingleDate* date = find(excluded))
            date->out = true;
        else
            Remark("EXDATE that the rule doesn't have");
    }
    for (const IcsItem* change : group.changes) {
        SingleDate* date = find(change->recurrenceId);
        if (!date) {
            SaveStrayChange(*change);
            continue;
        }
        DropPart(PartName(*change));
        if (change->thisAndFuture)
            Complain(change->line, kNotAndFollowing);
        else
            date->change = change;
    }
    const DATE last = dates.size() >= kMostSingles ? DayOf(dates.back().wall) : m_horizonDay;
    SaveDates(dates, item, series, 0, true, cut ? static_cast<LONG>(last) : 0);
}

// Saves the dates as appointments of their own, numbered from `index`; `dropRest` takes out those of an earlier import that
// the series has no more.
void IcsSaver::SaveDates(const SingleDates& dates, const IcsItem& item, const Series& series,
                         std::size_t index, bool dropRest, LONG until) {
    const bool extras = index > 0;
    const std::size_t first = index;
    for (const SingleDate& date : dates) {
        if (date.out || (date.change && date.change->cancelled)) {
            ++m_tally.deletedOccurrences;
            continue;
        }
        When start{date.wall, series.tzid};
        if (series.tzid == "UTC") start = {date.wall, {}};
        if (series.tzid == "UTC" && !date.wall.is_date) start.time.zone = icaltimezone_get_utc_timezone();
        const Identity identity = DateIdentity(item.uid, index);
        if (date.change)
            SaveSingle(*date.change, date.change->start, {}, identity);
        else
            SaveSingle(item, start, date.minutes, identity);
        m_tally.changedOccurrences += date.change != nullptr;
        ++index;
    }
    const std::size_t count = index - first;
    if (extras ? count > 0 : dates.size() > 1 || !item.rules.empty())
        m_tally.splits.push_back({item.line, item.summary, count, until, !item.rules.empty(), extras});
    if (count == 0 && !extras) Delete(Find(olFolderCalendar, m_store.UidProperty(true), item.uid));
    if (dropRest) DropParts(item.uid, std::max<std::size_t>(index, 1));
}

// Single appointments that an earlier import made and this one has no more.
void IcsSaver::DropParts(const std::string& uid, std::size_t from) {
    while (DropPart(PartName(uid, from))) ++from;
}

bool IcsSaver::DropPart(const std::string& part) {
    const bool dropped = Delete(Find(olFolderCalendar, m_store.PartProperty(true), part));
    m_tally.leftovers += dropped;
    return dropped;
}

// Changed occurrences whose series the file doesn't have: an update of one that is stored, or appointments of their own.
void IcsSaver::SaveOrphans(const IcsGroup& group) {
    const std::string& uid = group.changes.front()->uid;
    Com<IDispatch> found;
    const CEOID oid = Find(olFolderCalendar, m_store.UidProperty(true), uid);
    if (oid) Check(m_store.App()->GetItemFromOid(static_cast<LONG>(oid), found.Out()));
    const Com<IAppointment> stored = found.As<IAppointment>(IID_IAppointment);
    VARIANT_BOOL recurring = VARIANT_FALSE;
    if (stored) Check(stored->get_IsRecurring(&recurring));
    if (recurring == VARIANT_FALSE) {
        for (const IcsItem* change : group.changes) SaveOrphan(*change);
        return;
    }
    Series series;
    const Property zone(BagOf(stored.Get()), PIMPR_TIMEZONE);
    if (zone.Value() && zone.Value()->val.blob.dwCount == sizeof(TIME_ZONE_INFORMATION))
        series.rules = *reinterpret_cast<const TIME_ZONE_INFORMATION*>(zone.Value()->val.blob.lpb);
    Com<IRecurrencePattern> rule;
    Check(stored->GetRecurrencePattern(rule.Out()));
    for (const IcsItem* change : group.changes) {
        ChangeOccurrence(rule.Get(), *change, nullptr, series);
    }
    Check(stored->Save());
}

// One date of a series that was split is changed in its place; of another series the change stands for itself.
void IcsSaver::SaveOrphan(const IcsItem& change) {
    const auto split = FindSplitDate(change);
    const Identity identity =
        split ? DateIdentity(change.uid, *split) : Identity{change.uid, PartName(change)};
    if (!change.cancelled) {
        SaveSingle(change, change.start, {}, identity);
        if (!identity.part.empty()) RemarkUnkept(change);
        return;
    }
    if (!Delete(FindItem(identity)))
        return Complain(change.line, "cancels an occurrence of a series that is not there");
    ++m_tally.cancelled;
    if (split) CloseGap(change.uid, *split);
}

// Which single appointment of a split series stands for the date that this is a change of: the one that begins then, or
// the one that has been changed so before.
std::optional<std::size_t> IcsSaver::FindSplitDate(const IcsItem& change) {
    const auto same = [&](DATE start, const When& when) {
        const DATE wanted = m_zones.ToDevice(when);
        return when.IsDate() ? WholeDay(start) == WholeDay(wanted) : std::abs(start - wanted) < kHalfASecond;
    };
    std::optional<std::size_t> before;
    for (std::size_t index = 0; const CEOID oid = FindItem(DateIdentity(change.uid, index)); ++index) {
        Com<IDispatch> item;
        Check(m_store.App()->GetItemFromOid(static_cast<LONG>(oid), item.Out()));
        DATE start = kNoDate;
        Check(item.As<IAppointment>(IID_IAppointment)->get_Start(&start));
        if (same(start, change.recurrenceId)) return index;
        if (same(start, change.start)) before = index;
    }
    return before;
}

// The last single appointment of a series takes the place of one that is gone: they are counted without a gap.
void IcsSaver::CloseGap(const std::string& uid, std::size_t gap) {
    std::size_t last = gap;
    while (FindItem(DateIdentity(uid, last + 1))) ++last;
    if (last == gap) return;
    const Identity identity = DateIdentity(uid, gap);
    Com<IItem> item;
    Check(m_store.App()->GetItemFromOidEx(FindItem(DateIdentity(uid, last)), 0, item.Out()));
    SetText(item, m_store.PartProperty(true), identity.part);
    if (identity.part.empty()) SetText(item, m_store.UidProperty(true), uid);
    Check(item->Save());
}

} // namespace qn
