#!/bin/sh
# The arrows between the rooms: a room includes its own headers, those of the rooms below it, and Platform/*.h; never
# Platform/host. Headers of libraries and of the system stand in Platform/host and apps alone.
# usage: arrows.sh SOURCE-FOLDER
cd "$1" || exit 2
awk '
BEGIN {
    split("Platform NorvoTools NorvoUI QNWorkerClass QNGridCtrl QNNewEditUI QNJPT QNTools", order, " ")
    for (i in order) level[order[i]] = i
    level["Resources"] = 2
    level["apps"] = 99
    # The standard headers that library rooms may use.
    split("algorithm array atomic bit charconv climits cmath compare concepts cstdarg cstddef cstdint cstdio cstdlib " \
          "cstring functional initializer_list iterator limits list map memory mutex new numeric optional set " \
          "shared_mutex span string string_view thread tuple type_traits unordered_map unordered_set utility vector " \
          "condition_variable chrono", names, " ")
    for (i in names) standard[names[i]] = 1
    # The data of a PNG picture are a stream of this library: the format names it.
    allowed["QNGridCtrl", "zlib.h"] = 1
}
function complain(what) { print FILENAME ":" FNR ": " what; bad = 1 }
{
    split(FILENAME, part, "/")
    room = part[1]
    host = FILENAME ~ /^Platform\/host\//
}
/^[ \t]*#[ \t]*include[ \t]*"/ {
    match($0, /"[^"]*"/)
    target = substr($0, RSTART + 1, RLENGTH - 2)
    split(target, to, "/")
    if (!(to[1] in level)) complain("includes " target ", which is in no room")
    else if (target ~ /^Platform\/host\// && !host) complain("includes " target ", which only the host may see")
    else if (target == "Platform/testing.h" && !host) complain("includes " target ", which only tests may see")
    else if (level[to[1]] > level[room]) complain("includes " target " of a room above it")
}
/^[ \t]*#[ \t]*include[ \t]*</ && !host && room != "apps" {
    match($0, /<[^>]*>/)
    target = substr($0, RSTART + 1, RLENGTH - 2)
    if (!(target in standard) && !((room, target) in allowed)) complain("includes <" target ">, which only the host may see")
}
END { exit bad }
' $(find Platform NorvoTools NorvoUI QNWorkerClass QNGridCtrl QNNewEditUI QNJPT QNTools Resources apps \
        -name '*.h' -o -name '*.cpp' 2>/dev/null)
