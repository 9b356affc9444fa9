# What an installed prefix holds: include/qel, libqel.so, the CMake package, the pkg-config file, bin/qel and
# bin/qelview.

include(CMakePackageConfigHelpers)

# qel_public_headers(OUT): the headers that qel/qel.h pulls in, itself included, as paths from the source folder. Only these
# are installed, so that engine-internal headers stay inside and every installed one finds what it includes.
function(qel_public_headers out)
  set(found "")
  set(pending "qel/qel.h")
  while(pending)
    list(POP_FRONT pending header)
    if(header IN_LIST found)
      continue()
    endif()
    list(APPEND found "${header}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${header}")
    file(STRINGS "${PROJECT_SOURCE_DIR}/${header}" lines REGEX "^[ \t]*#[ \t]*include[ \t]*[\"<]qel/")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^[^\"<]*[\"<]([^\">]+)[\">].*$" "\\1" included "${line}")
      list(APPEND pending "${included}")
    endforeach()
  endwhile()
  set(${out} "${found}" PARENT_SCOPE)
endfunction()

qel_public_headers(public_headers)
foreach(header IN LISTS public_headers)
  get_filename_component(folder "${header}" DIRECTORY)
  install(FILES "${PROJECT_SOURCE_DIR}/${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${folder}")
endforeach()

install(TARGETS qel EXPORT qelTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(FILES "${PROJECT_BINARY_DIR}/qel/qel/palette.map" DESTINATION "${CMAKE_INSTALL_LIBDIR}/qel")
if(TARGET qel_cli)
  install(TARGETS qel_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(TARGET qelview)
  install(TARGETS qelview RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()

# find_package(qel)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/qel")
install(EXPORT qelTargets NAMESPACE qel:: DESTINATION "${package_dir}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/qelConfig.cmake.in" "${PROJECT_BINARY_DIR}/qelConfig.cmake"
                              INSTALL_DESTINATION "${package_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/qelConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/qelConfig.cmake" "${PROJECT_BINARY_DIR}/qelConfigVersion.cmake"
        DESTINATION "${package_dir}")

# pkg-config: the prefix is told from where qel.pc lies, so that an installed tree can be moved.
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH QEL_PC_TO_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" QEL_PC_TO_PREFIX "${QEL_PC_TO_PREFIX}")
set(QEL_PC_READER "")
if(QEL_CODECS)
  set(QEL_PC_READER " -lzulall32")
endif()
configure_file("${CMAKE_CURRENT_LIST_DIR}/qel.pc.in" "${PROJECT_BINARY_DIR}/qel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/qel.pc" DESTINATION "${pkgconfig_dir}")
