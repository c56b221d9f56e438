# 32-bit ARM, hard-float: Debian's cross compiler against the sysroot that scripts/armhf-sysroot
# makes. Tests run under qemu-arm.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7)

set(CORVANE_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../.deps/armhf" CACHE PATH "The device's sysroot")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CORVANE_SYSROOT)
get_filename_component(CMAKE_SYSROOT "${CORVANE_SYSROOT}" REALPATH)
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "no sysroot in ${CMAKE_SYSROOT}: run scripts/armhf-sysroot")
endif()

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
foreach(language C CXX)
    # File offsets are 64 bits wide everywhere, in the tests and in what they include as well.
    # GCC notes a change in parameter passing since version 7, which does not concern code built here.
    set(CMAKE_${language}_FLAGS_INIT
        "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard -D_FILE_OFFSET_BITS=64 -Wno-psabi")
endforeach()

set(CMAKE_FIND_ROOT_PATH "${CMAKE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_LIBDIR}
    "${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${CMAKE_SYSROOT}")
