// Document type declarations, which only one of the two parsers acts on.

#include "Attack.h"
#include "ManifestMutations.h"

namespace Norv::Corvane::Test {
namespace {

Attack documentType(const std::string& name, const std::string& declaration) {
    return {name, [=] { return withDocumentType(honestManifest(), declaration); }};
}

// The signature holds for what the entity stands for, if it is one.
Attack entity(const std::string& name, const std::string& declaration, const std::string& from,
              const std::string& to) {
    return {name,
            [=] { return replaced(withDocumentType(honestManifest(), declaration), from, to); }};
}

INSTANTIATE_TEST_SUITE_P(
    DocumentType, AttackTest,
    testing::Values(
        documentType("Bare", "<!DOCTYPE FirmwareDescription>"),
        documentType("EmptySubset", "<!DOCTYPE FirmwareDescription []>"),
        documentType("OtherName", "<!DOCTYPE x>"),
        documentType("ExternalSubsetInAFile",
                     "<!DOCTYPE FirmwareDescription SYSTEM \"file:///etc/passwd\">"),
        documentType("ExternalSubsetOnTheNetwork",
                     "<!DOCTYPE FirmwareDescription SYSTEM \"http://127.0.0.1:1/a.dtd\">"),
        documentType("PublicIdentifier", "<!DOCTYPE FirmwareDescription PUBLIC \"a\" \"b\">"),
        documentType("AttributeDefault",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST HwRev Value "
                     "CDATA \"evil\">]>"),
        documentType("AttributeOfTokens",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST File "
                     "LocalFilePath NMTOKENS #IMPLIED>]>"),
        documentType("IdAttribute",
                     "<!DOCTYPE FirmwareDescription [<!ATTLIST Files Id ID #IMPLIED>]>"),
        documentType("Notation", "<!DOCTYPE FirmwareDescription [<!NOTATION n SYSTEM \"n\">]>"),
        documentType("ElementDeclaration",
                     "<!DOCTYPE FirmwareDescription [<!ELEMENT Files EMPTY>]>"),
        documentType("ParameterEntity",
                     "<!DOCTYPE FirmwareDescription [<!ENTITY % p SYSTEM "
                     "\"file:///etc/passwd\"> %p;]>"),
        documentType("Unfinished", "<!DOCTYPE FirmwareDescription ["),
        entity("EntityForAFile",
               "<!DOCTYPE FirmwareDescription [<!ENTITY f '<File xsi:type=\"ScriptFileType\" "
               "LocalFilePath=\"evil\" HashAlgorithm=\"sha256\" Length=\"1\"/>'>]>",
               "</Files>", "&f;</Files>"),
        entity("EntityForNothing", "<!DOCTYPE FirmwareDescription [<!ENTITY e ''>]>", "1.2.3.4",
               "1.2.3.4&e;"),
        entity("EntityForAValue", "<!DOCTYPE FirmwareDescription [<!ENTITY v '1.2.3.4'>]>",
               "1.2.3.4", "&v;"),
        entity("EntityInText", "<!DOCTYPE FirmwareDescription [<!ENTITY t ''>]>", "<Files>",
               "<Files>&t;"),
        entity("RedefinedPredefinedEntity",
               "<!DOCTYPE FirmwareDescription [<!ENTITY lt '&#38;#60;'>]>", "<Files>",
               "<Files>&lt;"),
        entity("ExternalEntity",
               "<!DOCTYPE FirmwareDescription [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>",
               "<Files>", "<Files>&x;"),
        entity("ExponentialEntities",
               "<!DOCTYPE FirmwareDescription [<!ENTITY a 'aaaaaaaaaa'>"
               "<!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;'><!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'>"
               "<!ENTITY d '&c;&c;&c;&c;&c;&c;&c;&c;'><!ENTITY e '&d;&d;&d;&d;&d;&d;&d;&d;'>"
               "<!ENTITY g '&e;&e;&e;&e;&e;&e;&e;&e;'>]>",
               "<Files>", "<Files>&g;"),
        Attack{"UndeclaredEntity",
               [] { return replaced(honestManifest(), "1.2.3.4", "1.2.3.4&none;"); }},
        Attack{"BehindTheRoot", [] { return honestManifest() + "<!DOCTYPE x>"; }},
        Attack{"InsideTheRoot",
               [] { return insertedAfter(honestManifest(), "<Files>", "<!DOCTYPE x>"); }},
        Attack{"BehindAByteOrderMark",
               [] {
                   return "\xEF\xBB\xBF" +
                          withDocumentType(honestManifest(), "<!DOCTYPE FirmwareDescription>");
               }}),
    nameOf);

}  // namespace
}  // namespace Norv::Corvane::Test
