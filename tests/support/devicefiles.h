// Files of the device folder as host bytes, for tests that look at what is really on disk.
#pragma once

#include "tests/support/device.h"

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

class DeviceFilesTest : public DeviceTest {
protected:
    void Put(const std::string& relative, std::string_view bytes) {
        std::filesystem::create_directories(std::filesystem::path(HostPath(relative)).parent_path());
        std::ofstream(HostPath(relative), std::ios::binary) << bytes;
    }
    // Empty for a file that isn't there.
    std::string Get(const std::string& relative) const {
        std::ifstream in(HostPath(relative), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    bool OnDisk(const std::string& relative) const { return std::filesystem::exists(HostPath(relative)); }

    // ASCII as 16-bit text with the byte-order mark.
    static std::string Wide(std::string_view ascii) {
        std::string bytes = "\xFF\xFE";
        for (char c : ascii) bytes += {c, '\0'};
        return bytes;
    }
    // The opposite, line ends as "|"; what is no ASCII as "?".
    static std::string Narrow(std::string_view bytes) {
        std::string text;
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
            if (bytes[i] == '\r') continue;
            text += bytes[i] == '\n' ? '|' : bytes[i + 1] == 0 ? bytes[i] : '?';
        }
        return text;
    }
};
