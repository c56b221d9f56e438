SUMMARY = "Example of a signed firmware package made by an image build"
LICENSE = "LicenseRef-corvane-none-chosen-yet"
LIC_FILES_CHKSUM = "file://${CORVANE_LICENSES}/LicenseRef-corvane-none-chosen-yet;md5=f0ca881be4b05e825a070723086cab29"

SRC_URI = "file://activate.sh"

inherit corvane-firmware

CORVANE_MANUFACTURER = "QV"
CORVANE_MODEL = "QA01RTVN"
CORVANE_HW_REVS = "A B"
CORVANE_VERSION = "${PV}.1"
CORVANE_SYSTEM_VERSION = "${PV}.0"
CORVANE_APPLICATION_VERSION = "${PV}.1"

CORVANE_PAYLOAD = " \
    ${DEPLOY_DIR_IMAGE}/core-image-minimal-${MACHINE}.rootfs.tar.bz2;name=rootfs.tar.bz2;path=system/rootfs.tar.bz2 \
    activate.sh;path=system/activateScript.run;kind=script \
"
CORVANE_PAYLOAD_TASKS = "core-image-minimal:do_image_complete"

# In the local.conf of the machine that releases firmware:
#   CORVANE_KEY = "/path/to/key.pem"
#   CORVANE_CERTIFICATE = "/path/to/certificate.pem"
