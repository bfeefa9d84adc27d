// Zone files of the system's database: any bytes are refused or give a year of rules.
#include "Platform/host/zonedata.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const auto zone = plat::ParseZoneFile(std::string(reinterpret_cast<const char*>(data), size));
    if (zone) plat::BuildZoneYear(*zone, 2024, 1'700'000'000);
    return 0;
}
