// firmware-host refuses a package that is not meant for this device.

#include <boost/filesystem/operations.hpp>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::IsEmpty;

class HostDevice : public HostFixture {
protected:
    // For QA01RTVN, revisions A and B, version 1.2.3.4.
    boost::filesystem::path package() const {
        return PackageBuilder().firmware("app", "a").build(directory);
    }

    void expectRefused(const std::vector<std::string>& options, const std::string& reason) const {
        const ProcessResult result = run(command(package(), options));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "firmware-host: " + reason + "\n");
        EXPECT_THAT(target.files(), IsEmpty());
    }

    void expectInstalled(const std::vector<std::string>& options) const {
        const ProcessResult result = run(command(package(), options));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(target.files(), ElementsAre("app"));
    }

    std::string deviceFile(const std::string& text) const {
        return directory.write("device", text).string();
    }
};

TEST_F(HostDevice, RefusesAnotherModel) {
    expectRefused({"--model", "WOLMZB04"},
                  package().string() + " is for QA01RTVN, this device is a WOLMZB04");
    expectInstalled({"--model", "QA01RTVN"});
}

TEST_F(HostDevice, RefusesAnUnknownModel) {
    const auto unknown =
        PackageBuilder()
            .firmware("app", "a")
            .editManifest([](Pack::Manifest& manifest) { manifest.modelId = "OTHER001"; })
            .build(directory);
    const ProcessResult result = run(command(unknown, {"--model", "QA01RTVN"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: " + unknown.string() +
                              " is for an unknown model, this device is a QA01RTVN\n");
}

TEST_F(HostDevice, RefusesARevisionThatIsNotSupported) {
    expectRefused({"--hardware-revision", "C"},
                  package().string() + " does not support hardware revision C, only: A, B");
    expectInstalled({"--hardware-revision", "B"});
}

TEST_F(HostDevice, RefusesEveryRevisionWhenNoneIsListed) {
    const auto none =
        PackageBuilder()
            .firmware("app", "a")
            .editManifest([](Pack::Manifest& manifest) { manifest.supportedHwRevs.clear(); })
            .build(directory);
    EXPECT_EQ(
        run(command(none, {"--hardware-revision", "A"})).err,
        "firmware-host: " + none.string() + " does not support hardware revision A, only: none\n");
}

TEST_F(HostDevice, RefusesAnOlderVersion) {
    for (const char* const newer : {"1.2.3.5", "1.2.4.0", "1.3.0.0", "2.0.0.0", "1.2.3.10"}) {
        expectRefused({"--installed-version", newer},
                      package().string() + " brings version 1.2.3.4, older than " + newer +
                          ", which is installed; --allow-downgrade installs it");
    }
}

TEST_F(HostDevice, InstallsTheSameANewerAndWhenAllowedAnOlderVersion) {
    expectInstalled({"--installed-version", "1.2.3.4"});
    expectInstalled({"--installed-version", "0.9.9.9"});
    expectInstalled({"--installed-version", "1.2.3.5", "--allow-downgrade"});
}

TEST_F(HostDevice, ComparesBeforeTheTargetIsMade) {
    const std::string missing = (target / "missing").string();
    EXPECT_EQ(run({FIRMWARE_HOST, "--model", "WOLMZB04", keys.certificate.string(),
                   package().string(), missing})
                  .status,
              1);
    EXPECT_FALSE(boost::filesystem::exists(missing));
}

TEST_F(HostDevice, ReadsWhatItIsFromAFile) {
    const std::string file = deviceFile(
        "# as made\n"
        "model = QA01RTVN\n"
        "hardware-revision=A\n"
        "\n"
        "installed-version = 1.2.3.3\n");
    expectInstalled({"--device-file", file});
    deviceFile("model = QA01RTVN\nhardware-revision = A\ninstalled-version = 1.2.3.5\n");
    EXPECT_EQ(run(command(package(), {"--device-file", file})).status, 1);
    EXPECT_EQ(run(command(package(), {"--device-file", file, "--allow-downgrade"})).status, 0);
}

TEST_F(HostDevice, RefusesAFileThatDoesNotSayEverything) {
    const std::string model = "model = QA01RTVN\n";
    const std::string revision = "hardware-revision = A\n";
    const std::string version = "installed-version = 1.2.3.4\n";
    const auto expectBad = [this](const std::string& text, const std::string& reason) {
        const std::string file = deviceFile(text);
        expectRefused({"--device-file", file}, file + reason);
    };
    expectBad(revision + version, " does not say model");
    expectBad(model + version, " does not say hardware-revision");
    expectBad(model + revision, " does not say installed-version");
    expectBad(model + "hardware-revision =\n" + version, " does not say hardware-revision");
    expectBad(model + revision + version + "colour = red\n", " has an unknown key: colour");
    expectBad(model + model + revision + version, ", line 2: duplicate key name");
    expectBad(model + "nothing\n", ", line 2: '=' character not found in line");
    expectBad("model = X\n" + revision + version, ": not a known model: X");
    expectBad(model + revision + "installed-version = 1\n",
              ": not a version of four numbers such as 1.2.3.4: 1");
}

TEST_F(HostDevice, ComparesForAVerificationToo) {
    EXPECT_EQ(run({FIRMWARE_HOST, "--verify", "--model", "WOLMZB04", keys.certificate.string(),
                   package().string()})
                  .status,
              1);
}

}  // namespace
