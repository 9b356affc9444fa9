# Installs a build into a scratch prefix and uses it as a stranger would: every header compiled alone, the examples built
# through find_package, one through pkg-config too, and run; the installed command line run from where it lies, with its data.
#
# cmake -DBUILD=... -DEXAMPLE=... -DCODECS=ON|OFF -DSCRATCH=... -DCXX=... -P check_install.cmake

cmake_minimum_required(VERSION 3.22)

# Runs a command; its output goes to the variable `out`. A status other than 0 ends the check.
function(run out)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text ERROR_VARIABLE problems RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "status ${status} from: ${command}\n${text}\n${problems}")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# Runs a built example and looks at what it says and writes.
function(run_example program)
  set(picture "${SCRATCH}/hello.bmp")
  file(REMOVE "${picture}")
  run(text ${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${library_dir}" "${program}" "${picture}")
  if(NOT text STREQUAL "${picture}: 256 x 128 pixels of 24 bits\n")
    message(FATAL_ERROR "${program} said: ${text}")
  endif()
  # 54 bytes of headers and 256 x 128 x 3 of pixels; the last row comes first: blue 0, green 254, red 255 at its left.
  file(SIZE "${picture}" size)
  file(READ "${picture}" first OFFSET 54 LIMIT 3 HEX)
  if(NOT size EQUAL 98358 OR NOT first STREQUAL "00feff")
    message(FATAL_ERROR "${program} wrote ${size} bytes, first pixel ${first}")
  endif()
endfunction()

file(REMOVE_RECURSE "${SCRATCH}")
set(prefix "${SCRATCH}/prefix")
run(text ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${prefix}")

file(GLOB_RECURSE library "${prefix}/libqel.so")
if(NOT library)
  message(FATAL_ERROR "libqel.so is not installed")
endif()
get_filename_component(library_dir "${library}" DIRECTORY)

# Headers: each alone, twice, under warnings.
file(GLOB_RECURSE headers RELATIVE "${prefix}/include" "${prefix}/include/*.h")
list(LENGTH headers count)
if(count LESS 10 OR NOT "qel/qel.h" IN_LIST headers)
  message(FATAL_ERROR "only ${count} headers are installed")
endif()
foreach(header IN LISTS headers)
  file(WRITE "${SCRATCH}/alone.cpp" "#include <${header}>\n#include <${header}>\n")
  run(text "${CXX}" -std=c++20 -Wall -Wextra -Werror -fsyntax-only "-I${prefix}/include" "${SCRATCH}/alone.cpp")
endforeach()

# The example through the CMake package.
run(text ${CMAKE_COMMAND} -G Ninja -S "${EXAMPLE}" -B "${SCRATCH}/hello" "-DCMAKE_PREFIX_PATH=${prefix}"
    "-DCMAKE_CXX_COMPILER=${CXX}")
run(text ${CMAKE_COMMAND} --build "${SCRATCH}/hello")
run_example("${SCRATCH}/hello/hello")

# The painted scene needs every tool to do its work.
set(painted "${SCRATCH}/painted.bmp")
run(text ${CMAKE_COMMAND} -G Ninja -S "${EXAMPLE}/../paint_scene" -B "${SCRATCH}/paint_scene"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX}")
run(text ${CMAKE_COMMAND} --build "${SCRATCH}/paint_scene")
run(text ${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${library_dir}" "${SCRATCH}/paint_scene/paint_scene" "${painted}")
file(SIZE "${painted}" size)
if(NOT size EQUAL 432054)
  message(FATAL_ERROR "paint_scene said ${text} and wrote ${size} bytes")
endif()

# The example through pkg-config, from a prefix that was moved meanwhile.
set(moved "${SCRATCH}/moved")
file(RENAME "${prefix}" "${moved}")
string(REPLACE "${prefix}" "${moved}" library_dir "${library_dir}")
run(flags ${CMAKE_COMMAND} -E env "PKG_CONFIG_PATH=${library_dir}/pkgconfig" pkg-config --cflags --libs qel)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(text "${CXX}" -std=c++20 "${EXAMPLE}/hello.cpp" -o "${SCRATCH}/hello-pkg-config" ${flags})
run_example("${SCRATCH}/hello-pkg-config")

# The command line finds its library by itself.
run(text "${moved}/bin/qel" info "${SCRATCH}/hello.bmp")
if(NOT text MATCHES "256 x 128 pixels, bottom-up")
  message(FATAL_ERROR "the installed command line said: ${text}")
endif()

# So does the window, where it is built.
if(EXISTS "${moved}/bin/qelview")
  run(text "${moved}/bin/qelview" --version)
endif()

# And the format libraries, by content.
if(CODECS)
  run(text "${moved}/bin/qel" convert "${SCRATCH}/hello.bmp" "${SCRATCH}/hello.png")
  file(RENAME "${SCRATCH}/hello.png" "${SCRATCH}/hello.jpg")
  run(text "${moved}/bin/qel" info "${SCRATCH}/hello.jpg")
  if(NOT text MATCHES "format +PNG\n +size +256 x 128 pixels")
    message(FATAL_ERROR "the installed command line said: ${text}")
  endif()
endif()

# And the maps to the standard palettes, without which it would say so.
execute_process(COMMAND "${moved}/bin/qel" convert "${SCRATCH}/hello.bmp" "${SCRATCH}/mapped.bmp" --type 256 --method map
                OUTPUT_VARIABLE text ERROR_VARIABLE problems RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT problems STREQUAL "")
  message(FATAL_ERROR "converting to the standard palette ended with ${status}: ${text}${problems}")
endif()
message(STATUS "${count} headers, the examples and the command line are in order")
