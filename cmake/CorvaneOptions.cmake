# Build options, and the compile options that every target of this project links against.

option(CORVANE_BUILD_TOOLS "Build firmware-pack" ${PROJECT_IS_TOP_LEVEL})
option(CORVANE_BUILD_EXAMPLES "Build the example host applications" ${PROJECT_IS_TOP_LEVEL})
option(CORVANE_BUILD_TESTS "Build the test suite" ${PROJECT_IS_TOP_LEVEL})
option(CORVANE_BUILD_BENCHMARKS "Build the benchmarks" OFF)
option(CORVANE_BUILD_FUZZERS "Build the libFuzzer targets (needs clang)" OFF)
option(CORVANE_WERROR "Stop at any warning of the compiler" OFF)
option(CORVANE_TEST_PER_EXECUTABLE "Run the tests of an executable in one process" OFF)
option(CORVANE_INSTALL "Install the library, its tools and what their users need" ${PROJECT_IS_TOP_LEVEL})
option(CORVANE_COVERAGE "Count executed lines and branches (gcc)" OFF)
set(CORVANE_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")
set(CORVANE_LIBTORRENT_INCLUDE_DIR "" CACHE PATH "Directory that holds libtorrent/span.hpp")
set(TESSARY_LIBRARY "" CACHE FILEPATH "The device's libtessary.so; a stand-in is built when empty")

# With an absolute path in the binaries, the same sources would give another library in another
# place.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Shared unless BUILD_SHARED_LIBS says otherwise. Defining that as an option would decide for the
# projects around this one.
set(corvane_library_type SHARED)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
    set(corvane_library_type STATIC)
endif()

add_library(corvane_build_options INTERFACE)
target_compile_features(corvane_build_options INTERFACE cxx_std_17)
target_compile_options(corvane_build_options INTERFACE
    -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wconversion -Wsign-conversion
    # Files that are compiled together see each other's names.
    $<$<NOT:$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wshadow>
    # Log records carry __FILE__; keep it independent of where the tree was checked out.
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
    $<$<BOOL:${CORVANE_WERROR}>:-Werror>)
target_compile_definitions(corvane_build_options INTERFACE
    _FILE_OFFSET_BITS=64
    BOOST_FILESYSTEM_VERSION=3)
if(CORVANE_SANITIZE)
    target_compile_options(corvane_build_options INTERFACE
        "-fsanitize=${CORVANE_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer
        # What a sanitizer puts in between hides from gcc that a value was set.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(corvane_build_options INTERFACE "-fsanitize=${CORVANE_SANITIZE}")
endif()

# The usual hardening, on top, for everything that is installed.
add_library(corvane_installed_options INTERFACE)
target_link_libraries(corvane_installed_options INTERFACE corvane_build_options)
target_compile_options(corvane_installed_options INTERFACE -fstack-protector-strong)
target_link_options(corvane_installed_options INTERFACE -Wl,-z,relro -Wl,-z,now)

# What goes into the shared library, on top of that: unused sections dropped at link time.
add_library(corvane_library_options INTERFACE)
target_link_libraries(corvane_library_options INTERFACE corvane_installed_options)
target_compile_options(corvane_library_options INTERFACE -ffunction-sections -fdata-sections)
target_link_options(corvane_library_options INTERFACE -Wl,--gc-sections)
if(CORVANE_COVERAGE)
    target_compile_options(corvane_build_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(corvane_build_options INTERFACE --coverage)
endif()
