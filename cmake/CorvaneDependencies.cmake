# Everything the library is built on. Debian packages all of it but scnlib, which platform/scn
# stands in for; scripts/dependencies installs it, and prints these lines where it cannot.

# Stops with an error that says which version of a dependency was found, and which ones work.
function(corvane_refuse name lowest tested found reason)
    if(NOT lowest STREQUAL "")
        string(PREPEND tested "${lowest} or later, tested with ")
    else()
        string(PREPEND tested "tested with ")
    endif()
    if(found)
        list(REMOVE_DUPLICATES found)
        list(JOIN found ", " found)
        message(FATAL_ERROR
            "${name} ${found} was found, which is not supported. What works: ${tested}. ${reason}")
    endif()
    message(FATAL_ERROR "${name} was not found. What works: ${tested}. ${reason}")
endfunction()

# corvane_find(name lowest tested where find_package-argument...)
function(corvane_find name lowest tested where)
    find_package(${name} ${lowest} QUIET ${ARGN})
    if(NOT ${name}_VERSION)
        # CMake's own find modules spell it so.
        string(TOUPPER ${name} spelling)
        set(${name}_VERSION "${${spelling}_VERSION}")
    endif()
    if(NOT ${name}_FOUND)
        set(found ${${name}_CONSIDERED_VERSIONS} ${${name}_VERSION})
        corvane_refuse(${name} "${lowest}" "${tested}" "${found}" "${${name}_NOT_FOUND_MESSAGE}")
    endif()
    message(STATUS "Found ${name} ${${name}_VERSION}")
endfunction()

# corvane_find_module(name lowest tested where pkg-config-module)
function(corvane_find_module name lowest tested where module)
    pkg_check_modules(${name} QUIET IMPORTED_TARGET ${module}>=${lowest})
    if(NOT ${name}_FOUND)
        pkg_check_modules(${name}_any QUIET ${module})
        corvane_refuse(${name} ${lowest} "${tested}" "${${name}_any_VERSION}"
            "pkg-config looks for it as ${module}.")
    endif()
    message(STATUS "Found ${name} ${${name}_VERSION}")
endfunction()

# The Boost headers before 1.81 lack the JSON exceptions that callers of the index rely on.
corvane_find(Boost 1.81 "1.81 to 1.92" https://www.boost.org CONFIG COMPONENTS filesystem json)
corvane_find(fmt 9 "9.1 to 11.1" https://fmt.dev)
corvane_find(spdlog 1.10 "1.10 to 1.15" https://github.com/gabime/spdlog)
corvane_find(pugixml "" "1.13 to 1.16" https://pugixml.org)
corvane_find(OpenSSL 3.0 "3.0 to 3.6" https://www.openssl.org COMPONENTS Crypto)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
# xmlsec's flags switch struct layouts: they have to come from pkg-config.
corvane_find_module(xmlsec 1.2.28 "1.2.37 to 1.3.10" https://www.aleksey.com/xmlsec xmlsec1-openssl)
corvane_find_module(libxml2 2.9.12 "2.9.14 to 2.15" https://gitlab.gnome.org/GNOME/libxml2 libxml-2.0)
# Debian's CMake package of libzip names command line tools that its -dev package does not bring.
corvane_find_module(libzip 1.7 "1.7.3 to 1.12" https://libzip.org libzip)
# Headers alone, of libtorrent-rasterbar 2.0 (https://libtorrent.org).
find_package(LibtorrentSpan REQUIRED)
