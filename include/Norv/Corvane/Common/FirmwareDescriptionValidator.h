// Checks the signature of a manifest against one trusted certificate.
//
// `Init` and `Deinit` set up and shut down libxml2 and xmlsec for the whole process: call each
// once, on one thread, while no validator is at work; `Init` may follow a `Deinit`. A validator
// owns the certificate it loaded and is not copyable. The XML libraries keep process-wide state, so
// no two validations may run at the same time, not even on different validators.
//
// Nothing in here throws. Lack of memory is an error code, an empty handle or an empty result, as
// any other failure. What the libraries complain about goes to the default logger at debug level,
// never to the process's streams; OpenSSL's error queue and libxml2's error handlers are left as
// they were found.
//
// `Init` changes what the rest of the process gets from libxml2, and `Deinit` leaves that so:
// external entities read as empty, and on the thread of `Init` the functions that take no options
// (`xmlParseFile` and the like) substitute entities.

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

    // Loads the key and the certificate from a PEM file. Empty, and an error line in the log, when
    // that fails.
    static KeysManagerPtr LoadTrustedCert(const boost::filesystem::path& certificate);

    // Trusts the certificate in this PEM file from now on, and no other. On failure
    // (`XmlSecError::CertLoadingFailed`) nothing is trusted any more, not even what was before.
    std::error_code Open(const boost::filesystem::path& certificate);

    // Trusts nothing from now on.
    void Close() noexcept;

    // True only for a manifest that the trusted key signed as a whole, and of which pugixml, which
    // the manifest is used through, reads what it reads of the very bytes that were signed.
    // Otherwise the signature would vouch for one document and another one would be used; a
    // mismatch is empty, not false, since nothing is wrong with the signature itself.
    //
    // Keys that the manifest brings along are ignored. Empty when the manifest cannot be judged:
    // before `Open` succeeded; if it is not UTF-8 or ASCII, not well-formed, has a document type
    // declaration or an undeclared namespace prefix, or has its signature anywhere but directly
    // below the root element; if checking it would cost many times what honest manifests of the
    // size do; or for lack of memory.
    boost::optional<bool> ValidateSignature(boost::string_view description) const override;

private:
    KeysManagerPtr keysManager_;
};

}  // namespace Norv::Corvane::Common
