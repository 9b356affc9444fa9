# Compiler settings common to every target: language level, warnings, sanitizers, compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or RelWithDebInfo" FORCE)
endif()

find_program(QEL_CCACHE ccache)
if(QEL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QEL_CCACHE}")
endif()

# A fused multiply-add would change results from one processor to the next.
# The library calls its own functions directly and may inline them; nobody replaces them from outside.
add_compile_options(-Wall -Wextra -Werror -ffp-contract=off -fno-semantic-interposition)

if(QEL_SANITIZE)
  # The guard around block accesses resumes from real faults only; the sanitizers still see every other access.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(QEL_FUZZ)
  # Vtables and function types are hidden in each library, so the checks of both would see strangers. Libraries find the
  # sanitizers in the program that loads them.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr,function
                      -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
