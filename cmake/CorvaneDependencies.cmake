# Everything the library is built on. All of it is packaged by Debian 12 except scnlib, which
# platform/scn stands in for, and libtorrent's span header, which scripts/dependencies unpacks.

# The Boost headers before 1.81 lack the JSON exceptions that callers of the index rely on.
find_package(Boost 1.81 REQUIRED COMPONENTS filesystem json)
find_package(fmt 9 REQUIRED)
find_package(spdlog 1.10 REQUIRED)
find_package(pugixml REQUIRED)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
# xmlsec's flags switch struct layouts: they have to come from pkg-config.
pkg_check_modules(xmlsec REQUIRED IMPORTED_TARGET xmlsec1-openssl>=1.2.28)
pkg_check_modules(libxml2 REQUIRED IMPORTED_TARGET libxml-2.0>=2.9.12)
# Debian's CMake package of libzip names command line tools that its -dev package does not bring.
pkg_check_modules(libzip REQUIRED IMPORTED_TARGET libzip>=1.7)
find_package(LibtorrentSpan REQUIRED)
