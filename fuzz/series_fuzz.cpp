// The object model's reader of recurrence blocks against its writer: what was read and written once stays what it is,
// whatever the block said.
#include "Platform/host/poom_series.h"

#include <cstdlib>

using namespace plat::poom;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Series series;
    if (!DecodeSeries({data, size}, series)) return 0;
    if (series.end == SeriesEnd::Never && CountEnd(series) != S_OK) std::abort();
    const auto written = EncodeSeries(series);
    Series again;
    // A duration that runs past the 32 bits of its end is the one thing that can't be written.
    if (series.startTime + static_cast<std::uint64_t>(series.duration) > 0xFFFFFFFF) return 0;
    if (!DecodeSeries(written, again)) std::abort();
    if (again.end == SeriesEnd::Never && CountEnd(again) != S_OK) std::abort();
    if (EncodeSeries(again) != written) std::abort();
    return 0;
}
