#!/bin/sh
# Importing 10,000 events, a fifth of them series, against bare SQLite: the same number of rows of each table, inserted in the
# same batches of 500 in the same run. Prints events a second behind the parsing, the peer's, and the ratio.
#   bench/import_bench.sh QN_PROGRAM [ROUNDS]
set -e
qn=${1:?usage: import_bench.sh QN_PROGRAM [ROUNDS]}
rounds=${2:-5}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export TZ=Europe/Berlin

python3 - "$folder" <<'PY'
import datetime, random, sys
random.seed(1)
lines = ["BEGIN:VCALENDAR", "VERSION:2.0"]
stamp = lambda t: t.strftime("%Y%m%dT%H%M%S")
zones = ["Europe/Berlin", "America/New_York", "Asia/Tokyo"]
for n in range(10000):
    start = datetime.datetime(2025, 1, 1) + datetime.timedelta(days=random.randrange(900), minutes=30 * random.randrange(16, 36))
    zone = zones[n % 3] if n % 4 == 0 else zones[0]
    lines += ["BEGIN:VEVENT", f"UID:event-{n}@example.org", "DTSTAMP:20261015T000000Z",
              f"DTSTART;TZID={zone}:{stamp(start)}", f"DTEND;TZID={zone}:{stamp(start + datetime.timedelta(hours=1))}"]
    if n % 5 == 0:
        weekday = "MO TU WE TH FR SA SU".split()[start.weekday()]
        lines.append("RRULE:" + ["FREQ=DAILY;COUNT=20", f"FREQ=WEEKLY;BYDAY={weekday}", f"FREQ=MONTHLY;BYMONTHDAY={start.day}",
                                 "FREQ=YEARLY", "FREQ=WEEKLY;INTERVAL=2;COUNT=30"][n // 5 % 5])
    lines += [f"SUMMARY:Meeting about the plans of week {n}", f"LOCATION:Room {n % 20}\\, second floor",
              "CATEGORIES:" + ("Work" if n % 3 else "Home"), "DESCRIPTION:A short description of the event", "END:VEVENT"]
lines.append("END:VCALENDAR")
open(sys.argv[1] + "/big.ics", "w", newline="").write("\r\n".join(lines) + "\r\n")
PY

for round in $(seq "$rounds"); do
    rm -rf "$folder/device"
    "$qn" --device "$folder/device" import --timing "$folder/big.ics" | sed -n 's/.* saved in \([0-9.]*\) s.*/own \1/p'
    python3 - "$folder" "$round" <<'PY'
import sqlite3, sys, time
db = sqlite3.connect(f"{sys.argv[1]}/peer{sys.argv[2]}.db", isolation_level=None)
db.executescript("""PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;
CREATE TABLE item(id INTEGER PRIMARY KEY, start INTEGER, b BLOB); CREATE INDEX itemstart ON item(start);
CREATE TABLE category(item INTEGER, id INTEGER); CREATE INDEX categoryitem ON category(item, id);
CREATE TABLE named(item INTEGER, property INTEGER, value BLOB); CREATE INDEX nameditem ON named(item, property);""")
record = bytes(600)
begin = time.perf_counter()
for first in range(0, 10000, 500):
    rows = range(first, first + 500)
    db.execute("BEGIN IMMEDIATE")
    db.executemany("INSERT INTO item(start, b) VALUES(?, ?)", ((n * 7919 % 10007, record) for n in rows))
    db.executemany("INSERT INTO category VALUES(?, ?)", ((n, n % 3) for n in rows))
    db.executemany("INSERT INTO named VALUES(?, ?, ?)", ((n, 0x6100, b"event-%d@example.org" % n) for n in rows))
    db.execute("COMMIT")
print("peer", time.perf_counter() - begin)
PY
done | sort | awk '
    { times[$1, ++count[$1]] = $2 }
    function median(who) { return times[who, int((count[who] + 1) / 2)] }
    END { printf "import %.0f events/s, bare SQLite %.0f events/s, ratio %.2f (limit: 5,000 events/s)\n",
                 10000 / median("own"), 10000 / median("peer"), median("own") / median("peer")
          exit 10000 / median("own") < 5000 }'
