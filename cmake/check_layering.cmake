# Checks that every file includes only its own floor and those below: cmake -DROOT=source-dir -P check_layering.cmake
#
# Each folder of qel/ has a number; a file may include a folder of a smaller number, and its own. Folders of one number stand
# side by side and know nothing of each other. Engine files name each other from the root ("qel/mem/mem.h"), so that the
# floor can be read off the line; a relative name is refused. Every violation is printed as file:line: reason.

cmake_minimum_required(VERSION 3.22)

set(floor_platform 0)
set(floor_lines 1)
set(floor_mem 2)
set(floor_image 3)
set(floor_fileio 4)
set(floor_convert 4)
set(floor_geometry 4)
set(floor_ops 4)
set(floor_draw 5)
set(floor_display 6)
set(floor_module 7)

# What a floor may include all the same, as patterns.
set(allowed_platform "^qel/lines/(convert|pixels)\\.h$") # the loops over the lines of surfaces
set(allowed_ops "^qel/draw/point_[a-z_]*\\.h$") # the point containers

# Reads what file `path` of folder `folder` includes and adds the lines that reach up to `violations`.
function(check_file path folder)
  # Characters that mean something in a list are replaced; no include line has any.
  file(READ "${ROOT}/${path}" lines)
  string(REGEX REPLACE "[][;\\]" "." lines "${lines}")
  string(REPLACE "\n" ";" lines "${lines}")
  set(number 0)
  foreach(line IN LISTS lines)
    math(EXPR number "${number} + 1")
    if(NOT line MATCHES "^[ \t]*#[ \t]*include[ \t]*([\"<])([^\">]+)[\">]")
      continue()
    endif()
    set(quote "${CMAKE_MATCH_1}")
    set(target "${CMAKE_MATCH_2}")
    set(reason "")
    if(target STREQUAL "qel/export.h")
      continue()
    elseif(target MATCHES "^qel/[^/]+$")
      set(reason "${target} stands above every floor")
    elseif(target MATCHES "^qel/([^/]+)/")
      set(other "${CMAKE_MATCH_1}")
      if(other STREQUAL folder OR (DEFINED allowed_${folder} AND target MATCHES "${allowed_${folder}}"))
        continue()
      elseif(NOT DEFINED floor_${other})
        set(reason "${other} is no floor")
      elseif(floor_${other} GREATER_EQUAL floor_${folder})
        set(reason "${folder} must not include ${target}")
      endif()
    elseif(target MATCHES "^(apps|codecs|tests|bench)/")
      set(reason "${folder} must not include ${target}")
    elseif(quote STREQUAL "\"")
      set(reason "\"${target}\" is not named from the root")
    endif()
    if(reason)
      list(APPEND violations "${path}:${number}: ${reason}")
    endif()
  endforeach()
  set(violations "${violations}" PARENT_SCOPE)
endfunction()

set(violations "")
set(checked 0)
file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/qel/*.h" "${ROOT}/qel/*.cpp")
foreach(path IN LISTS files)
  if(NOT path MATCHES "^qel/([^/]+)/")
    continue() # qel.h and export.h themselves
  endif()
  set(folder "${CMAKE_MATCH_1}")
  math(EXPR checked "${checked} + 1")
  if(DEFINED floor_${folder})
    check_file("${path}" "${folder}")
  else()
    list(APPEND violations "${path}:1: ${folder} is no floor")
  endif()
endforeach()

if(checked EQUAL 0)
  message(FATAL_ERROR "no engine files under '${ROOT}'")
endif()
if(violations)
  list(JOIN violations "\n" text)
  message(NOTICE "${text}")
  message(FATAL_ERROR "an include reaches above its floor")
endif()
message(STATUS "${checked} files include only their own floor and those below")
