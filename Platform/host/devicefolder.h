// The device folder: all device paths live under one host folder, and no path, link or ".." leads out of it.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

namespace plat {

// The host folder: set by PlatSetDeviceFolder, else QN_DEVICE, else $XDG_DATA_HOME/quillonary, else
// ~/.local/share/quillonary. Made when missing. Without a trailing slash.
std::string DeviceFolder();
// Whether there is one already; asking makes none.
bool HasDeviceFolder();

// Empty goes back to the environment's. What is open in the former folder must have been closed (AtFolderChange).
void SetDeviceFolder(const std::string& hostFolder);

// Maps a device path ("\pim.vol", "\My Documents\a.txt"; "\" and "/" separate, runs count as one, a leading one may
// be missing) to a host path. Components are matched without regard to case; a missing last component is taken as
// given. False when it leads out of the device folder, or a component can't be a name: error 123 is set.
bool MapDevicePath(std::u16string_view devicePath, std::string& hostPath);

} // namespace plat
