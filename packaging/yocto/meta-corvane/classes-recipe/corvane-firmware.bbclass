# Makes a signed firmware package out of what the build has made, and deploys it beside the images.
# A recipe that inherits this class says what goes into it:
#
#   CORVANE_MANUFACTURER         for example QV
#   CORVANE_MODEL                for example QA01RTVN
#   CORVANE_HW_REVS              supported hardware revisions; optional
#   CORVANE_VERSION              A.B.C.D, of the package
#   CORVANE_SYSTEM_VERSION       A.B.C.D, of its system part
#   CORVANE_APPLICATION_VERSION  A.B.C.D, of its application part
#   CORVANE_PAYLOAD              the files, in the order of their installation, each with parameters
#                                as those of SRC_URI:
#                                  SOURCE[;name=NAME][;path=PATH][;kind=script]
#                                SOURCE is an absolute path, such as one below ${DEPLOY_DIR_IMAGE},
#                                or a file of SRC_URI; NAME is what it is called in the package and
#                                PATH where it goes on the device. A script is run after its
#                                installation if PATH ends in "Script.run".
#   CORVANE_PAYLOAD_TASKS        RECIPE:TASK that make these files, for example
#                                core-image-minimal:do_image_complete
#   CORVANE_KEY                  PEM private key on the build machine, not encrypted
#   CORVANE_CERTIFICATE          PEM certificate of that key, the one the devices trust
#   CORVANE_STORE                1: do not compress the payload; optional
#   CORVANE_PACKAGE_NAME         name of the package; optional
#
# The key and certificate belong into the configuration of the machine that releases firmware, not
# into a layer.

inherit deploy nopackages

INHIBIT_DEFAULT_DEPS = "1"
DEPENDS = "corvane-common-native"
PACKAGE_ARCH = "${MACHINE_ARCH}"

CORVANE_HW_REVS ??= ""
CORVANE_PAYLOAD_TASKS ??= ""
CORVANE_STORE ??= "0"
CORVANE_PACKAGE_NAME ??= "${PN}-${MACHINE}-${CORVANE_VERSION}.zip"

# Where the files of SRC_URI are; scarthgap has no directory of their own for them.
CORVANE_FILES_DIR = "${@d.getVar('UNPACKDIR') or d.getVar('WORKDIR')}"

do_configure[noexec] = "1"
do_compile[noexec] = "1"
do_install[noexec] = "1"

python do_firmware_package() {
    import corvane.firmware
    try:
        command = corvane.firmware.command(d)
    except ValueError as error:
        bb.fatal("%s: %s" % (d.getVar('PN'), error))
    bb.process.run([d.expand('${STAGING_BINDIR_NATIVE}/firmware-pack')] + command)
}
do_firmware_package[dirs] = "${B}"
do_firmware_package[cleandirs] = "${B}"
do_firmware_package[depends] += "${CORVANE_PAYLOAD_TASKS}"
# Where the key lies does not change the package; another certificate does.
do_firmware_package[vardeps] += "CORVANE_MANUFACTURER CORVANE_MODEL CORVANE_HW_REVS CORVANE_VERSION \
    CORVANE_SYSTEM_VERSION CORVANE_APPLICATION_VERSION CORVANE_PAYLOAD CORVANE_STORE CORVANE_PACKAGE_NAME"
do_firmware_package[vardepsexclude] += "CORVANE_KEY CORVANE_CERTIFICATE"
do_firmware_package[file-checksums] += "${@corvane_certificate_checksum(d)}"
addtask firmware_package after do_prepare_recipe_sysroot do_unpack before do_deploy

def corvane_certificate_checksum(d):
    certificate = d.getVar('CORVANE_CERTIFICATE')
    return '%s:%s' % (certificate, os.path.exists(certificate)) if certificate else ''

do_deploy() {
    install -m 0644 ${B}/${CORVANE_PACKAGE_NAME} ${DEPLOYDIR}/
}
addtask deploy after do_firmware_package before do_build
