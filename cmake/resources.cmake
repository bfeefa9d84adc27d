# Turns Resources/strings.<language>.txt into the tables of Resources/languages.h: one generated source in the build tree,
# made anew when a text changes. The same file is the script that does it (cmake -P).

if(NOT CMAKE_SCRIPT_MODE_FILE)
  file(GLOB qn_string_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Resources/strings.*.txt)
  set(qn_strings_cpp ${CMAKE_BINARY_DIR}/generated/strings.cpp)
  add_custom_command(
    OUTPUT ${qn_strings_cpp}
    COMMAND ${CMAKE_COMMAND} "-DINPUT=${CMAKE_SOURCE_DIR}/Resources" "-DOUTPUT=${qn_strings_cpp}"
            -P ${CMAKE_SOURCE_DIR}/cmake/resources.cmake
    DEPENDS ${qn_string_files} ${CMAKE_SOURCE_DIR}/cmake/resources.cmake
    COMMENT "Tables of texts" VERBATIM)
  target_sources(Resources PRIVATE ${qn_strings_cpp})
  return()
endif()

# Lines can't be read as a list: a text may hold what CMake takes for list syntax, and blanks at its end count.
# So the file is cut by hand.
function(qn_read_strings file language out_rows)
  file(READ ${file} content)
  set(rows "")
  set(seen "")
  set(number 0)
  while(NOT content STREQUAL "")
    math(EXPR number "${number} + 1")
    string(FIND "${content}" "\n" end)
    if(end EQUAL -1)
      set(line "${content}")
      set(content "")
    else()
      string(SUBSTRING "${content}" 0 ${end} line)
      math(EXPR end "${end} + 1")
      string(SUBSTRING "${content}" ${end} -1 content)
    endif()
    if(line STREQUAL "" OR line MATCHES "^#")
      continue()
    endif()
    if(NOT line MATCHES "^([0-9]+)\t(.*)$")
      message(FATAL_ERROR "${file}:${number}: neither a comment nor a number, a tab and a text")
    endif()
    set(id ${CMAKE_MATCH_1})
    set(text "${CMAKE_MATCH_2}")
    if(text MATCHES "(^|[^\\])(\\\\\\\\)*\\\\([^rnt\\]|$)")
      message(FATAL_ERROR "${file}:${number}: a backslash is followed by r, n, t or a backslash")
    endif()
    list(FIND seen ${id} known)
    if(NOT known EQUAL -1)
      message(FATAL_ERROR "${file}:${number}: text ${id} stands twice")
    endif()
    list(APPEND seen ${id})
    # The escapes are those of a literal already; a question mark must not begin a trigraph.
    string(REPLACE "\"" "\\\"" text "${text}")
    string(REPLACE "??" "?\\?" text "${text}")
    string(APPEND rows "    Row(${id}, u\"${text}\"),\n")
  endwhile()
  set(${out_rows} "constexpr PlatModuleString k_${language}[] = {\n${rows}};\n\n" PARENT_SCOPE)
endfunction()

file(GLOB files ${INPUT}/strings.*.txt)
list(SORT files)
# English stands first.
list(REMOVE_ITEM files ${INPUT}/strings.en.txt)
list(INSERT files 0 ${INPUT}/strings.en.txt)

set(tables "")
set(languages "")
foreach(file IN LISTS files)
  string(REGEX REPLACE "^.*/strings\\.([A-Za-z_]+)\\.txt$" "\\1" language ${file})
  qn_read_strings(${file} ${language} rows)
  string(APPEND tables "${rows}")
  string(APPEND languages "    {\"${language}\", k_${language}, std::size(k_${language})},\n")
endforeach()

file(WRITE ${OUTPUT}
"// Made by cmake/resources.cmake from Resources/strings.*.txt.
#include \"Resources/languages.h\"

#include <iterator>

namespace {

template<std::size_t N>
constexpr PlatModuleString Row(UINT id, const WCHAR (&text)[N]) {
    return {id, text, N - 1};
}

${tables}} // namespace

const PlatStringTable kLanguages[] = {
${languages}};
const std::size_t kLanguageCount = std::size(kLanguages);
")
