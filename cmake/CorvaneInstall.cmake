# Installation: the library, its headers, the CMake package corvane_common and corvane_common.pc.
#
# Components: runtime, dev, tools, and tessary-standin, which exists only where the device's own
# libtessary.so was not given. A static library belongs to component dev only.

include(CMakePackageConfigHelpers)

set(corvane_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/corvane_common")
# Headers that are not this library's own, in a folder that only its users search.
set(corvane_private_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/corvane_common")

install(TARGETS corvane_common EXPORT corvane_common
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT runtime NAMELINK_COMPONENT dev
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" "${corvane_private_include_dir}")
install(DIRECTORY include/Norv include/libzip
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev FILES_MATCHING PATTERN "*.h")

# libtorrent's span and what it includes: its own -dev package needs another Boost than this
# library does.
foreach(header span.hpp assert.hpp config.hpp aux_/deprecated.hpp aux_/disable_warnings_pop.hpp
        aux_/disable_warnings_push.hpp aux_/export.hpp)
    cmake_path(GET header PARENT_PATH directory)
    install(FILES "${LibtorrentSpan_INCLUDE_DIR}/libtorrent/${header}"
        DESTINATION "${corvane_private_include_dir}/libtorrent/${directory}" COMPONENT dev)
endforeach()
install(FILES cmake/licenses/libtorrent.txt
    DESTINATION "${corvane_private_include_dir}/libtorrent" RENAME LICENSE COMPONENT dev)

# The programs find the library, wherever the tree as a whole is installed.
file(RELATIVE_PATH corvane_lib_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
foreach(program firmware-pack firmware-host)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES
            INSTALL_RPATH "\$ORIGIN/${corvane_lib_from_bin}")
    endif()
endforeach()

# Those who link a shared library do not need what only its own code uses. With a static one, they
# link that as well.
set(corvane_link_requires "")
set(corvane_link_libs "")
if(corvane_library_type STREQUAL "STATIC")
    set(corvane_link_requires ", spdlog >= 1.10, libcrypto >= 3.0, xmlsec1-openssl >= 1.2.28, libxml-2.0 >= 2.9.12")
    set(corvane_link_libs " -ltessary -pthread -lstdc++")
endif()

configure_package_config_file(cmake/corvane_commonConfig.cmake.in
    "${PROJECT_BINARY_DIR}/corvane_commonConfig.cmake"
    INSTALL_DESTINATION "${corvane_cmake_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/corvane_commonConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/corvane_commonConfig.cmake"
    "${PROJECT_BINARY_DIR}/corvane_commonConfigVersion.cmake"
    DESTINATION "${corvane_cmake_dir}" COMPONENT dev)
install(EXPORT corvane_common NAMESPACE corvane_common:: FILE corvane_commonTargets.cmake
    DESTINATION "${corvane_cmake_dir}" COMPONENT dev)

file(RELATIVE_PATH corvane_prefix_from_pc
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" corvane_prefix_from_pc "${corvane_prefix_from_pc}")
file(RELATIVE_PATH corvane_include_from_pc
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file(cmake/corvane_common.pc.in "${PROJECT_BINARY_DIR}/corvane_common.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/corvane_common.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)

if(NOT TESSARY_LIBRARY)
    install(TARGETS tessary EXPORT tessary_standin
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT tessary-standin)
    install(EXPORT tessary_standin NAMESPACE tessary:: FILE tessary-standin.cmake
        DESTINATION "${corvane_cmake_dir}" COMPONENT tessary-standin)
    install(FILES platform/tessary/README.md
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME libtessary-standin.md
        COMPONENT tessary-standin)
    install(CODE "message(NOTICE
\"NOTE: this installs a development stand-in for libtessary.so, not the device's base library.
      For a device, configure with -DTESSARY_LIBRARY=/path/to/libtessary.so.\")"
        COMPONENT tessary-standin)
endif()

# Sources to start a host from.
install(DIRECTORY examples/minimal examples/firmware-index examples/firmware-host examples/printable
    DESTINATION "${CMAKE_INSTALL_DATADIR}/corvane_common/examples" COMPONENT dev
    FILES_MATCHING PATTERN "*.cpp" PATTERN "*.h")
