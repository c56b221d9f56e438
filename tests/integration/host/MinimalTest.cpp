// The minimal host does what every host has to do itself.

#include "HostFixture.h"
#include "Tracing.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MinimalHost : public HostFixture {
protected:
    std::vector<std::string> minimal(const PackageBuilder& builder) const {
        return {MINIMAL_HOST, keys.certificate.string(), builder.build(directory).string(),
                target.path().string()};
    }

    void expectRefused(const PackageBuilder& builder) const {
        EXPECT_EQ(run(minimal(builder)).status, 1);
        EXPECT_THAT(target.files(), IsEmpty());
    }
};

TEST_F(MinimalHost, InstallsAPackageForItsDevice) {
    const ProcessResult result = run(minimal(PackageBuilder().firmware("app", "a")));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("\ninstalled\n"));
    EXPECT_THAT(target.files(), ElementsAre("app"));
}

TEST_F(MinimalHost, RefusesWhatIsNotForItsDevice) {
    expectRefused(PackageBuilder().firmware("app", "a").editManifest([](Pack::Manifest& manifest) {
        manifest.modelId = "WOLMZB04";
    }));
    expectRefused(PackageBuilder().firmware("app", "a").editManifest([](Pack::Manifest& manifest) {
        manifest.supportedHwRevs = {"B"};
    }));
    expectRefused(PackageBuilder().firmware("app", "a").editManifest([](Pack::Manifest& manifest) {
        manifest.version = "0.9.9.9";
    }));
}

TEST_F(MinimalHost, ChecksThePayloadBeforeItWrites) {
    expectRefused(PackageBuilder().firmware("first", "a").firmware("app", "a").flipBit("app"));
    expectRefused(PackageBuilder().firmware("first", "a").firmware("app", "a").omit("app"));
    expectRefused(PackageBuilder().firmware("app", "a").editManifest([](Pack::Manifest& manifest) {
        manifest.files.at(0).length = 2;
    }));
}

TEST_F(MinimalHost, FailsWhenTheMediumCannotBeFlushed) {
    if (!canTrace()) {
        GTEST_SKIP() << "no process may be traced here, or there is no strace";
    }
    const ProcessResult result = run(traced({"-o", "/dev/null", "-e", "inject=syncfs:error=EIO"},
                                            minimal(PackageBuilder().firmware("app", "a"))));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, HasSubstr("not installed\n"));
}

}  // namespace
