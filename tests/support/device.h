// A temporary device folder for one test: made empty, entered, and removed with everything in it.
#pragma once

#include "Platform/testing.h"
#include "tests/support/errorof.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <filesystem>
#include <string>

class DeviceTest : public ::testing::Test {
protected:
    DeviceTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qntest-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        PlatResetForTests();
        PlatSetDeviceFolder(m_folder);
    }
    ~DeviceTest() override {
        PlatResetForTests();
        PlatSetDeviceFolder(""); // closes what the host keeps open there
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    // The host path of a file of the device.
    std::string HostPath(const std::string& relative) const { return m_folder + "/" + relative; }

    std::string m_folder;
};
