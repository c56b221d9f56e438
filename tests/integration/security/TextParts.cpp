#include "TextParts.h"

#include <algorithm>

#include "ManifestMutations.h"

namespace Norv::Corvane::Test {

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string name(std::size_t i) {
    constexpr char letters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    std::string text;
    do {
        text += letters[i % 52];
        i /= 52;
    } while (i != 0);
    return text;
}

std::string list(std::size_t count, const std::string& before, const std::string& after) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += before + name(i) + after;
    }
    return all;
}

SignatureForm inclusive() {
    SignatureForm form;
    form.canonicalisation = Algorithm::inclusive;
    form.references[0].transforms[1] = Algorithm::inclusive;
    return form;
}

std::string filled(std::size_t size, const std::string& head, const std::string& unit,
                   const std::string& end, const SignatureForm& form) {
    const std::string tail = end + meaninglessSignature(form) + "</R>";
    const std::size_t used = head.size() + tail.size();
    return head + repeated(unit, size > used ? (size - used) / unit.size() : 0) + tail;
}

HostileText body(const std::string& name, const std::string& rootAttributes,
                 const std::string& unit, const SignatureForm& form) {
    return {name, [=](std::size_t size) {
                return filled(size, "<R" + rootAttributes + ">", unit, "", form);
            }};
}

std::string withDigests(const std::string& signature, std::size_t size, const std::string& unit) {
    const std::size_t room = size - std::min(size, signature.size());
    const std::string head = "<R>" + repeated(unit, room / unit.size());
    const std::string one = fillSignature(head + SignatureForm().text() + "</R>", strangerKey());
    return head +
           everywhere(signature, "<DigestValue>AAAA</DigestValue>", elementOf(one, "DigestValue")) +
           "</R>";
}

}  // namespace Norv::Corvane::Test
