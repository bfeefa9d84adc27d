// Expanding 1,000 series (350 every one to three days, 350 weekly on three days, 100 monthly by day, 100 by nth weekday, 100 yearly)
// against libical's iterator, entered by icalrecur_iterator_set_start, in the same run.
//
// Ours reads the blob and makes the lines of the list; the peer has its rule parsed beforehand and only counts dates.
// The instructions of one expansion, for the steady gate:
//
//     valgrind --tool=callgrind --toggle-collect=ExpandOnce recurrence_bench --drive month
#include "Platform/testing.h"
#include "bench/ratios.h"
#include "tests/support/blobs.h"
#include "tests/support/expander.h"

#include <libical/ical.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kSeries = 1000;
constexpr char kMonthFirst[] = "2026-03-01";
constexpr char kMonthLast[] = "2026-03-31";
constexpr char kYearLast[] = "2027-02-28";

LONG Day(const char* date) { return DayOfMinutes(Minutes(date)); }

struct Series {
    std::vector<BYTE> blob;
    icalrecurrencetype rule;
    icaltimetype start;
};

class Mix {
public:
    // Series that began in these days before the range; a third of them ends, unless `endless`.
    Mix(int youngest, int oldest, bool endless) : m_youngest(youngest), m_oldest(oldest), m_endless(endless) {
        for (int i = 0; i < kSeries; ++i) m_series.push_back(Make(i));
    }
    const std::vector<Series>& All() const { return m_series; }

private:
    int Number(int from, int to) { return std::uniform_int_distribution<int>(from, to)(m_engine); }

    Series Make(int i) {
        static const char* const kDays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
        LONG first = Day(kMonthFirst) - Number(m_youngest, m_oldest);
        CivilDate date = CivilOf(first);
        Blob blob;
        std::string rule;
        if (i < 350) {
            blob.recurType = 8202;
            DWORD days = static_cast<DWORD>(Number(1, 3));
            blob.period = days * 1440;
            rule = "FREQ=DAILY;INTERVAL=" + std::to_string(days);
        } else if (i < 700) {
            DWORD weeks = static_cast<DWORD>(Number(1, 2));
            DWORD mask = 0;
            while (__builtin_popcount(mask) < 3) mask |= 1u << Number(0, 6);
            blob.recurType = 8203;
            blob.patternType = 1;
            blob.period = weeks;
            blob.fields = {mask};
            rule = "FREQ=WEEKLY;WKST=SU;INTERVAL=" + std::to_string(weeks) + ";BYDAY=";
            for (int day = 0; day < 7; ++day)
                if (mask & (1u << day)) rule += std::string(rule.back() == '=' ? "" : ",") + kDays[day];
        } else if (i < 800) {
            LONG day = Number(1, 31);
            blob.recurType = 8204;
            blob.patternType = 2;
            blob.period = 1;
            blob.fields = {static_cast<DWORD>(day)};
            rule = "FREQ=MONTHLY;BYMONTHDAY=" + std::to_string(day);
        } else if (i < 900) {
            int weekday = Number(0, 6);
            int nth = Number(1, 5);
            blob.recurType = 8204;
            blob.patternType = 3;
            blob.period = 1;
            blob.fields = {1u << weekday, static_cast<DWORD>(nth)};
            rule = "FREQ=MONTHLY;BYDAY=" + std::to_string(nth == 5 ? -1 : nth) + kDays[weekday];
        } else {
            blob.recurType = 8205;
            blob.patternType = 2;
            blob.yearOffset = static_cast<DWORD>((DayOf({2001, date.month, 1}) - DayOf({2001, 1, 1})) * 1440);
            blob.period = 12;
            blob.fields = {static_cast<DWORD>(date.day)};
            rule = "FREQ=YEARLY;BYMONTH=" + std::to_string(date.month) +
                   ";BYMONTHDAY=" + std::to_string(date.day);
        }
        blob.startDate = MinutesOfDay(first);
        blob.startTime = static_cast<DWORD>(Number(16, 40)) * 30;
        blob.endTime = blob.startTime + static_cast<DWORD>(Number(1, 4)) * 30;
        if (!m_endless && i % 3 == 0) {
            LONG last = first + Number(30, 1000);
            CivilDate end = CivilOf(last);
            char until[32];
            std::snprintf(until, sizeof until, ";UNTIL=%04d%02d%02dT235959", end.year, end.month, end.day);
            blob.endDate = MinutesOfDay(last);
            rule += until;
        }
        icaltimetype start = icaltime_null_time();
        start.year = date.year;
        start.month = date.month;
        start.day = date.day;
        start.hour = static_cast<int>(blob.startTime / 60);
        start.minute = static_cast<int>(blob.startTime % 60);
        return {blob.Bytes(), icalrecurrencetype_from_string(rule.c_str()), start};
    }

    std::mt19937 m_engine{20260301};
    int m_youngest;
    int m_oldest;
    bool m_endless;
    std::vector<Series> m_series;
};

const Mix& TwoYears() {
    static const Mix mix(0, 730, false);
    return mix;
}
const Mix& LastYear() {
    static const Mix mix(300, 365, true);
    return mix;
}
const Mix& FifteenYears() {
    static const Mix mix(15 * 365 - 65, 15 * 365, true);
    return mix;
}

// The series' zone is an hour behind the device's, so that the lines stay on their days and are as many.
TIME_ZONE_INFORMATION European(LONG bias) {
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = bias;
    zone.DaylightBias = -60;
    zone.StandardDate = {0, 10, 0, 5, static_cast<WORD>(2 - bias / 60), 0, 0, 0};
    zone.DaylightDate = {0, 3, 0, 5, static_cast<WORD>(1 - bias / 60), 0, 0, 0};
    return zone;
}

Expander& TheExpander() {
    static std::unique_ptr<Expander> expander = [] {
        static std::string folder = (std::filesystem::temp_directory_path() / "qnbench-XXXXXX").string();
        PlatSetDeviceFolder(mkdtemp(folder.data()));
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(folder, ignored);
        });
        TIME_ZONE_INFORMATION berlin = European(-60);
        PlatSetTimeZone(&berlin);
        return std::make_unique<Expander>();
    }();
    return *expander;
}

} // namespace

namespace {

void ExpandSeries(Expander& expander, const Mix& mix, const DATACALENDAR& like,
                  const TIME_ZONE_INFORMATION* zone) {
    for (const Series& series : mix.All())
        expander.Expand(series.blob.data(), static_cast<DWORD>(series.blob.size()), like, zone);
}

} // namespace

// What callgrind counts: a load of a thread that has loaded before.
extern "C" __attribute__((noinline)) void
ExpandOnce(Expander& expander, const Mix& mix, const DATACALENDAR& like, const TIME_ZONE_INFORMATION* zone) {
    ExpandSeries(expander, mix, like, zone);
}

namespace {

// One expansion into an emptied list; gives the lines.
int ExpandAll(const Mix& mix, const char* last, const TIME_ZONE_INFORMATION* zone,
              decltype(&ExpandSeries) expand = ExpandSeries, benchmark::State* state = nullptr) {
    Expander& expander = TheExpander();
    DATACALENDAR like;
    like.m_oid = 0x40000001;
    like.m_lDuration = 60;
    like.m_bstrSubject = SysAllocString(u"A subject of some length");
    like.m_bstrLocation = SysAllocString(u"Room 12");
    expander.SetDays(Day(kMonthFirst), Day(last));
    if (state) state->PauseTiming();
    expander.GetList().Clear();
    if (state) state->ResumeTiming();
    expand(expander, mix, like, zone);
    return expander.GetList().GetCount();
}

int IterateAll(const Mix& mix, const char* last) {
    icaltimetype from = icaltime_null_time();
    std::sscanf(kMonthFirst, "%d-%d-%d", &from.year, &from.month, &from.day);
    icaltimetype to = icaltime_null_time();
    std::sscanf(last, "%d-%d-%d", &to.year, &to.month, &to.day);
    to.hour = 23;
    to.minute = 59;
    int count = 0;
    for (const Series& series : mix.All()) {
        icalrecur_iterator* iterator = icalrecur_iterator_new(series.rule, series.start);
        if (!iterator) continue;
        if (icaltime_compare(series.start, from) < 0) icalrecur_iterator_set_start(iterator, from);
        for (;;) {
            icaltimetype next = icalrecur_iterator_next(iterator);
            if (icaltime_is_null_time(next) || icaltime_compare(next, to) > 0) break;
            if (icaltime_compare(next, from) >= 0) ++count;
        }
        icalrecur_iterator_free(iterator);
    }
    return count;
}

void Ours(benchmark::State& state, const Mix& (*mix)(), const char* last, bool zoned) {
    TIME_ZONE_INFORMATION zone = European(0);
    int lines = 0;
    for (auto _ : state) lines = ExpandAll(mix(), last, zoned ? &zone : nullptr, ExpandSeries, &state);
    state.counters["lines"] = lines;
    state.SetItemsProcessed(state.iterations() * kSeries);
}

void Peer(benchmark::State& state, const char* last) {
    int dates = 0;
    for (auto _ : state) dates = IterateAll(TwoYears(), last);
    state.counters["dates"] = dates;
    state.SetItemsProcessed(state.iterations() * kSeries);
}

// What is compared stands together: the year leaves a heap in pieces behind.
BENCHMARK_CAPTURE(Ours, month, TwoYears, kMonthLast, false)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK_CAPTURE(Ours, month_zoned, TwoYears, kMonthLast, true)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5);
BENCHMARK_CAPTURE(Ours, month_begun_last_year, LastYear, kMonthLast, false)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5);
BENCHMARK_CAPTURE(Ours, month_begun_15_years_ago, FifteenYears, kMonthLast, false)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5);
BENCHMARK_CAPTURE(Peer, month, kMonthLast)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK_CAPTURE(Ours, year, TwoYears, kYearLast, false)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK_CAPTURE(Peer, year, kYearLast)->Unit(benchmark::kMicrosecond)->Repetitions(5);

int Drive(const char* what) {
    bool year = std::strcmp(what, "year") == 0;
    bool zoned = std::strcmp(what, "zoned") == 0;
    bool old = std::strcmp(what, "old") == 0;
    TIME_ZONE_INFORMATION zone = European(0);
    int lines = 0;
    for (auto expand : {ExpandSeries, ExpandOnce})
        lines = ExpandAll(old ? FifteenYears() : TwoYears(), year ? kYearLast : kMonthLast,
                          zoned ? &zone : nullptr, expand);
    std::printf("%d series, %d lines\n", kSeries, lines);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--drive") == 0) return Drive(argv[2]); // month, year, zoned, old
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatio("one month: libical / ours (20 or more)", "Peer/month", "Ours/month");
    reporter.PrintRatio("one year: libical / ours (5 or more)", "Peer/year", "Ours/year");
    reporter.PrintRatio("a zone on every series / without (1.5 or less)", "Ours/month_zoned", "Ours/month");
    reporter.PrintRatio("begun 15 years ago / last year (1.3 or less)", "Ours/month_begun_15_years_ago",
                        "Ours/month_begun_last_year");
    return 0;
}
