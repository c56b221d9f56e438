// Honest manifests that are large, or odd in their proportions: none may be taken for hostile.

#include "HonestVariant.h"
#include "ManifestMutations.h"
#include "PackageBuilder.h"

namespace Norv::Corvane::Test {
namespace {

// The signature where the maker's tool happens to put it.
std::string signedAt(const std::string& place) {
    const std::string text = insertedBefore(unsignedManifest(), place, SignatureForm().text());
    return fillSignature(text, rsaKey());
}

std::string many(std::size_t files, const std::function<void(std::string&)>& edit = {}) {
    PackageBuilder builder;
    for (std::size_t i = 0; i < files; ++i) {
        builder.firmware("opt/device/share/file" + std::to_string(i), std::to_string(i));
    }
    if (edit) {
        builder.editXml(edit);
    }
    return builder.manifest();
}

INSTANTIATE_TEST_SUITE_P(
    Size, HonestVariant,
    testing::Values(Variant{{"SignatureFirst", [] { return signedAt("<ManufacturerId"); }}},
                    Variant{{"SignatureInTheMiddle", [] { return signedAt("<Files>"); }}},
                    Variant{{"SignatureLast", [] { return signedAt("</FirmwareDescription>"); }}},
                    Variant{{"NoFiles", [] { return many(0); }}},
                    Variant{{"FiveThousandFiles", [] { return many(5000); }}},
                    Variant{{"TenThousandFilesWithADeclarationEach",
                             [] {
                                 return many(10000, [](std::string& text) {
                                     text = everywhere(text, "<File ",
                                                       "<File xmlns:xsi=\"http://www.w3.org/2001/"
                                                       "XMLSchema-instance\" ");
                                 });
                             }}},
                    Variant{{"HundredThousandHardwareRevisions",
                             [] {
                                 return PackageBuilder()
                                     .editManifest([](Pack::Manifest& manifest) {
                                         manifest.supportedHwRevs.assign(100000, "A");
                                     })
                                     .manifest();
                             }}},
                    Variant{{"LongValues",
                             [] {
                                 return PackageBuilder()
                                     .firmware(std::string(200000, 'p'), "x")
                                     .firmware(std::string(300000, 'q') + "&<>\"", "y")
                                     .manifest();
                             }}},
                    Variant{{"ManyUnknownAttributes",
                             [] {
                                 return many(3000, [](std::string& text) {
                                     std::string attributes;
                                     for (int i = 0; i < 30; ++i) {
                                         attributes += "Property" + std::to_string(i) + "=\"v\" ";
                                     }
                                     text = everywhere(text, "<File ", "<File " + attributes);
                                 });
                             }}},
                    Variant{{"ManyNamespaces",
                             [] {
                                 return many(3000, [](std::string& text) {
                                     std::string declarations;
                                     for (int i = 0; i < 12; ++i) {
                                         declarations +=
                                             " xmlns:n" + std::to_string(i) +
                                             "=\"http://schemas.example.com/firmware/2020/" +
                                             std::to_string(i) + "\"";
                                     }
                                     text = replaced(text, "<FirmwareDescription",
                                                     "<FirmwareDescription" + declarations);
                                 });
                             }}}),
    nameOfVariant);

}  // namespace
}  // namespace Norv::Corvane::Test
