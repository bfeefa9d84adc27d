# Runs clang-tidy over all sources, two at a time. A source that passed is not read again until it, a header of the
# project or the list of checks changes.
# usage: cmake -P cmake/tidy.cmake
set(top ${CMAKE_CURRENT_LIST_DIR}/..)
set(stamps ${top}/build/tidy)
execute_process(COMMAND pkg-config --cflags-only-I cairo freetype2 harfbuzz fontconfig gdk-pixbuf-2.0 sdl2 OUTPUT_VARIABLE includes
                OUTPUT_STRIP_TRAILING_WHITESPACE)
separate_arguments(includes)
set(flags -std=c++20 ${includes} -I${top} -DQN_BUILDING -DQN_VERSION="0" -Wno-unknown-warning-option)
file(MAKE_DIRECTORY ${stamps})

file(GLOB_RECURSE headers ${top}/Platform/*.h ${top}/NorvoTools/*.h ${top}/NorvoUI/*.h ${top}/QNWorkerClass/*.h
     ${top}/QNGridCtrl/*.h ${top}/QNNewEditUI/*.h ${top}/QNTools/*.h ${top}/apps/*.h)
set(common "")
foreach(file ${headers} ${top}/.clang-tidy)
  file(SHA1 ${file} hash)
  string(APPEND common ${hash})
endforeach()

file(GLOB_RECURSE sources ${top}/Platform/*.cpp ${top}/NorvoTools/*.cpp ${top}/NorvoUI/*.cpp ${top}/QNWorkerClass/*.cpp
     ${top}/QNGridCtrl/*.cpp ${top}/QNNewEditUI/*.cpp ${top}/QNTools/*.cpp
     ${top}/Resources/*.cpp ${top}/apps/*.cpp)
set(todo "")
foreach(file ${sources})
  file(SHA1 ${file} hash)
  string(SHA1 key "${common}${hash}")
  file(RELATIVE_PATH name ${top} ${file})
  string(REPLACE "/" "_" stamp ${name})
  set(known "")
  if(EXISTS ${stamps}/${stamp})
    file(READ ${stamps}/${stamp} known)
  endif()
  if(NOT known STREQUAL key)
    string(APPEND todo "${name} ${stamp} ${key}\n")
  endif()
endforeach()
if(todo STREQUAL "")
  return()
endif()
file(WRITE ${stamps}/todo "${todo}")
string(JOIN " " words ${flags})
string(REPLACE "\"" "\\\"" words "${words}")
file(WRITE ${stamps}/one.sh "
out=$(clang-tidy --quiet \"$1\" -- ${words} 2>/dev/null)
status=$?
if [ $status = 0 ]; then printf %s \"$3\" > ${stamps}/$2; else echo \"$out\"; fi
exit $status
")
execute_process(COMMAND xargs -P 2 -L 1 -a ${stamps}/todo sh ${stamps}/one.sh WORKING_DIRECTORY ${top}
                RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "clang-tidy found faults")
endif()
