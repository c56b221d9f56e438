################################################################################
#
# corvane-common
#
################################################################################

# This tree is a part of the sources that it builds.
CORVANE_COMMON_VERSION = 1.0.0
CORVANE_COMMON_SITE = $(realpath $(BR2_EXTERNAL_CORVANE_PATH)/../..)
CORVANE_COMMON_SITE_METHOD = local
CORVANE_COMMON_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build --exclude /out --exclude /.deps
# The owner has chosen no licence yet, so there is neither a name nor a file of one to give.
CORVANE_COMMON_REDISTRIBUTE = NO
CORVANE_COMMON_INSTALL_STAGING = YES
CORVANE_COMMON_DEPENDENCIES = \
	host-pkgconf boost corvane-xmlsec1 fmt libtorrent-rasterbar libxml2 libzip openssl pugixml spdlog \
	$(call qstrip,$(BR2_PACKAGE_CORVANE_COMMON_TESSARY_PACKAGE))

CORVANE_COMMON_TESSARY_LIBRARY = $(call qstrip,$(BR2_PACKAGE_CORVANE_COMMON_TESSARY_LIBRARY))
CORVANE_COMMON_CONF_OPTS = \
	-DCORVANE_BUILD_TESTS=OFF \
	-DCORVANE_LIBTORRENT_INCLUDE_DIR=$(STAGING_DIR)/usr/include \
	-DTESSARY_LIBRARY=$(CORVANE_COMMON_TESSARY_LIBRARY) \
	-DCMAKE_SKIP_INSTALL_RPATH=ON

ifeq ($(BR2_PACKAGE_CORVANE_COMMON)$(BR_BUILDING),yy)
ifeq ($(CORVANE_COMMON_TESSARY_LIBRARY),)
$(error BR2_PACKAGE_CORVANE_COMMON_TESSARY_LIBRARY has to name the device's libtessary.so)
endif
endif

ifeq ($(BR2_PACKAGE_CORVANE_COMMON_TOOLS),y)
CORVANE_COMMON_DEPENDENCIES += cli11 tomlplusplus
CORVANE_COMMON_CONF_OPTS += -DCORVANE_BUILD_TOOLS=ON -DCORVANE_BUILD_EXAMPLES=ON
else
CORVANE_COMMON_CONF_OPTS += -DCORVANE_BUILD_TOOLS=OFF -DCORVANE_BUILD_EXAMPLES=OFF
endif

# Sources to start from: for whoever writes a host, not for the device.
define CORVANE_COMMON_REMOVE_EXAMPLES
	$(RM) -r $(TARGET_DIR)/usr/share/corvane_common
endef
CORVANE_COMMON_POST_INSTALL_TARGET_HOOKS += CORVANE_COMMON_REMOVE_EXAMPLES

$(eval $(cmake-package))
