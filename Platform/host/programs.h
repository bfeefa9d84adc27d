// Starting programs of the host.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace plat {

// Cut at blanks and tabs; double quotes hold a piece together and are taken off, and two of them inside make one. No
// other character means anything.
std::vector<std::u16string> CutCommandLine(std::u16string_view line);

// The host file that PATH gives for a command; empty when there is none. A command with a slash stands for itself.
std::string FindCommand(const std::string& command);

struct StartedProgram {
    int processId = 0;
};
// Starts a command detached from this process, with nothing of its files; doesn't wait for its end. The device's
// error: 0, 8 (no process), 1155 (no such command). `arguments` don't hold the command itself.
DWORD StartHostProgram(const std::string& command, const std::vector<std::string>& arguments,
                       StartedProgram& started);

// A program of the device by the host program table: 2, 3, 8, 1155.
DWORD StartDeviceProgram(std::u16string_view image, std::u16string_view arguments, StartedProgram& started);

// While tests record, true: the start is noted in place of being done, and `error` is its result.
bool RecordStart(std::u16string_view file, std::u16string_view arguments, DWORD& error);

// True when it was recorded, or is the business of a provider, and `error` its result. Outside of every host call.
bool StartedElsewhere(std::u16string_view file, std::u16string_view arguments, DWORD& error);

} // namespace plat
