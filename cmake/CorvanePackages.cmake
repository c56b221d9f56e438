# Debian packages, made by `cpack` in the build directory; scripts/package does all of it.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvane-common)
set(CPACK_PACKAGE_CONTACT "Corvane Common maintainers <maintainers@corvane.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL arm-linux-gnueabihf)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libcorvane-common${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION}
 Checks a signed firmware package against one trusted certificate and installs it.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libcorvane-common-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
 Headers, the CMake package corvane_common and corvane_common.pc.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "libboost1.81-dev, libboost-filesystem1.81-dev, libboost-json1.81-dev, libfmt-dev, libpugixml-dev, libzip-dev, pkg-config")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME corvane-common-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "${PROJECT_DESCRIPTION} (programs)
 firmware-pack makes and signs packages; firmware-host validates and installs one.")

if(CMAKE_CROSSCOMPILING)
    # dpkg-shlibdeps looks into the package database of the machine it runs on. The names are those
    # of the native packages.
    set(corvane_libraries
        "libc6, libstdc++6, libgcc-s1, libfmt9, libspdlog1.10-fmt9, libpugixml1v5, libzip4, libxml2, libxmlsec1, libxmlsec1-openssl, libssl3, libboost-filesystem1.81.0, libboost-json1.81.0")
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${corvane_libraries}")
    set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${corvane_libraries}")
else()
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
        "${PROJECT_BINARY_DIR}/src" "${PROJECT_BINARY_DIR}/platform/tessary")
    if(TESSARY_LIBRARY)
        cmake_path(GET TESSARY_LIBRARY PARENT_PATH directory)
        list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${directory}")
    endif()
endif()

# Where libtessary.so was given, the device has it, be it in a package or not.
set(CORVANE_TESSARY_PACKAGE "" CACHE STRING "Debian package that holds TESSARY_LIBRARY, if any")
if(TESSARY_LIBRARY)
    set(corvane_tessary "${CORVANE_TESSARY_PACKAGE}")
else()
    set(corvane_tessary "libtessary | libtessary-standin")
    list(APPEND CPACK_COMPONENTS_ALL tessary-standin)
    set(CPACK_DEBIAN_TESSARY-STANDIN_PACKAGE_NAME libtessary-standin)
    set(CPACK_DEBIAN_TESSARY-STANDIN_PACKAGE_SECTION libdevel)
    set(CPACK_DEBIAN_TESSARY-STANDIN_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1, libssl3")
    set(CPACK_DEBIAN_TESSARY-STANDIN_PACKAGE_CONFLICTS libtessary)
    set(CPACK_COMPONENT_TESSARY-STANDIN_DESCRIPTION
        "Stand-in for the device's base library, for development only
 This is NOT the device's libtessary.so and must not be put on a device. It brings the
 one function that libcorvane_common.so needs, so that machines without the device's
 library can build and test.")
endif()
list(APPEND CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS ${corvane_tessary})
list(JOIN CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS ", " CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS)

include(CPack)
