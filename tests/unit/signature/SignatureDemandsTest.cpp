#include "SignatureDemands.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <memory>
#include <string>

namespace Norv::Corvane::Common {
namespace {

const std::string enveloped =
    "<Transform Algorithm='http://www.w3.org/2000/09/xmldsig#enveloped-signature'/>";
const std::string canonicalised = "<Transform Algorithm='u:c14n'/>";

SignatureDemands demandsOfText(const std::string& content) {
    const std::string text =
        "<Signature xmlns='http://www.w3.org/2000/09/xmldsig#'>" + content + "</Signature>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0), xmlFreeDoc);
    return demandsOf(xmlDocGetRootElement(document.get()));
}

std::string reference(const std::string& transforms) {
    return "<Reference URI=''><Transforms>" + transforms + "</Transforms></Reference>";
}

SignatureDemands demandsOfReferences(const std::string& references) {
    return demandsOfText("<SignedInfo>" + references + "</SignedInfo>");
}

TEST(SignatureDemands, AreOnePassWithoutReferences) {
    for (const std::string content : {"", "<SignedInfo/>", "<Object/>text"}) {
        const SignatureDemands demands = demandsOfText(content);
        EXPECT_EQ(demands.references, 0U);
        EXPECT_EQ(demands.passes, 1U);
        EXPECT_EQ(demands.rebuiltTrees, 0U);
        EXPECT_EQ(demands.listedPrefixes, 0U);
    }
}

TEST(SignatureDemands, AreAPassForEachReferenceWithTheUsualTransforms) {
    EXPECT_EQ(demandsOfReferences("<Reference/>").passes, 2U);
    EXPECT_EQ(demandsOfReferences(reference(enveloped)).passes, 2U);
    EXPECT_EQ(demandsOfReferences(reference(enveloped + canonicalised)).passes, 2U);
    const SignatureDemands two =
        demandsOfReferences(reference(enveloped + canonicalised) + "\n<Reference/>");
    EXPECT_EQ(two.references, 2U);
    EXPECT_EQ(two.passes, 3U);
}

TEST(SignatureDemands, AreAPassForEachFurtherTransformAndTree) {
    EXPECT_EQ(demandsOfReferences(reference(enveloped + enveloped + canonicalised)).passes, 3U);
    EXPECT_EQ(demandsOfReferences(reference(enveloped + canonicalised + canonicalised)).passes, 4U);
}

TEST(SignatureDemands, AreATreeForEachTransformBehindACanonicalisation) {
    EXPECT_EQ(demandsOfReferences(reference(canonicalised)).rebuiltTrees, 0U);
    EXPECT_EQ(demandsOfReferences(reference(enveloped + canonicalised)).rebuiltTrees, 0U);
    EXPECT_EQ(
        demandsOfReferences(reference(canonicalised + enveloped + canonicalised)).rebuiltTrees, 2U);
    // xmlsec refuses the second only once it has made the tree.
    EXPECT_EQ(demandsOfReferences(reference(canonicalised + enveloped)).rebuiltTrees, 1U);
    const std::string three = reference(canonicalised + canonicalised + canonicalised);
    EXPECT_EQ(demandsOfReferences(three + three).rebuiltTrees, 4U);
}

TEST(SignatureDemands, AreAllPrefixesThatAreListedAnywhereInTheSignedInformation) {
    const std::string list = "<i:InclusiveNamespaces xmlns:i='u:i' PrefixList=' a b\n#default\t'/>";
    const std::string method =
        "<CanonicalizationMethod Algorithm='u:c14n'>" + list + "</CanonicalizationMethod>";
    // xmlsec takes what stands between two blanks for a prefix, nothing included.
    EXPECT_EQ(demandsOfReferences(method).listedPrefixes, 5U);
    EXPECT_EQ(demandsOfReferences(method + reference("<Transform>" + list + list + "</Transform>"))
                  .listedPrefixes,
              15U);
    EXPECT_EQ(demandsOfReferences("<a PrefixList=''/><a PrefixList='  '/>").listedPrefixes, 3U);
    // In any namespace, as xmlsec looks for it.
    EXPECT_EQ(demandsOfReferences("<a xmlns:b='u:b' b:PrefixList='x'/>").listedPrefixes, 1U);
}

TEST(SignatureDemands, AreCountedInEverySignedInformation) {
    const std::string once = "<SignedInfo>" + reference(enveloped) + "</SignedInfo>";
    EXPECT_EQ(demandsOfText(once + once).passes, 3U);
}

TEST(SignatureDemands, AreNotWhatStandsElsewhere) {
    const std::string list = "<a PrefixList='a b'/>";
    const SignatureDemands demands = demandsOfText(
        list + reference(enveloped) + "<Object>" + reference(canonicalised) + list + "</Object>" +
        "<SignedInfo><Manifest>" + reference(canonicalised) + "</Manifest></SignedInfo>");
    EXPECT_EQ(demands.references, 0U);
    EXPECT_EQ(demands.passes, 1U);
    EXPECT_EQ(demands.listedPrefixes, 0U);
    EXPECT_EQ(
        demandsOfReferences("<Reference>" + enveloped + "<a>" + enveloped + "</a></Reference>")
            .passes,
        2U);
}

TEST(SignatureDemands, TakeCommentsAndBlanksForNothing) {
    const std::string three = enveloped + " <!-- -->\n<?p?> " + enveloped + " " + enveloped;
    EXPECT_EQ(demandsOfReferences(" <!-- --> " + reference(three)).passes, 3U);
}

}  // namespace
}  // namespace Norv::Corvane::Common
