SUMMARY = "Validation and installation of signed firmware packages"
DESCRIPTION = "libcorvane_common.so checks a signed firmware package against one \
trusted certificate and installs it; firmware-pack makes and signs such packages, \
on the build machine, too."
SECTION = "libs"

# The owner has chosen no licence yet. The headers that the -dev package copies from libtorrent are
# under libtorrent's own.
LICENSE = "LicenseRef-corvane-none-chosen-yet"
LIC_FILES_CHKSUM = "file://${CORVANE_LICENSES}/LicenseRef-corvane-none-chosen-yet;md5=f0ca881be4b05e825a070723086cab29"

DEPENDS = "boost cli11 fmt libtorrent-rasterbar libxml2 libzip openssl pugixml spdlog tomlplusplus xmlsec1"

inherit cmake pkgconfig bash-completion externalsrc

EXTERNALSRC = "${CORVANE_SOURCE}"

# The device's base library: its full path, for example ${STAGING_LIBDIR}/libtessary.so together with
# DEPENDS:append:class-target = " RECIPE" in an append file if a recipe brings it. Nothing passes
# for it on a device. The build machine has none; there, a stand-in serves the native tools.
TESSARY_LIBRARY ??= ""
TESSARY_LIBRARY:class-native = ""

EXTRA_OECMAKE = " \
    -DCORVANE_BUILD_TESTS=OFF \
    -DCORVANE_LIBTORRENT_INCLUDE_DIR=${STAGING_INCDIR} \
    -DTESSARY_LIBRARY=${TESSARY_LIBRARY} \
"
# The native programs find the library relative to themselves; the device's have it in ${libdir}.
EXTRA_OECMAKE:append:class-target = " -DCMAKE_SKIP_INSTALL_RPATH=ON"

python check_locations() {
    if not d.getVar('CORVANE_SOURCE'):
        bb.fatal("CORVANE_SOURCE has to name a checkout of the sources")
    if not d.getVar('TESSARY_LIBRARY') and not bb.data.inherits_class('native', d):
        bb.fatal("TESSARY_LIBRARY has to name the device's libtessary.so")
}
do_configure[prefuncs] += "check_locations"

PACKAGE_BEFORE_PN = "${PN}-tools"
FILES:${PN}-tools = "${bindir}/firmware-pack ${bindir}/firmware-host"
FILES:${PN}-dev += "${datadir}/corvane_common/examples"

BBCLASSEXTEND = "native"
