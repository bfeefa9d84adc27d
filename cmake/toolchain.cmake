# Flags, sanitizers, linker and compiler cache.
find_program(QN_CCACHE ccache)
if(QN_CCACHE)
  # Sloppiness is what makes a precompiled header cacheable at all.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime CCACHE_NOHASHDIR=1 ${QN_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align -Wformat=2 -Wvla)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fpch-preprocess)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-Og -g1")

find_program(QN_LLD ld.lld)
if(QN_LLD)
  add_link_options(-fuse-ld=lld)
endif()

if(QN_SANITIZE)
  add_compile_options(-fsanitize=${QN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QN_SANITIZE})
  if(QN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=all)
  endif()
endif()
