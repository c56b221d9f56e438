################################################################################
#
# corvane-xmlsec1
#
################################################################################

# Under a name of its own, so that it cannot clash with a Buildroot that brings xmlsec1 itself.
CORVANE_XMLSEC1_VERSION = 1.3.12
CORVANE_XMLSEC1_SOURCE = xmlsec1-$(CORVANE_XMLSEC1_VERSION).tar.gz
CORVANE_XMLSEC1_SITE = https://github.com/lsh123/xmlsec/releases/download/$(CORVANE_XMLSEC1_VERSION)
CORVANE_XMLSEC1_LICENSE = MIT
CORVANE_XMLSEC1_LICENSE_FILES = COPYING
CORVANE_XMLSEC1_INSTALL_STAGING = YES
CORVANE_XMLSEC1_DEPENDENCIES = host-pkgconf libxml2 openssl
CORVANE_XMLSEC1_CONF_OPTS = \
	--with-openssl \
	--without-gcrypt \
	--without-gnutls \
	--without-libxslt \
	--without-nspr \
	--without-nss \
	--disable-crypto-dl \
	--disable-apps-crypto-dl \
	--disable-docs \
	--disable-mans

$(eval $(autotools-package))
