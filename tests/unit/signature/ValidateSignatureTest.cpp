#include <gmock/gmock.h>
#include <libxml/parser.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <sys/mman.h>

#include <boost/optional/optional_io.hpp>
#include <climits>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "HostState.h"
#include "ManifestMutations.h"
#include "PackageBuilder.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

using testing::Contains;
using testing::Each;
using testing::Field;
using testing::IsEmpty;
using testing::StartsWith;

class ValidateSignature : public ValidatorFixture {
protected:
    const std::string manifest = PackageBuilder().firmware("app/firmware", "content").manifest();

    std::string signedIn(const ReferenceForm& reference, const std::string& objects) const {
        SignatureForm form;
        form.references = {reference};
        form.objects = objects;
        return signAs(withoutElement(manifest, "Signature"), form, rsaKey());
    }
};

TEST_F(ValidateSignature, IsTrueForTheTrustedKey) {
    boost::optional<bool> verdict;
    EXPECT_EQ(changesToHost([&] { verdict = validator.ValidateSignature(manifest); }), "");
    EXPECT_EQ(verdict, true);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ValidateSignature, IsTrueWithBlanksThatTheHostHasLibxml2Drop) {
    const std::string blanks =
        insertedBefore(withoutElement(manifest, "Signature"), "<Files", "\n  ");
    SignatureForm twice;
    // What the last one works on was parsed anew.
    twice.references[0].transforms = {Algorithm::enveloped, Algorithm::inclusive,
                                      Algorithm::exclusive};
    const std::string plain = signAs(blanks, {}, rsaKey());
    const std::string rebuilt = signAs(blanks, twice, rsaKey());

    const int previous = std::exchange(xmlKeepBlanksDefaultValue, 0);
    EXPECT_EQ(validator.ValidateSignature(plain), true);
    EXPECT_EQ(validator.ValidateSignature(rebuilt), true);
    EXPECT_EQ(std::exchange(xmlKeepBlanksDefaultValue, previous), 0);
}

TEST_F(ValidateSignature, IsEmptyAndSilentBeforeOpen) {
    const Common::FirmwareDescriptionValidator closed;
    EXPECT_EQ(closed.ValidateSignature(manifest), boost::none);
    EXPECT_THAT(log.allRecords(), IsEmpty());
}

TEST_F(ValidateSignature, IsEmptyAndSilentAfterClose) {
    validator.Close();
    EXPECT_EQ(validator.ValidateSignature(manifest), boost::none);
    EXPECT_THAT(log.allRecords(), IsEmpty());
}

TEST_F(ValidateSignature, IsFalseForAnotherKey) {
    const std::string other =
        PackageBuilder().firmware("app/firmware", "content").signedBy(strangerKey()).manifest();
    EXPECT_EQ(validator.ValidateSignature(other), false);
}

TEST_F(ValidateSignature, IsEmptyForAKeyOfAnotherKind) {
    SignatureForm form;
    form.method = Algorithm::ecdsaSha256;
    EXPECT_EQ(
        validator.ValidateSignature(signAs(withoutElement(manifest, "Signature"), form, ecKey())),
        boost::none);
}

TEST_F(ValidateSignature, IsEmptyWithoutASignature) {
    EXPECT_EQ(validator.ValidateSignature(withoutElement(manifest, "Signature")), boost::none);
}

TEST_F(ValidateSignature, IsEmptyForWhatIsNoXml) {
    EXPECT_EQ(validator.ValidateSignature(""), boost::none);
    EXPECT_EQ(validator.ValidateSignature(boost::string_view()), boost::none);
    EXPECT_EQ(validator.ValidateSignature("text"), boost::none);
    EXPECT_EQ(validator.ValidateSignature("<a>"), boost::none);
    EXPECT_EQ(validator.ValidateSignature("<?xml version=\"1.0\"?>"), boost::none);
}

// Nothing of the text is read: to touch its memory would end the process.
TEST_F(ValidateSignature, IsEmptyForATextThatIsTooLong) {
    void* const page = ::mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    const boost::string_view endless(static_cast<const char*>(page),
                                     static_cast<std::size_t>(INT_MAX) + 1);
    EXPECT_EQ(validator.ValidateSignature(endless), boost::none);
    ::munmap(page, 1);
}

TEST_F(ValidateSignature, ReadsNotMoreThanTheText) {
    const std::string longer = manifest + "x";
    EXPECT_EQ(validator.ValidateSignature(longer), boost::none);
    EXPECT_EQ(validator.ValidateSignature({longer.data(), manifest.size()}), true);
}

TEST_F(ValidateSignature, IsNotTrueForAFragment) {
    EXPECT_NE(validator.ValidateSignature(signedIn({R"( URI="#o")", {Algorithm::exclusive}},
                                                   "<Object Id=\"o\"><a/></Object>")),
              true);
}

TEST_F(ValidateSignature, IsNotTrueForAFileOutside) {
    const std::string file = directory.write("other.xml", "<a/>").string();
    EXPECT_NE(validator.ValidateSignature(
                  signedIn({" URI=\"file://" + file + "\"", {Algorithm::exclusive}}, "")),
              true);
}

TEST_F(ValidateSignature, IsFalseAfterOneByteChanged) {
    EXPECT_EQ(validator.ValidateSignature(replaced(manifest, "1.2.3.4", "1.2.3.5")), false);
    EXPECT_EQ(validator.ValidateSignature(replaced(manifest, "Length=\"7\"", "Length=\"6\"")),
              false);
}

// Comments are not signed, and there are none; blanks between attributes are not either.
TEST_F(ValidateSignature, IsNotTrueAfterAnyBitOfTheContentChanged) {
    const std::size_t begin = manifest.find("<FirmwareDescription");
    const std::size_t end = manifest.find("<Signature");
    for (std::size_t i = begin; i < end; ++i) {
        std::string changed = manifest;
        changed[i] = static_cast<char>(changed[i] ^ (1 << i % 7));
        const bool blank = manifest[i] == ' ' || manifest[i] == '\n';
        if (!blank && !(changed[i] == '\'' || changed[i] == ' ')) {
            EXPECT_NE(validator.ValidateSignature(changed), true) << changed.substr(0, i + 20);
        }
    }
}

TEST_F(ValidateSignature, ComplainsAtDebugLevelOnly) {
    for (const std::string text : {"<a>", "<a:b/>", "]]>", "<a></b>"}) {
        validator.ValidateSignature(text);
    }
    EXPECT_THAT(log.allRecords(), Contains(Field(&LogRecord::message, StartsWith("libxml2: "))));
    validator.ValidateSignature(withContent(manifest, "SignatureValue", "AAAA"));
    EXPECT_THAT(log.allRecords(), Contains(Field(&LogRecord::message, StartsWith("xmlsec: "))));
    EXPECT_THAT(log.allRecords(), Each(Field(&LogRecord::level, spdlog::level::debug)));
}

// A sender must not be able to fill the log, nor to write lines into it.
TEST_F(ValidateSignature, ComplainsALittleWhateverTheText) {
    std::string text = "<R>";
    for (int i = 0; i < 10000; ++i) {
        text += "<a:b/>";
    }
    validator.ValidateSignature(text + "</R>");
    validator.ValidateSignature(withContent(manifest, "SignatureValue", "AA\n[error] forged"));
    validator.ValidateSignature(replaced(manifest, "URI=\"\"", "URI=\"http://a&#10;b\""));
    EXPECT_THAT(log.allRecords(), testing::SizeIs(testing::Lt(100U)));
    for (const LogRecord& record : log.allRecords()) {
        EXPECT_EQ(record.message.find('\n'), std::string::npos) << record;
        EXPECT_LT(record.message.size(), 2000U);
    }
}

TEST_F(ValidateSignature, IsEmptyWithoutALookForWhatWouldTakeTooLongToParse) {
    std::string text = "<R";
    for (int i = 0; i < 20000; ++i) {
        text += " a" + std::to_string(i) + "=''";
    }
    EXPECT_EQ(validator.ValidateSignature(text + "/></R>"), boost::none);
    // The parser would have complained.
    EXPECT_THAT(log.allRecords(), IsEmpty());
}

// Nothing of the declarations is looked at: the parser would have complained.
TEST_F(ValidateSignature, EndsAtADocumentType) {
    for (const std::string declarations :
         {"<!ENTITY a 'b'><!BOGUS>", "%bogus;", "<!ATTLIST Files LocalFilePath CDATA 'evil>"}) {
        EXPECT_EQ(validator.ValidateSignature(insertedBefore(
                      manifest, "<Firm", "<!DOCTYPE FirmwareDescription [" + declarations + "]>")),
                  boost::none);
    }
    EXPECT_THAT(log.allRecords(), IsEmpty());
}

// The exceptions of standard classes stay in the logger.
class ThrowingSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    int calls = 0;

protected:
    void sink_it_(const spdlog::details::log_msg& /*message*/) override {
        ++calls;
        throw 0;
    }
    void flush_() override {}
};

// The complaints come from within libraries that know no exceptions.
TEST_F(ValidateSignature, SurvivesALoggerThatThrows) {
    const std::string other = withContent(manifest, "SignatureValue", "AAAA");
    const auto verdict = validator.ValidateSignature(other);
    const auto sink = std::make_shared<ThrowingSink>();
    auto logger = std::make_shared<spdlog::logger>("throwing", sink);
    logger->set_level(spdlog::level::debug);
    spdlog::set_default_logger(std::move(logger));

    EXPECT_EQ(validator.ValidateSignature("<a>"), boost::none);
    EXPECT_GT(std::exchange(sink->calls, 0), 0);
    EXPECT_EQ(validator.ValidateSignature(other), verdict);
    EXPECT_GT(sink->calls, 0);
    EXPECT_EQ(validator.ValidateSignature(manifest), true);
}

// The parser is stopped while it looks at such text; see memory checkers for the proof.
TEST_F(ValidateSignature, EndsAtTheFirstFault) {
    for (const std::string text :
         {"<a>]]></a>", "<a b='<c d='/>", "<a><?1 <b></b>?></a>", "<a b='&c;' b=''/>", "<a>&#0;",
          "<a><![CDATA[\x01]]></a>", "<a><!-- -- --></a>", "<a b=c/>", "<a b='' b=''>x</a>"}) {
        EXPECT_EQ(validator.ValidateSignature(text), boost::none) << text;
    }
}

}  // namespace
}  // namespace Norv::Corvane::Test
