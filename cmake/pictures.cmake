# Draws Resources/pictures/NUMBER.svg at 16 and 32 pixels, NUMBER.large.svg at 32 and 64, and puts the PNG files into the table
# of Resources/picturetable.h: one generated source in the build tree, made anew when a drawing changes. The same file is the
# script that does it.

if(NOT CMAKE_SCRIPT_MODE_FILE)
  find_program(QN_RSVG_CONVERT rsvg-convert REQUIRED)
  file(GLOB qn_drawings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Resources/pictures/*.svg)
  set(qn_pictures_cpp ${CMAKE_BINARY_DIR}/generated/pictures.cpp)
  add_custom_command(
    OUTPUT ${qn_pictures_cpp}
    COMMAND ${CMAKE_COMMAND} "-DINPUT=${CMAKE_SOURCE_DIR}/Resources/pictures" "-DOUTPUT=${qn_pictures_cpp}"
            "-DCONVERT=${QN_RSVG_CONVERT}" -P ${CMAKE_SOURCE_DIR}/cmake/pictures.cmake
    DEPENDS ${qn_drawings} ${CMAKE_SOURCE_DIR}/cmake/pictures.cmake
    COMMENT "Pictures" VERBATIM)
  target_sources(Resources PRIVATE ${qn_pictures_cpp})
  return()
endif()

get_filename_component(folder ${OUTPUT} DIRECTORY)
set(folder ${folder}/pictures)
file(MAKE_DIRECTORY ${folder})
file(GLOB drawings ${INPUT}/*.svg)
list(SORT drawings COMPARE NATURAL)

set(high_dots 144) # an inch: from there on the larger one is for
set(bytes "")
set(rows "")
foreach(drawing IN LISTS drawings)
  get_filename_component(number ${drawing} NAME_WE)
  if(NOT number MATCHES "^[1-9][0-9]*$" OR number GREATER 65535)
    message(FATAL_ERROR "${drawing}: the name is no number of a picture")
  endif()
  set(small 16)
  if(drawing MATCHES "\\.large\\.svg$")
    set(small 32)
  endif()
  foreach(times 1 2)
    math(EXPR size "${small} * ${times}")
    math(EXPR least_dots "${high_dots} * (${times} - 1)")
    set(png ${folder}/${number}-${size}.png)
    execute_process(COMMAND ${CONVERT} --width=${size} --height=${size} --format=png --output=${png} ${drawing}
                    RESULT_VARIABLE failed ERROR_VARIABLE error)
    if(failed)
      message(FATAL_ERROR "${drawing}: ${error}")
    endif()
    file(READ ${png} hex HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," hex "${hex}")
    string(APPEND bytes "constexpr BYTE k${number}_${size}[] = {${hex}};\n")
    string(APPEND rows "    Row(${number}, ${least_dots}, k${number}_${size}),\n")
  endforeach()
endforeach()

file(WRITE ${OUTPUT}
"// Made by cmake/pictures.cmake from Resources/pictures/*.svg.
#include \"Resources/picturetable.h\"

#include <iterator>

namespace {

template<std::size_t N>
constexpr PlatModuleResource Row(WORD number, WORD leastDots, const BYTE (&png)[N]) {
    return {0, number, png, static_cast<DWORD>(N), u\"PNGPIC\", leastDots};
}

${bytes}
} // namespace

const PlatModuleResource kPictures[] = {
${rows}};
const std::size_t kPictureCount = std::size(kPictures);
")
