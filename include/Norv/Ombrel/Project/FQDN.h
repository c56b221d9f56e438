// A fully qualified name: host and domain joined by a dot, such as "dev1.site.local".
//
// A value that owns its text. The host is what stands before the first dot, the domain everything
// after it; there is no other separator, and no special rule for a trailing dot. Comparison ignores
// letter case as the global C++ locale defines it. Nothing here fails unless memory runs out;
// distinct objects may be used from any thread while no thread sets a locale.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Norv/Export.h"
#include "Norv/Ombrel/Project/Domain.h"
#include "Norv/Ombrel/Project/Host.h"
#include "Norv/Ombrel/Project/LogicalName.h"
#include "Norv/Ombrel/Project/MacAddress.h"

namespace Norv::Ombrel::Project {

class NORV_EXPORT FQDN {
public:
    // Removes blanks and punctuation other than "-" and ".", as the C locale in force classifies
    // them. The only constructor that cleans the whole name.
    explicit FQDN(std::string text);
    FQDN(std::in_place_t, std::string&& text) noexcept;

    // Without a domain, unless the host's text itself contains a dot.
    explicit FQDN(Host::View host);
    // The dot is there even if either part is empty.
    FQDN(Host::View host, Domain::View domain);

    // The name that a device goes by: its logical name, a hyphen and the twelve digits of its MAC
    // address ("LivingRoom-001a2b3c4d5e"). Blanks and punctuation other than "-" are removed from
    // the logical name; the domain is taken as it is, and its dot is there even if it is empty.
    FQDN(LogicalName name, MacAddress mac);
    FQDN(LogicalName name, MacAddress mac, Domain::View domain);

    // The whole name if it has no dot. The view refers to this object's text.
    Host::View GetHost() const& noexcept;
    // A copy of the host, cleaned as `Host` does.
    Host GetHost() const&&;

    // Empty if the name has no dot; engaged but empty if the first dot is the last character. The
    // view refers to this object's text.
    std::optional<Domain::View> GetDomain() const& noexcept;
    // A copy of the domain, cleaned as `Domain` does.
    std::optional<Domain> GetDomain() const&&;

    // Replaces everything after the first dot; adds the dot if there is none. The domain is taken
    // as it is and may be a view of this object's own text.
    void SetDomain(Domain::View domain);

    bool operator==(const FQDN& other) const;
    bool operator!=(const FQDN& other) const { return !(*this == other); }

    NORV_EXPORT friend std::string_view to_string(const FQDN& name) noexcept;
    NORV_EXPORT friend std::string to_string(FQDN&& name) noexcept;
    NORV_EXPORT friend std::string to_string_copy(const FQDN& name);

private:
    std::string text_;
};

// The view refers to the text of `name`.
NORV_EXPORT std::string_view to_string(const FQDN& name) noexcept;
// Moves the text out; `name` is left empty.
NORV_EXPORT std::string to_string(FQDN&& name) noexcept;
NORV_EXPORT std::string to_string_copy(const FQDN& name);

}  // namespace Norv::Ombrel::Project
