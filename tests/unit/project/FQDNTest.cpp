#include "Norv/Ombrel/Project/FQDN.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "InstalledLocale.h"

namespace Norv::Ombrel::Project {
namespace {

static_assert(std::is_same_v<decltype(std::declval<const FQDN&>().GetHost()), Host::View>);
static_assert(std::is_same_v<decltype(std::declval<FQDN&>().GetHost()), Host::View>);
static_assert(std::is_same_v<decltype(std::declval<const FQDN&&>().GetHost()), Host>);
static_assert(std::is_same_v<decltype(std::declval<FQDN>().GetHost()), Host>);
static_assert(
    std::is_same_v<decltype(std::declval<const FQDN&>().GetDomain()), std::optional<Domain::View>>);
static_assert(
    std::is_same_v<decltype(std::declval<const FQDN&&>().GetDomain()), std::optional<Domain>>);
static_assert(std::is_same_v<decltype(to_string(std::declval<const FQDN&>())), std::string_view>);
static_assert(std::is_same_v<decltype(to_string(std::declval<FQDN&>())), std::string_view>);
static_assert(std::is_same_v<decltype(to_string(std::declval<FQDN>())), std::string>);
static_assert(std::is_same_v<decltype(to_string_copy(std::declval<FQDN&>())), std::string>);
static_assert(std::is_same_v<decltype(&FQDN::SetDomain), void (FQDN::*)(Domain::View)>);
static_assert(std::is_same_v<decltype(&FQDN::operator==), bool (FQDN::*)(const FQDN&) const>);
static_assert(sizeof(FQDN) == sizeof(std::string));
static_assert(!std::is_polymorphic_v<FQDN>);

FQDN inPlace(std::string text) {
    return FQDN(std::in_place, std::move(text));
}

const MacAddress mac{{0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}};

TEST(FQDN, RemovesBlanksAndPunctuationButKeepsDotAndHyphen) {
    EXPECT_EQ(to_string(FQDN(" my_dev-1.si te.lo/cal ")), "mydev-1.site.local");
    EXPECT_EQ(to_string(FQDN("a b")), "ab");
    EXPECT_EQ(to_string(FQDN(" @ ")), "");
}

TEST(FQDN, TakesTextInPlaceAsItIs) {
    EXPECT_EQ(to_string(inPlace("a b")), "a b");
    EXPECT_EQ(to_string(inPlace("")), "");
}

TEST(FQDN, MovesTextInPlace) {
    std::string text = "a-name-that-is-too-long-to-be-stored-in-the-string.itself";
    const char* const characters = text.data();
    const FQDN name(std::in_place, std::move(text));
    EXPECT_EQ(static_cast<const void*>(to_string(name).data()), characters);
}

TEST(FQDN, TakesAHostAsItIsAndHasNoDomainThen) {
    const FQDN name(Host::View("a_b"));
    EXPECT_EQ(to_string(name), "a_b");
    EXPECT_FALSE(name.GetDomain());
}

TEST(FQDN, HasADomainIfItsHostTextHasADot) {
    EXPECT_EQ(FQDN(Host::View("a.b")).GetDomain(), Domain("b"));
}

TEST(FQDN, JoinsHostAndDomainAsTheyAre) {
    EXPECT_EQ(to_string(FQDN(Host::View("dev 1"), Domain::View("site_a.local"))),
              "dev 1.site_a.local");
    EXPECT_EQ(to_string(FQDN(Host("dev1"), Domain("site"))), "dev1.site");
}

TEST(FQDN, JoinsWithADotEvenIfAPartIsEmpty) {
    EXPECT_EQ(to_string(FQDN(Host::View("dev1"), Domain::View(""))), "dev1.");
    EXPECT_EQ(to_string(FQDN(Host::View(""), Domain::View("site"))), ".site");
    EXPECT_EQ(to_string(FQDN(Host::View(""), Domain::View(""))), ".");
}

TEST(FQDN, JoinsIntoABufferReservedOnce) {
    const std::string host(40, 'h');
    const std::string domain(60, 'd');
    const std::string text = to_string(FQDN(Host::View(host), Domain::View(domain)));
    EXPECT_EQ(text.size(), 101u);
    EXPECT_EQ(text.capacity(), 101u);
}

TEST(FQDN, SplitsAtTheFirstDot) {
    const FQDN name("dev1.site.local");
    EXPECT_EQ(name.GetHost().GetText(), "dev1");
    EXPECT_EQ(name.GetDomain()->GetText(), "site.local");
}

TEST(FQDN, IsAllHostWithoutADot) {
    const FQDN name("dev1");
    EXPECT_EQ(name.GetHost().GetText(), "dev1");
    EXPECT_FALSE(name.GetDomain());
    EXPECT_FALSE(FQDN("dev1").GetDomain());
}

TEST(FQDN, HasAnEmptyDomainAfterATrailingDot) {
    const FQDN name("dev1.");
    ASSERT_TRUE(name.GetDomain());
    EXPECT_EQ(name.GetDomain()->GetText(), "");
    EXPECT_EQ(name.GetHost().GetText(), "dev1");
}

TEST(FQDN, HasAnEmptyHostBeforeALeadingDot) {
    const FQDN name(".site.local");
    EXPECT_EQ(name.GetHost().GetText(), "");
    EXPECT_EQ(name.GetDomain()->GetText(), "site.local");
}

TEST(FQDN, HasAnEmptyHostAndNoDomainWhenEmpty) {
    const FQDN name("");
    EXPECT_EQ(name.GetHost().GetText(), "");
    EXPECT_FALSE(name.GetDomain());
}

TEST(FQDN, KnowsNoOtherSeparatorThanTheDot) {
    // The full-width full stop of UTF-8.
    EXPECT_FALSE(inPlace("dev1\xef\xbc\x8elocal").GetDomain());
    EXPECT_FALSE(inPlace("dev1/local").GetDomain());
}

TEST(FQDN, ViewsItsPartsInPlace) {
    const FQDN name("dev1.site.local");
    const char* const text = to_string(name).data();
    EXPECT_EQ(static_cast<const void*>(name.GetHost().GetText().data()), text);
    EXPECT_EQ(static_cast<const void*>(name.GetDomain()->GetText().data()), text + 5);
}

TEST(FQDN, CleansThePartsThatItHandsOutAsCopies) {
    FQDN name = inPlace("h_1.a_b");
    EXPECT_EQ(name.GetDomain()->GetText(), "a_b");
    EXPECT_EQ(std::move(name).GetDomain()->GetText(), "ab");
    EXPECT_EQ(name.GetHost().GetText(), "h_1");
    EXPECT_EQ(std::move(name).GetHost().GetText(), "h1");
    // Copied out, not moved.
    EXPECT_EQ(to_string(name), "h_1.a_b");
}

TEST(FQDN, SplitsCopiesAtTheFirstDotToo) {
    EXPECT_EQ(FQDN("dev1.site.local").GetHost().GetText(), "dev1");
    EXPECT_EQ(FQDN("dev1.site.local").GetDomain()->GetText(), "site.local");
}

TEST(FQDN, CleansTheOwningDomainToAnEmptyOneRatherThanNone) {
    const auto domain = inPlace("h._").GetDomain();
    ASSERT_TRUE(domain);
    EXPECT_EQ(domain->GetText(), "");
}

TEST(FQDN, SetsADomainBehindTheFirstDot) {
    FQDN name("dev1.old.example");
    name.SetDomain(Domain::View("new"));
    EXPECT_EQ(to_string(name), "dev1.new");
}

TEST(FQDN, SetsADomainWithADotOfItsOwn) {
    FQDN name("dev1");
    name.SetDomain(Domain::View("new"));
    EXPECT_EQ(to_string(name), "dev1.new");

    FQDN empty("");
    empty.SetDomain(Domain::View("new"));
    EXPECT_EQ(to_string(empty), ".new");
}

TEST(FQDN, LeavesATrailingDotWhenItSetsAnEmptyDomain) {
    FQDN name("dev1.old");
    name.SetDomain(Domain::View(""));
    EXPECT_EQ(to_string(name), "dev1.");
    name.SetDomain(Domain::View("again"));
    EXPECT_EQ(to_string(name), "dev1.again");
}

TEST(FQDN, SetsADomainAsItIs) {
    FQDN name("dev1.old");
    name.SetDomain(Domain::View(" a_b"));
    EXPECT_EQ(to_string(name), "dev1. a_b");
}

TEST(FQDN, SetsADomainThatIsAViewOfItsOwnText) {
    FQDN name("dev1.site-of-some-length.example.local");
    name.SetDomain(*name.GetDomain());
    EXPECT_EQ(to_string(name), "dev1.site-of-some-length.example.local");
    name.SetDomain(Domain::View(to_string(name)));
    EXPECT_EQ(to_string(name), "dev1.dev1.site-of-some-length.example.local");

    FQDN short_("dev1");
    short_.SetDomain(Domain::View(to_string(short_)));
    EXPECT_EQ(to_string(short_), "dev1.dev1");
}

TEST(FQDN, ComparesWithoutLetterCase) {
    EXPECT_TRUE(FQDN("Dev1.Site.LOCAL") == FQDN("dEV1.site.local"));
    EXPECT_TRUE(FQDN("") == FQDN(""));
    EXPECT_FALSE(FQDN("dev1.site") == FQDN("dev1.site."));
    EXPECT_TRUE(FQDN("dev1.site") != FQDN("dev2.site"));
}

TEST(FQDN, ComparesByTheGlobalCppLocaleAndCleansByTheCLocale) {
    const InstalledLocale locale;
    const FQDN small("k\xe4se");
    const FQDN large("K\xc4SE");
    EXPECT_FALSE(small == large);
    EXPECT_EQ(to_string(FQDN("a\xa7")), "a\xa7");
    locale.SetForCpp();
    EXPECT_TRUE(small == large);
    EXPECT_EQ(to_string(FQDN("a\xa7")), "a");
}

TEST(FQDN, ShowsItsTextInPlace) {
    const FQDN name("dev1.site.local");
    const std::string_view text = to_string(name);
    EXPECT_EQ(text.data(), to_string(name).data());
    EXPECT_EQ(text, "dev1.site.local");
}

TEST(FQDN, GivesItsTextAwayWhenMovedFrom) {
    FQDN name("a-name-that-is-too-long-to-be-stored-in-the-string.itself");
    const char* const characters = to_string(name).data();
    const std::string text = to_string(std::move(name));
    EXPECT_EQ(static_cast<const void*>(text.data()), characters);
    EXPECT_EQ(to_string(name), "");

    FQDN small("a.b");
    EXPECT_EQ(to_string(std::move(small)), "a.b");
    EXPECT_EQ(to_string(small), "");
}

TEST(FQDN, CopiesItsTextOnRequest) {
    const FQDN name("dev1.site");
    const std::string text = to_string_copy(name);
    EXPECT_EQ(text, "dev1.site");
    EXPECT_NE(static_cast<const void*>(text.data()), to_string(name).data());
}

TEST(FQDN, IsDerivedFromLogicalNameAndMac) {
    EXPECT_EQ(to_string(FQDN(LogicalName("Hall.1"), mac)), "Hall1-001a2b3c4d5e");
    EXPECT_EQ(to_string(FQDN(LogicalName("Living Room"), mac, Domain::View("local"))),
              "LivingRoom-001a2b3c4d5e.local");
}

TEST(FQDN, DropsDotsAndUnderscoresOfTheLogicalNameWithAndWithoutADomain) {
    EXPECT_EQ(to_string(FQDN(LogicalName("a_b.c"), mac)), "abc-001a2b3c4d5e");
    EXPECT_EQ(to_string(FQDN(LogicalName("a_b.c"), mac, Domain::View("local"))),
              "abc-001a2b3c4d5e.local");
}

TEST(FQDN, KeepsHyphensAndLetterCaseOfTheLogicalName) {
    EXPECT_EQ(to_string(FQDN(LogicalName("Attic-North"), mac)), "Attic-North-001a2b3c4d5e");
}

TEST(FQDN, BeginsWithTheHyphenWhenTheLogicalNameIsEmpty) {
    EXPECT_EQ(to_string(FQDN(LogicalName(""), mac)), "-001a2b3c4d5e");
}

TEST(FQDN, BeginsWithTheHyphenWhenTheLogicalNameIsAllPunctuationAndBlanks) {
    EXPECT_EQ(to_string(FQDN(LogicalName(" ._!\t/"), mac)), "-001a2b3c4d5e");
    EXPECT_EQ(to_string(FQDN(LogicalName(" ."), mac, Domain::View("local"))),
              "-001a2b3c4d5e.local");
}

TEST(FQDN, DerivesWithTheDomainAsItIsEvenIfEmpty) {
    EXPECT_EQ(to_string(FQDN(LogicalName("a"), mac, Domain::View(""))), "a-001a2b3c4d5e.");
    EXPECT_EQ(to_string(FQDN(LogicalName("a"), mac, Domain::View("b_ c"))), "a-001a2b3c4d5e.b_ c");
}

TEST(FQDN, CleansTheLogicalNameByTheCLocaleInForce) {
    const InstalledLocale locale;
    EXPECT_EQ(to_string(FQDN(LogicalName("\xa7"), mac)), "\xa7-001a2b3c4d5e");
    locale.SetForC();
    EXPECT_EQ(to_string(FQDN(LogicalName("\xa7"), mac)), "-001a2b3c4d5e");
}

}  // namespace
}  // namespace Norv::Ombrel::Project
