// Start-up and shut-down, and what becomes of every step that fails. Uses no validator environment:
// the tests start the library themselves.

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include <boost/optional/optional_io.hpp>
#include <new>
#include <string>

#include "HostState.h"
#include "Keys.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "ReplacedXmlSec.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

using Common::FirmwareDescriptionValidator;
using Common::XmlSecError;
using testing::ElementsAre;
using testing::IsEmpty;

LogRecord error(const std::string& message, const std::string& function) {
    return {spdlog::level::err, message, function};
}

struct FailedStep {
    std::string function;
    int result;
    XmlSecError code;
    std::string message;
};

std::ostream& operator<<(std::ostream& out, const FailedStep& step) {
    return out << step.function << " gives " << step.result;
}

class FailedInit : public testing::TestWithParam<FailedStep> {};

TEST_P(FailedInit, IsLoggedAndReported) {
    const LogCapture log;
    const Failure failure(GetParam().function, GetParam().result);
    EXPECT_EQ(FirmwareDescriptionValidator::Init(), make_error_code(GetParam().code));
    EXPECT_THAT(log.records(), ElementsAre(error(GetParam().message, "Init")));
}

INSTANTIATE_TEST_SUITE_P(
    Step, FailedInit,
    testing::Values(FailedStep{"xmlSecInit", -1, XmlSecError::InitFailed,
                               "xmlSecInit failed with -1"},
                    FailedStep{"xmlSecCheckVersionExt", 0, XmlSecError::WrongVersion,
                               "xmlSec wrong version expected 1 got 0"},
                    FailedStep{"xmlSecCheckVersionExt", -1, XmlSecError::WrongVersion,
                               "xmlSec wrong version expected 1 got -1"},
                    FailedStep{"xmlSecOpenSSLAppInit", -2, XmlSecError::CryptoAppInitFailed,
                               "xmlSecCryptoAppInit failed with -2"},
                    FailedStep{"xmlSecOpenSSLInit", -3, XmlSecError::CryptoInitFailed,
                               "xmlSecCryptoInit failed with -3"}));

class Startup : public testing::Test {
protected:
    const TemporaryDirectory directory;
    const KeyFiles keys = writeKey(ecKey(), directory);
    const LogCapture log;

    void expectSoundValidation() {
        FirmwareDescriptionValidator validator;
        ASSERT_FALSE(validator.Open(keys.certificate));
        SignatureForm form;
        form.method = Algorithm::ecdsaSha256;
        EXPECT_EQ(validator.ValidateSignature(signAs("<a></a>", form, ecKey())), true);
    }
};

TEST_F(Startup, WorksAgainAfterShutdown) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(FirmwareDescriptionValidator::Init(), make_error_code(XmlSecError::Success));
        expectSoundValidation();
        FirmwareDescriptionValidator::Deinit();
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(Startup, SetsWhatLibxml2DoesByDefaultOnThisThread) {
    xmlLoadExtDtdDefaultValue = 0;
    xmlSubstituteEntitiesDefault(0);
    EXPECT_FALSE(FirmwareDescriptionValidator::Init());
    EXPECT_EQ(xmlLoadExtDtdDefaultValue, XML_DETECT_IDS | XML_COMPLETE_ATTRS);
    EXPECT_EQ(xmlSubstituteEntitiesDefault(1), 1);
    FirmwareDescriptionValidator::Deinit();
}

TEST_F(Startup, BringsOneLibraryUpBeforeTheNext) {
    startups().clear();
    EXPECT_FALSE(FirmwareDescriptionValidator::Init());
    EXPECT_THAT(startups(),
                ElementsAre("xmlInitParser", "xmlCheckVersion", "xmlSubstituteEntitiesDefault",
                            "xmlSecInit", "xmlSecCheckVersionExt", "xmlSecOpenSSLAppInit",
                            "xmlSecOpenSSLInit"));
    FirmwareDescriptionValidator::Deinit();
}

TEST_F(Startup, IsUndoneInTheOppositeOrder) {
    EXPECT_FALSE(FirmwareDescriptionValidator::Init());
    shutdowns().clear();
    FirmwareDescriptionValidator::Deinit();
    EXPECT_THAT(shutdowns(), ElementsAre("xmlSecOpenSSLShutdown", "xmlSecOpenSSLAppShutdown",
                                         "xmlSecShutdown", "xmlCleanupParser"));
}

TEST_F(Startup, LeavesTheHostAlone) {
    std::error_code result;
    EXPECT_EQ(changesToHost([&] { result = FirmwareDescriptionValidator::Init(); }), "");
    EXPECT_FALSE(result);
    FirmwareDescriptionValidator::Deinit();
}

TEST_F(Startup, ThatFailedMayBeRepeated) {
    {
        const Failure failure("xmlSecOpenSSLInit");
        EXPECT_TRUE(FirmwareDescriptionValidator::Init());
    }
    EXPECT_FALSE(FirmwareDescriptionValidator::Init());
    expectSoundValidation();
    FirmwareDescriptionValidator::Deinit();
}

TEST_F(Startup, LogsThatLibxml2IsTooOld) {
    const Failure failure("xmlCheckVersion");
    EXPECT_FALSE(FirmwareDescriptionValidator::Init());
    const LogRecord complaint{spdlog::level::debug,
                              "libxml2: line 0: program compiled against libxml 20912", "log"};
    EXPECT_THAT(log.allRecords(), ElementsAre(complaint));
    FirmwareDescriptionValidator::Deinit();
}

struct FailedLoad : Startup {
    FailedLoad() { EXPECT_FALSE(FirmwareDescriptionValidator::Init()); }
    ~FailedLoad() override { FirmwareDescriptionValidator::Deinit(); }

    void expectFailure(const std::string& message) {
        EXPECT_EQ(FirmwareDescriptionValidator::LoadTrustedCert(keys.certificate), nullptr);
        EXPECT_THAT(log.records(), ElementsAre(error(message, "LoadTrustedCert")));
    }
};

TEST_F(FailedLoad, OfNoManagerIsLogged) {
    const Failure failure("xmlSecKeysMngrCreate");
    expectFailure("xmlSecKeysMngrCreate failed ");
}

TEST_F(FailedLoad, OfTheManagersStartIsLogged) {
    const Failure failure("xmlSecOpenSSLAppDefaultKeysMngrInit", -4);
    expectFailure("xmlSecCryptoAppDefaultKeysMngrInit failed with -4");
}

TEST_F(FailedLoad, OfTheCertificateIsLogged) {
    const Failure failure("xmlSecOpenSSLAppKeyCertLoad", -5);
    expectFailure("xmlSecCryptoAppKeyCertLoad failed with -5");
}

TEST_F(FailedLoad, OfTheAdoptionIsLogged) {
    const Failure failure("xmlSecOpenSSLAppDefaultKeysMngrAdoptKey", -6);
    expectFailure("xmlSecCryptoAppDefaultKeysMngrAdoptKey failed with -6");
}

TEST_F(FailedLoad, ForWantOfMemoryIsEmpty) {
    const Failure failure("UI_create_method");
    EXPECT_EQ(FirmwareDescriptionValidator::LoadTrustedCert(keys.certificate), nullptr);
    EXPECT_THAT(log.records(), IsEmpty());
}

struct Verification : Startup {
    Verification() {
        EXPECT_FALSE(FirmwareDescriptionValidator::Init());
        EXPECT_FALSE(validator.Open(keys.certificate));
        SignatureForm form;
        form.method = Algorithm::ecdsaSha256;
        manifest = signAs("<a></a>", form, ecKey());
    }
    ~Verification() override {
        validator.Close();
        FirmwareDescriptionValidator::Deinit();
    }

    // While the named function gives `result`; when it works again, so does the validator.
    boost::optional<bool> verdictWhile(const std::string& function, int result) {
        boost::optional<bool> verdict;
        {
            const Failure failure(function, result);
            verdict = validator.ValidateSignature(manifest);
        }
        EXPECT_EQ(validator.ValidateSignature(manifest), true);
        EXPECT_THAT(log.records(), IsEmpty());
        return verdict;
    }

    FirmwareDescriptionValidator validator;
    std::string manifest;
};

// The call succeeds, but its status says nothing.
TEST_F(Verification, WithoutAStatusIsFalse) {
    EXPECT_EQ(verdictWhile("xmlSecDSigCtxVerify", 0), false);
}

struct FailedVerification : Verification, testing::WithParamInterface<std::string> {};

TEST_P(FailedVerification, GivesNoVerdict) {
    EXPECT_EQ(verdictWhile(GetParam(), -1), boost::none);
}

INSTANTIATE_TEST_SUITE_P(Step, FailedVerification,
                         testing::Values("xmlNewParserCtxt", "xmlSecDSigCtxCreate",
                                         "xmlSecDSigCtxEnableReferenceTransform",
                                         "xmlSecDSigCtxEnableSignatureTransform",
                                         "xmlSecDSigCtxVerify"),
                         [](const auto& parameter) { return parameter.param; });

}  // namespace
}  // namespace Norv::Corvane::Test
