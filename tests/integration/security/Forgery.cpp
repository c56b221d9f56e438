#include "Forgery.h"

#include <cctype>
#include <set>
#include <stdexcept>

#include "Dictionary.h"
#include "Digest.h"
#include "Keys.h"
#include "Manifest.h"
#include "ManifestMutations.h"
#include "XmlSigning.h"

namespace Norv::Corvane::Test {
namespace {

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

// Parts of names, but for what is known in any case.
std::set<std::string> wordsIn(const std::string& text) {
    std::set<std::string> words;
    for (std::size_t begin = 0; begin < text.size(); ++begin) {
        std::size_t end = begin;
        while (end < text.size() && isNameCharacter(text[end])) {
            ++end;
        }
        const bool starts = begin > 0 && (text[begin - 1] == '<' || text[begin - 1] == ' ' ||
                                          text[begin - 1] == ':');
        if (starts && end > begin && text.find_first_of("=: />", end) == end &&
            std::isalpha(static_cast<unsigned char>(text[begin])) != 0) {
            words.insert(text.substr(begin, end - begin));
        }
        begin = end;
    }
    for (const char* const word : {"xml", "xmlns", "xsi", "FirmwareDescription"}) {
        words.erase(word);
    }
    return words;
}

std::size_t findElement(const std::string& text, const std::string& name) {
    std::size_t at = 0;
    do {
        at = text.find("<" + name, at + 1);
    } while (at != std::string::npos && isNameCharacter(text[at + 1 + name.size()]));
    if (at == std::string::npos) {
        throw std::runtime_error("nothing to hide: " + name);
    }
    return at;
}

}  // namespace

std::string plainManifest() {
    using Pack::PayloadKind;
    Pack::Manifest manifest{"QV", "QA01RTVN", "1.2.3.4", "5.6.7.8", "9.10.11.12", {"A", "B"}, {}};
    const auto add = [&](PayloadKind kind, const std::string& path, const std::string& data) {
        manifest.files.push_back({kind, path, path, Pack::digestBytes(data).sha256, data.size()});
    };
    add(PayloadKind::Firmware, "app/firmware.bin", "firmware");
    add(PayloadKind::Script, "app/Script.run", "exit 0");
    return Pack::toXml(manifest);
}

std::string genuine(const std::string& unsignedText, const std::string& canonicalisation) {
    SignatureForm form;
    form.method = Algorithm::ecdsaSha256;
    form.canonicalisation = canonicalisation;
    form.references[0].transforms[1] = canonicalisation;
    return signAs(unsignedText, form, ecKey());
}

std::string genuine() {
    return genuine(plainManifest(), Algorithm::exclusive);
}

std::string withSignatureFirst(const std::string& text) {
    return withSignatureBefore(text, "<ManufacturerId");
}

std::string upToObject(const std::string& text) {
    return text.substr(0, text.find("</Signature>")) + "<Object>";
}

std::string withObject(const std::string& text, const std::string& content) {
    return insertedBefore(text, "</Signature>", "<Object>" + content + "</Object>");
}

std::string namesOf(const std::string& text) {
    std::string instructions = "<?p?><?xsi:type?>";
    for (const std::string& word : wordsIn(text)) {
        instructions += "<?" + word + "?>";
    }
    return instructions;
}

std::string declaredNamesOf(const std::string& text) {
    std::string declarations;
    for (const std::string& word : wordsIn(text)) {
        declarations += " xmlns:" + word + "=\"http://www.w3.org/2000/09/xmldsig#\"";
    }
    return declarations;
}

std::string filledByDeclarations(const Edit& hide) {
    // Dictionaries are tight from the first instruction or element on.
    const std::string signedText = genuine(
        insertedBefore(plainManifest(), "<Firm", "<?made by='hand'?>"), Algorithm::exclusive);
    std::string text = hide(signedText);
    // Known by then, and never declared.
    for (const std::string before : {"<", "</", " "}) {
        text = everywhere(text, before + "p:", before + "FirmwareDescription:");
    }
    const std::size_t end = text.find('>', text.find("<Firm"));
    const std::string head = text.substr(0, end) + declaredNamesOf(text);
    return head + fillingDeclarations(head, Room::Tight) + text.substr(end);
}

std::string withHiddenElement(const std::string& text, const std::string& name) {
    const std::size_t begin = findElement(text, name);
    const std::size_t end = text.find("</" + name + ">", begin);
    std::string hidden = text;
    if (end != std::string::npos) {
        hidden.insert(end + 2, "p:");
    }
    return hidden.insert(begin + 1, "p:");
}

std::string withHiddenAttribute(const std::string& text, const std::string& element,
                                const std::string& attribute) {
    const std::size_t at = text.find(" " + attribute + "=", findElement(text, element));
    if (at == std::string::npos) {
        throw std::runtime_error("nothing to hide: " + attribute);
    }
    return std::string(text).insert(at + 1, "p:");
}

}  // namespace Norv::Corvane::Test
