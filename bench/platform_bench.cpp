// Text, memory, dates and zones against what a Linux program would use instead, in the same run.
#include "Platform/clock.h"
#include "Platform/host/collation.h"
#include "Platform/locale.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "Platform/testing.h"
#include "Platform/zonerules.h"

#include <benchmark/benchmark.h>
#include <unicode/coll.h>
#include <unicode/datefmt.h>

#include <cstdlib>
#include <cwchar>
#include <memory>
#include <time.h>
#include <vector>

namespace {

constexpr SYSTEMTIME kDate{2007, 3, 3, 14, 15, 5, 9, 0};

void ShortDate(benchmark::State& state) {
    WCHAR text[64];
    for (auto _ : state)
        benchmark::DoNotOptimize(GetDateFormatW(1024, DATE_SHORTDATE, &kDate, nullptr, text, 64));
}
BENCHMARK(ShortDate);

void ShortDateByIcu(benchmark::State& state) {
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createDateInstance(icu::DateFormat::kShort, icu::Locale("en_US")));
    for (auto _ : state) {
        icu::UnicodeString text;
        benchmark::DoNotOptimize(format->format(1173884709000.0, text));
    }
}
BENCHMARK(ShortDateByIcu);

void CompareWords(benchmark::State& state) {
    const auto flags = static_cast<DWORD>(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            CompareStringW(1024, flags, u"Meeting with Anna", -1, u"Meeting with Bert", -1));
}
BENCHMARK(CompareWords)->Arg(0)->Arg(0x1000)->Arg(0x1001)->Arg(0x30007);

void CompareByIcu(benchmark::State& state) {
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(icu::Locale("en_US"), error));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            collator->compare(u"Meeting with Anna", 17, u"Meeting with Bert", 17, error));
}
BENCHMARK(CompareByIcu);

void FirstComparison(benchmark::State& state) { // what making the comparers of a locale costs
    int turn = 0;
    const char* locales[] = {"it_IT", "nl_NL", "pt_PT", "nb_NO", "cs_CZ", "hu_HU", "tr_TR", "el_GR"};
    for (auto _ : state) {
        PlatSetLocale(locales[turn++ % 8]);
        benchmark::DoNotOptimize(CompareStringW(1024, 0, u"a", -1, u"b", -1));
    }
    PlatSetLocale("en_US");
}
BENCHMARK(FirstComparison)->Iterations(8);

void SortKey(benchmark::State& state) {
    std::vector<BYTE> key;
    const plat::Collation& collation = plat::CurrentCollation();
    for (auto _ : state) {
        key.clear();
        collation.AppendKey(u"Meeting with Anna", key);
        benchmark::DoNotOptimize(key.data());
    }
}
BENCHMARK(SortKey);

TIME_ZONE_INFORMATION Berlin() {
    TIME_ZONE_INFORMATION zone{};
    PlatGetZoneByName("Europe/Berlin", 2007, &zone);
    return zone;
}

void WallClock(benchmark::State& state) {
    const TIME_ZONE_INFORMATION zone = Berlin();
    SYSTEMTIME local;
    bool summer;
    for (auto _ : state)
        benchmark::DoNotOptimize(CeSystemTimeToTzSpecificLocalTime(&zone, &kDate, &local, &summer));
}
BENCHMARK(WallClock);

void WallClockByLibc(benchmark::State& state) {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    time_t moment = 1173884709;
    tm local;
    for (auto _ : state) benchmark::DoNotOptimize(localtime_r(&moment, &local));
    unsetenv("TZ");
}
BENCHMARK(WallClockByLibc);

void DayOffsets(benchmark::State& state) {
    const TIME_ZONE_INFORMATION zone = Berlin();
    int first, last;
    bool summer;
    for (auto _ : state) benchmark::DoNotOptimize(GetDayOffsets(2007, 7, 14, &zone, &first, &last, &summer));
}
BENCHMARK(DayOffsets);

void LocalTimeNow(benchmark::State& state) {
    SYSTEMTIME now;
    for (auto _ : state) GetLocalTime(&now);
}
BENCHMARK(LocalTimeNow);

void ZoneByNameCold(benchmark::State& state) { // another year each time, so nothing is remembered
    TIME_ZONE_INFORMATION zone;
    WORD year = 1970;
    for (auto _ : state) benchmark::DoNotOptimize(PlatGetZoneByName("Europe/Berlin", year++, &zone));
}
BENCHMARK(ZoneByNameCold)->Iterations(200);

void Format(benchmark::State& state) {
    WCHAR text[1024];
    for (auto _ : state)
        benchmark::DoNotOptimize(wsprintfW(text, u"%s at %02d:%02d (%ld)", u"Meeting", 9, 5, 12345));
}
BENCHMARK(Format);

void FormatByLibc(benchmark::State& state) {
    char text[1024];
    for (auto _ : state)
        benchmark::DoNotOptimize(
            std::snprintf(text, sizeof text, "%s at %02d:%02d (%ld)", "Meeting", 9, 5, 12345L));
}
BENCHMARK(FormatByLibc);

// Ten thousand record texts and their end.
void PrivateHeap(benchmark::State& state) {
    for (auto _ : state) {
        HANDLE heap = HeapCreate(0, 0, 0);
        for (int i = 0; i < 10'000; ++i) benchmark::DoNotOptimize(HeapAlloc(heap, 0, 20 + i % 60));
        HeapDestroy(heap);
    }
    state.SetItemsProcessed(state.iterations() * 10'000);
}
BENCHMARK(PrivateHeap);

void PrivateHeapByMalloc(benchmark::State& state) {
    std::vector<void*> blocks(10'000);
    for (auto _ : state) {
        for (std::size_t i = 0; i < 10'000; ++i)
            benchmark::DoNotOptimize(blocks[i] = std::malloc(20 + i % 60));
        for (void* block : blocks) std::free(block);
    }
    state.SetItemsProcessed(state.iterations() * 10'000);
}
BENCHMARK(PrivateHeapByMalloc);

} // namespace

BENCHMARK_MAIN();
