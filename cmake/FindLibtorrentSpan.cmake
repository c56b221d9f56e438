# Finds libtorrent/span.hpp and defines LibtorrentSpan::LibtorrentSpan, headers only.
#
# Debian's -dev package of libtorrent cannot be installed beside Boost 1.81, so
# scripts/dependencies unpacks it into .deps. Otherwise it is searched where CMake looks for all
# headers: in a sysroot if there is one.

find_path(LibtorrentSpan_INCLUDE_DIR libtorrent/span.hpp
    PATHS "${CORVANE_LIBTORRENT_INCLUDE_DIR}" "${PROJECT_SOURCE_DIR}/.deps/libtorrent/usr/include"
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_path(LibtorrentSpan_INCLUDE_DIR libtorrent/span.hpp)
mark_as_advanced(LibtorrentSpan_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibtorrentSpan
    REQUIRED_VARS LibtorrentSpan_INCLUDE_DIR
    REASON_FAILURE_MESSAGE
        "run scripts/dependencies, or set CORVANE_LIBTORRENT_INCLUDE_DIR to the directory that holds libtorrent/span.hpp")

if(LibtorrentSpan_FOUND AND NOT TARGET LibtorrentSpan::LibtorrentSpan)
    add_library(LibtorrentSpan::LibtorrentSpan INTERFACE IMPORTED)
    target_include_directories(LibtorrentSpan::LibtorrentSpan INTERFACE "${LibtorrentSpan_INCLUDE_DIR}")
endif()
