// firmware-host avoids what its libraries would do to no purpose.

#include "HostFixture.h"
#include "Tracing.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::HasSubstr;
using testing::Not;

class HostStartup : public HostFixture {
protected:
    void SetUp() override {
        if (!canTrace()) {
            GTEST_SKIP() << "no process may be traced here, or there is no strace";
        }
    }

    // The files that one run looks at; `environment` as for env.
    std::string filesLookedAt(const std::vector<std::string>& environment,
                              const PackageBuilder& builder) const {
        const std::string trace = (directory / "trace").string();
        std::vector<std::string> words = {"env"};
        words.insert(words.end(), environment.begin(), environment.end());
        const std::vector<std::string> host =
            traced({"-f", "-o", trace, "-e", "trace=%file"},
                   command(builder.build(directory), {"--verify"}));
        words.insert(words.end(), host.begin(), host.end());
        EXPECT_EQ(run(words).status, 0);
        return readFile(trace);
    }
};

TEST_F(HostStartup, LoadsNoTrustStoreOfTheMachine) {
    const PackageBuilder builder = PackageBuilder().firmware("app", "a");
    const std::vector<std::string> unset = {"-u", "SSL_CERT_FILE", "-u", "SSL_CERT_DIR"};
    EXPECT_THAT(filesLookedAt(unset, builder), Not(HasSubstr("/cert.pem\"")));
    EXPECT_THAT(filesLookedAt({"SSL_CERT_FILE=" + (directory / "mine.pem").string()}, builder),
                HasSubstr("mine.pem"));
}

TEST_F(HostStartup, DoesNotLookAtTheTimeZoneForEachEntry) {
    PackageBuilder builder;
    for (int i = 0; i < 30; ++i) {
        builder.firmware("file" + std::to_string(i), "a");
    }
    const std::string trace = filesLookedAt({"-u", "TZ"}, builder);
    std::size_t looks = 0;
    for (std::size_t at = 0; (at = trace.find("/etc/localtime", at)) != std::string::npos; ++at) {
        ++looks;
    }
    EXPECT_LE(looks, 2);
    EXPECT_THAT(filesLookedAt({"TZ=:/my/zone"}, builder), HasSubstr("/my/zone"));
}

}  // namespace
