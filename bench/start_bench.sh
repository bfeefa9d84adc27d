#!/bin/sh
# The start of the window with 1,000 appointments: from the start of the process until the page stands complete on the screen,
# and what memory it holds then. Prints medians of the rounds; wants Xvfb (package xvfb) and python3.
#   bench/start_bench.sh FOLDER_OF_THE_PROGRAMS [ROUNDS]
set -e
apps=${1:?usage: start_bench.sh FOLDER_OF_THE_PROGRAMS [ROUNDS]}
folder=$(mktemp -d)
trap 'kill $(cat "$folder/xvfb.pid") 2>/dev/null; rm -rf "$folder"' EXIT
export TZ=Europe/Berlin QN_DEVICE="$folder/device" HOME="$folder"
unset WAYLAND_DISPLAY QN_SCREEN

python3 - >"$folder/thousand.ics" <<'PY'
import datetime, random
random.seed(1)
first = datetime.datetime.combine(datetime.date.today(), datetime.time()) - datetime.timedelta(days=30)
print("BEGIN:VCALENDAR\r\nVERSION:2.0\r")
for n in range(1000):
    start = first + datetime.timedelta(days=n % 60, minutes=30 * random.randrange(14, 40))
    print(f"BEGIN:VEVENT\r\nUID:{n}@example.org\r\nDTSTAMP:20261015T000000Z\r\nDTSTART;TZID=Europe/Berlin:{start:%Y%m%dT%H%M%S}\r\n"
          f"DURATION:PT{30 * random.randrange(1, 5)}M\r\nSUMMARY:Meeting about the plans of week {n}\r\nLOCATION:Room {n % 20}\r\n"
          f"CATEGORIES:{'Work' if n % 3 else 'Home'}\r\nEND:VEVENT\r")
print("END:VCALENDAR\r")
PY
"$apps/qn" import "$folder/thousand.ics" >/dev/null

Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$folder/display" 2>/dev/null &
echo $! >"$folder/xvfb.pid"
for wait in $(seq 100); do [ -s "$folder/display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$folder/display")

python3 - "$apps/qnshell" "${2:-9}" <<'PY'
import ctypes, os, statistics, subprocess, sys, time, zlib
program, rounds = sys.argv[1], int(sys.argv[2])
x = ctypes.CDLL("libX11.so.6")
for name in ("XOpenDisplay", "XGetImage"): getattr(x, name).restype = ctypes.c_void_p
x.XDefaultRootWindow.restype = ctypes.c_ulong
display = ctypes.c_void_p(x.XOpenDisplay(None))
root = x.XDefaultRootWindow(display)

class Image(ctypes.Structure):
    _fields_ = [(n, ctypes.c_int) for n in ("width", "height", "xoffset", "format")] + [("data", ctypes.c_void_p)] + \
               [(n, ctypes.c_int) for n in ("byte_order", "unit", "bit_order", "pad", "depth", "bytes_per_line")]

x.XDestroyImage.argtypes = [ctypes.c_void_p]
def picture():
    at = x.XGetImage(display, ctypes.c_ulong(root), 0, 0, 1280, 1024, ctypes.c_ulong(0xFFFFFFFF), 2)
    image = ctypes.cast(at, ctypes.POINTER(Image)).contents
    seen = zlib.crc32(ctypes.string_at(image.data, image.height * image.bytes_per_line))
    x.XDestroyImage(at)
    return seen

bare, times, firsts, sizes, work = picture(), [], [], [], []
for round in range(rounds + 1):
    begin = time.perf_counter()
    shell = subprocess.Popen([program])
    changes = []
    while not changes or time.perf_counter() - changes[-1][0] < 1:
        if time.perf_counter() - begin > 20 or shell.poll() is not None: sys.exit("no window came")
        seen = picture()
        if seen != (changes[-1][1] if changes else bare): changes.append((time.perf_counter(), seen))
        time.sleep(0.005)
    status = dict(line.split(":", 1) for line in open(f"/proc/{shell.pid}/status"))
    ticks = open(f"/proc/{shell.pid}/stat").read().rsplit(")", 1)[1].split()[11:13]
    shell.terminate(); shell.wait()
    while picture() != bare: time.sleep(0.01)
    if round == 0: continue  # files come into memory
    firsts.append((changes[0][0] - begin) * 1000)
    times.append((changes[-1][0] - begin) * 1000)
    work.append(sum(map(int, ticks)) * 1000 / os.sysconf("SC_CLK_TCK"))
    sizes.append(int(status["VmRSS"].split()[0]) / 1024)
print(f"first pixels after {statistics.median(firsts):.0f} ms, the whole page after {statistics.median(times):.0f} ms (most "
      f"{max(times):.0f}); {statistics.median(work):.0f} ms of processor, {statistics.median(sizes):.1f} MiB resident")
PY
