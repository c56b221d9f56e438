// Host and Domain behave alike.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "InstalledLocale.h"
#include "Norv/Ombrel/Project/Domain.h"
#include "Norv/Ombrel/Project/Host.h"

namespace Norv::Ombrel::Project {
namespace {

template <typename T>
class HostAndDomain : public testing::Test {
    static_assert(std::is_constructible_v<T, std::string>);
    static_assert(!std::is_convertible_v<std::string, T>);
    static_assert(std::is_convertible_v<T, typename T::View>);
    static_assert(std::is_nothrow_constructible_v<typename T::View, std::string_view>);
    static_assert(!std::is_convertible_v<std::string_view, typename T::View>);
    static_assert(std::is_trivially_copyable_v<typename T::View>);
    static_assert(sizeof(typename T::View) == sizeof(std::string_view));
    static_assert(sizeof(T) == sizeof(std::string));
    static_assert(!std::is_polymorphic_v<T>);
    static_assert(
        std::is_same_v<decltype(&T::View::operator==), bool (T::View::*)(typename T::View) const>);
    static_assert(std::is_same_v<decltype(&T::operator==), bool (T::*)(const T&) const>);
};

using Both = testing::Types<Host, Domain>;
struct NamesOfBoth {
    template <typename T>
    static std::string GetName(int) {
        return std::is_same_v<T, Host> ? "Host" : "Domain";
    }
};
TYPED_TEST_SUITE(HostAndDomain, Both, NamesOfBoth);

TYPED_TEST(HostAndDomain, RemovesBlanksAndPunctuationButKeepsDotAndHyphen) {
    EXPECT_EQ(TypeParam(" my_host.lan ").GetText(), "myhost.lan");
    EXPECT_EQ(TypeParam("a-b.c").GetText(), "a-b.c");
    EXPECT_EQ(TypeParam("\t\n\v\f\r a").GetText(), "a");
    EXPECT_EQ(TypeParam("!\"#$%&'()*+,/:;<=>?@[\\]^_`{|}~").GetText(), "");
}

TYPED_TEST(HostAndDomain, KeepsControlCharactersAndBytesFrom0x80InTheCLocale) {
    const std::string text("\0\x01\x1b\x7f\x80\xa0\xa7\xe4\xff", 9);
    EXPECT_EQ(TypeParam(text).GetText(), text);
}

TYPED_TEST(HostAndDomain, HoldsAnEmptyTextRatherThanRejectOne) {
    EXPECT_EQ(TypeParam("").GetText(), "");
    EXPECT_EQ(TypeParam(" _ ").GetText(), "");
}

TYPED_TEST(HostAndDomain, KeepsLetterCaseButComparesWithoutIt) {
    EXPECT_EQ(TypeParam("Example.COM").GetText(), "Example.COM");
    EXPECT_TRUE(TypeParam("example.com") == TypeParam("EXAMPLE.com"));
    EXPECT_FALSE(TypeParam("example.com") != TypeParam("EXAMPLE.com"));
}

TYPED_TEST(HostAndDomain, DiffersFromTextOfAnotherLength) {
    EXPECT_FALSE(TypeParam("example") == TypeParam("example.com"));
    EXPECT_FALSE(TypeParam("example.com") == TypeParam("example"));
    EXPECT_FALSE(TypeParam("") == TypeParam("a"));
    EXPECT_TRUE(TypeParam("example") != TypeParam("examples"));
}

TYPED_TEST(HostAndDomain, DiffersFromOtherTextOfTheSameLength) {
    EXPECT_FALSE(TypeParam("dev1") == TypeParam("dev2"));
    // 0x20 apart like the cases of a letter, but no letters.
    EXPECT_FALSE(TypeParam("a\x10") == TypeParam("a0"));
}

TYPED_TEST(HostAndDomain, EqualsWhenBothAreEmpty) {
    EXPECT_TRUE(TypeParam("") == TypeParam(""));
    EXPECT_TRUE(typename TypeParam::View("") == typename TypeParam::View(std::string_view()));
}

TYPED_TEST(HostAndDomain, IsViewedInPlace) {
    const TypeParam owner("dev1");
    const typename TypeParam::View view = owner;
    EXPECT_EQ(view.GetText(), "dev1");
    EXPECT_EQ(static_cast<const void*>(view.GetText().data()), owner.GetText().data());
}

TYPED_TEST(HostAndDomain, ViewTakesTextAsItIs) {
    EXPECT_EQ(typename TypeParam::View(" a_b ").GetText(), " a_b ");
}

TYPED_TEST(HostAndDomain, ViewComparesWithoutLetterCaseAndWithItsOwner) {
    using View = typename TypeParam::View;
    EXPECT_TRUE(View("Dev1") == View("dEV1"));
    EXPECT_FALSE(View("dev1") == View("dev12"));
    EXPECT_TRUE(View("dev1") != View("dev2"));
    EXPECT_TRUE(View("DEV1") == TypeParam("dev1"));
}

TYPED_TEST(HostAndDomain, CleansByTheCLocaleInForce) {
    const InstalledLocale locale;
    EXPECT_EQ(TypeParam("a\xa7\xa0\xe4").GetText(), "a\xa7\xa0\xe4");
    locale.SetForC();
    EXPECT_EQ(TypeParam("a\xa7\xa0\xe4").GetText(), "a\xe4");
    EXPECT_EQ(TypeParam(" my_host.l-n ").GetText(), "myhost.l-n");
}

TYPED_TEST(HostAndDomain, CleansByTheCLocaleEvenIfTheCppLocaleIsAnother) {
    const InstalledLocale locale;
    locale.SetForCpp(true);
    EXPECT_EQ(TypeParam("a\xa7").GetText(), "a\xa7");
}

TYPED_TEST(HostAndDomain, ComparesByTheGlobalCppLocaleAtTheTimeOfTheCall) {
    const InstalledLocale locale;
    const TypeParam small("k\xe4se");
    const TypeParam large("K\xc4SE");
    EXPECT_FALSE(small == large);
    locale.SetForCpp();
    EXPECT_TRUE(small == large);
    EXPECT_TRUE(typename TypeParam::View(small) == typename TypeParam::View(large));
    std::locale::global(std::locale::classic());
    EXPECT_FALSE(small == large);
}

TYPED_TEST(HostAndDomain, ComparesByTheCppLocaleEvenIfTheCLocaleIsAnother) {
    const InstalledLocale locale;
    locale.SetForC();
    EXPECT_FALSE(TypeParam("\xe4") == TypeParam("\xc4"));
}

}  // namespace
}  // namespace Norv::Ombrel::Project
