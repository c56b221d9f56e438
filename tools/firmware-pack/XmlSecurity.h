// Process-wide start and end of libxml2 and xmlsec with its OpenSSL back end.

#pragma once

namespace Norv::Corvane::Pack {

// Holds the libraries up for its lifetime. At most one at a time in a process, and none where
// somebody else has started them: a second start leaks what the first one registered. Throws
// `PackError` when a library refuses to start.
class XmlSecurity {
public:
    XmlSecurity();
    ~XmlSecurity();
    XmlSecurity(const XmlSecurity&) = delete;
    XmlSecurity& operator=(const XmlSecurity&) = delete;
};

}  // namespace Norv::Corvane::Pack
