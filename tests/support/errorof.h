// What a call of the device failed with.
#pragma once

#include "Platform/threads.h"

#include <type_traits>

// The last error of a call that gave false, 0, null or INVALID_HANDLE_VALUE; 0 when it did not fail.
template<class T>
DWORD ErrorOf(T result) {
    bool failed = !result;
    if constexpr (std::is_pointer_v<T>)
        failed =
            failed || reinterpret_cast<LONG_PTR>(result) == reinterpret_cast<LONG_PTR>(INVALID_HANDLE_VALUE);
    return failed ? GetLastError() : 0;
}
