#include "Norv/Ombrel/Project/FQDN.h"

#include <fmt/format.h>

#include <boost/algorithm/string/predicate.hpp>

#include "StripPunctuation.h"

namespace Norv::Ombrel::Project {
namespace {

std::string cleaned(std::string text, std::string_view keep) {
    StripPunctuation(text, keep);
    return text;
}

std::string joined(std::string_view host, std::string_view domain) {
    std::string text;
    text.reserve(host.size() + domain.size() + 1);
    text.append(host);
    text.push_back('.');
    text.append(domain);
    return text;
}

}  // namespace

FQDN::FQDN(std::string text) : FQDN(std::in_place, cleaned(std::move(text), "-.")) {}

FQDN::FQDN(std::in_place_t, std::string&& text) noexcept : text_(std::move(text)) {}

FQDN::FQDN(Host::View host) : FQDN(std::in_place, std::string(host.GetText())) {}

FQDN::FQDN(Host::View host, Domain::View domain)
    : FQDN(std::in_place, joined(host.GetText(), domain.GetText())) {}

FQDN::FQDN(LogicalName name, MacAddress mac)
    : FQDN(std::in_place, fmt::format("{}-{:c}", cleaned(std::move(name).GetText(), "-"), mac)) {}

FQDN::FQDN(LogicalName name, MacAddress mac, Domain::View domain)
    : FQDN(std::in_place, fmt::format("{}-{:c}.{}", cleaned(std::move(name).GetText(), "-"), mac,
                                      domain.GetText())) {}

Host::View FQDN::GetHost() const& noexcept {
    const std::string_view text = text_;
    return Host::View(text.substr(0, text.find('.')));
}

Host FQDN::GetHost() const&& {
    return Host(std::string(GetHost().GetText()));
}

std::optional<Domain::View> FQDN::GetDomain() const& noexcept {
    const std::string_view text = text_;
    const std::size_t dot = text.find('.');
    if (dot == std::string_view::npos) {
        return std::nullopt;
    }
    return Domain::View(text.substr(dot + 1));
}

std::optional<Domain> FQDN::GetDomain() const&& {
    // Named, `*this` is an lvalue again: this calls the overload that views.
    const std::optional<Domain::View> domain = GetDomain();
    if (!domain) {
        return std::nullopt;
    }
    return Domain(std::string(domain->GetText()));
}

void FQDN::SetDomain(Domain::View domain) {
    *this = FQDN(GetHost(), domain);
}

bool FQDN::operator==(const FQDN& other) const {
    return boost::algorithm::iequals(text_, other.text_);
}

std::string_view to_string(const FQDN& name) noexcept {
    return name.text_;
}

std::string to_string(FQDN&& name) noexcept {
    return std::exchange(name.text_, {});
}

std::string to_string_copy(const FQDN& name) {
    return name.text_;
}

}  // namespace Norv::Ombrel::Project
