#!/bin/sh
# An application that uses the installed library, found by CMake and by pkg-config, builds and runs.
# usage: consumer.sh BUILD-FOLDER
set -e
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/usr" > "$work/install.log"
cat > "$work/main.cpp" <<'CPP'
#include "QNTools/QNTools.h"
#include "QNWorkerClass/calendarthread.h"

int main() {
    InitQNTools(nullptr, true);
    CCalendarThread thread;
    SYSTEMTIME day{};
    day.wYear = 2026;
    day.wMonth = 11;
    day.wDay = 21;
    thread.SetRestrict(&day, &day, true);
    thread.CalendarThreadProc(nullptr, 0);
    const bool header = thread.GetActiveDataCount() == 1 && thread.GetList().Get(1)->IsHeader();
    UnInitQNTools();
    return header ? 0 : 1;
}
CPP
cat > "$work/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.22)
project(consumer CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(QNTools REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE QNTools::QNTools)
CMAKE
flags=$2
cmake -S "$work" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/usr" -DCMAKE_CXX_FLAGS="$flags" > "$work/cmake.log"
cmake --build "$work/build" > "$work/build.log"
QN_DEVICE="$work/device" "$work/build/consumer"
package=$(find "$work/usr" -name pkgconfig -type d)
g++ $flags $(PKG_CONFIG_PATH=$package pkg-config --cflags qntools) "$work/main.cpp" -o "$work/plain" \
    $(PKG_CONFIG_PATH=$package pkg-config --libs qntools)
LD_LIBRARY_PATH=$(dirname "$package") QN_DEVICE="$work/device2" "$work/plain"
echo "the installed library serves an application"
