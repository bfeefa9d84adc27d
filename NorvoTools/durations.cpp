// Durations as text.
#include "NorvoTools/datetime.h"
#include "NorvoTools/globals.h"

#include "Platform/modules.h"
#include "Platform/strings.h"

#include <array>

namespace {

constexpr int kMinutesPerHour = 60;
constexpr int kMinutesPerDay = 1440;

// A unit of time: its words in the resource library.
struct Unit {
    UINT nSingular;
    UINT nPlural;
};
constexpr Unit kMinute{41189, 41188};
constexpr Unit kHour{41186, 41184};
constexpr Unit kDay{42460, 42474};

using Part = std::array<WCHAR, 128>;

Part FormatPart(const WCHAR* format, int count, const Unit& unit) {
    Part part{};
    if (count == 0) return part;
    std::array<WCHAR, 64> word{};
    LoadStringW(g_hResources, count == 1 ? unit.nSingular : unit.nPlural, word.data(),
                static_cast<int>(word.size()));
    StringCchPrintfW(part.data(), part.size(), format, count, word.data());
    return part;
}

} // namespace

void FormatDurationString(WCHAR* pszBuffer, int nSize, int nMinutes, bool bDays) {
    if (!pszBuffer || nSize <= 0) return;
    pszBuffer[0] = 0;
    if (nMinutes <= 0) return;
    const int nDays = bDays ? nMinutes / kMinutesPerDay : 0;
    nMinutes -= nDays * kMinutesPerDay;
    const Part days = FormatPart(u"(%d %s)", nDays, kDay);
    const Part hours = FormatPart(u"%d %s", nMinutes / kMinutesPerHour, kHour);
    const Part minutes = FormatPart(u"%d %s", nMinutes % kMinutesPerHour, kMinute);
    StringCchPrintfW(pszBuffer, static_cast<std::size_t>(nSize), u"%s %s %s", days.data(), hours.data(),
                     minutes.data());
}
