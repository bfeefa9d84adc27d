// What the calls of files need of the serial ports.
#pragma once

#include "Platform/serial.h"

namespace plat {

bool IsPortName(LPCWSTR name);
// CreateFileW on such a name.
HANDLE OpenPort(LPCWSTR name, DWORD access);
// Null for a handle of another kind. The port is used outside of every host call: it may wait for its other end.
std::shared_ptr<PlatSerialPort> FindPort(HANDLE handle);

} // namespace plat
