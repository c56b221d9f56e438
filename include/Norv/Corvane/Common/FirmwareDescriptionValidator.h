// Checks the signature of a manifest against one trusted certificate.
//
// `Init` and `Deinit` set up and shut down libxml2 and xmlsec for the whole process. Call them
// alternately, on one thread, while no validator is in use. A validator owns the certificate it
// loaded and is not copyable. The XML libraries keep process-wide state, so no two validations may
// run at the same time, not even on different validators.
//
// Nothing here throws. Lack of memory gives an error code, an empty handle or an empty result, like
// any other failure. Complaints of the libraries go to the default logger at debug level, never to
// the process's streams; OpenSSL's error queue and libxml2's error handlers are left as they were
// found.
//
// `Init` also affects what the rest of the process does with these libraries. Until `Deinit`,
// xmlsec's complaints about other calls than ours are dropped. `Deinit` does not undo two changes
// to libxml2: external entities read as empty, and on the thread of `Init` the functions that take
// no options (`xmlParseFile` and the like) substitute entities.

#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>
#include <boost/utility/string_view.hpp>
#include <memory>
#include <system_error>

#include "Norv/Corvane/Common/IFirmwareDescriptionValidator.h"
#include "Norv/Export.h"

struct _xmlSecKeysMngr;

namespace Norv::Corvane::Common {

struct NORV_EXPORT KeysManagerDeleter {
    void operator()(_xmlSecKeysMngr* manager) const noexcept;
};

// Owns a trusted certificate and its key.
using KeysManagerPtr = std::unique_ptr<_xmlSecKeysMngr, KeysManagerDeleter>;

class NORV_EXPORT FirmwareDescriptionValidator : public IFirmwareDescriptionValidator {
public:
    using KeysManagerPtr = Common::KeysManagerPtr;

    // Returns an `XmlSecError`. A step that fails leaves the earlier ones in force.
    static std::error_code Init();

    static void Deinit();

    // Loads the key and the certificate from a PEM file. On failure returns an empty handle and
    // logs an error; when memory runs out, it may log nothing.
    static KeysManagerPtr LoadTrustedCert(const boost::filesystem::path& certificate);

    // Trusts the certificate in this PEM file from now on, and no other. On failure
    // (`XmlSecError::CertLoadingFailed`) nothing is trusted any more, not even the previous
    // certificate.
    std::error_code Open(const boost::filesystem::path& certificate);

    // Trusts nothing from now on.
    void Close() noexcept;

    // True only if the trusted key signed the manifest as a whole, and pugixml reads the same in it
    // as in the very bytes that were signed. The manifest is used as pugixml reads it: without that
    // comparison, the signature could vouch for one document while another one is used. A mismatch
    // is empty, not false, because nothing is wrong with the signature itself. Text is compared as
    // a whole: comments and CDATA sections may divide it in another way.
    //
    // Keys that the manifest brings along are ignored. Empty when the manifest cannot be checked:
    // before `Open` succeeded; if it is not UTF-8 or ASCII, not well-formed, has a document type
    // declaration or an undeclared namespace prefix, or has its signature anywhere but directly
    // below the root element; if checking it would cost many times what honest manifests of the
    // size do; or for lack of memory.
    boost::optional<bool> ValidateSignature(boost::string_view description) const override;

private:
    KeysManagerPtr keysManager_;
};

}  // namespace Norv::Corvane::Common
