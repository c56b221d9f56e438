#include "Arguments.h"

#include <map>

namespace Norv::Corvane::Pack {

const char usage[] = R"(Usage: firmware-pack OPTION... --output PACKAGE

Builds a signed firmware package: a zip archive of payload files with the manifest
FirmwareDescription.xml. PACKAGE is replaced as a whole, or left alone when anything fails.

Signature:
  --key FILE                    PEM private key, RSA or EC, not encrypted
  --certificate FILE            PEM certificate of that key, the one the devices trust
  --include-certificate         put a copy of the certificate into the signature

Description:
  --manufacturer CODE           for example QV
  --model CODE                  for example QA01RTVN
  --version A.B.C.D             version of the package
  --system-version A.B.C.D      version of its system part
  --application-version A.B.C.D version of its application part
  --hw-rev TEXT                 supported hardware revision; repeatable

Payload, in the order of installation; both options are repeatable:
  --firmware SOURCE LOCAL REMOTE
  --script SOURCE LOCAL REMOTE
        SOURCE  the file to pack
        LOCAL   its name in the archive
        REMOTE  its path below the target directory; a script is run after its
                installation when this ends in "Script.run"
  --store                       do not compress the payload

Output:
  --output FILE                 the package to write
  --help                        print this text and exit

Exit status: 0 when the package was written, 1 when it could not be, 2 for wrong usage.
)";

namespace {

// Walks over the arguments and hands out the values that belong to an option.
class Cursor {
public:
    Cursor(int argc, const char* const* argv) : next_(argv + 1), end_(argv + argc) {}

    bool atEnd() const { return next_ == end_; }
    std::string option() { return *next_++; }
    std::string value(const std::string& option) {
        if (atEnd()) {
            throw UsageError(option + " lacks a value");
        }
        return *next_++;
    }

private:
    const char* const* next_;
    const char* const* end_;
};

void addPayload(Cursor& cursor, const std::string& option, PayloadKind kind, PackageInput& input) {
    input.sources.push_back(cursor.value(option));
    ManifestFile file;
    file.kind = kind;
    file.localFilePath = cursor.value(option);
    file.remoteFilePath = cursor.value(option);
    input.manifest.files.push_back(std::move(file));
}

// The options that are required exactly once, with the place of their value.
std::map<std::string, std::string*> requiredOptions(Arguments& arguments) {
    Manifest& manifest = arguments.input.manifest;
    return {{"--key", &arguments.key},
            {"--certificate", &arguments.certificate},
            {"--manufacturer", &manifest.manufacturerId},
            {"--model", &manifest.modelId},
            {"--version", &manifest.version},
            {"--system-version", &manifest.systemVersion},
            {"--application-version", &manifest.applicationVersion},
            {"--output", &arguments.output}};
}

// Options that are not in `requiredOptions`.
void parseOption(const std::string& option, Cursor& cursor, Arguments& arguments) {
    if (option == "--hw-rev") {
        arguments.input.manifest.supportedHwRevs.push_back(cursor.value(option));
    } else if (option == "--firmware") {
        addPayload(cursor, option, PayloadKind::Firmware, arguments.input);
    } else if (option == "--script") {
        addPayload(cursor, option, PayloadKind::Script, arguments.input);
    } else if (option == "--store") {
        arguments.input.deflate = false;
    } else if (option == "--include-certificate") {
        arguments.includeCertificate = true;
    } else {
        throw UsageError("unknown option " + option);
    }
}

}  // namespace

Arguments parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    std::map<std::string, std::string*> missing = requiredOptions(arguments);
    const std::map<std::string, std::string*> required = missing;
    Cursor cursor(argc, argv);
    while (!cursor.atEnd()) {
        const std::string option = cursor.option();
        if (option == "--help") {
            arguments.help = true;
            return arguments;
        }
        const auto place = required.find(option);
        if (place == required.end()) {
            parseOption(option, cursor, arguments);
        } else if (missing.erase(option) == 0) {
            throw UsageError(option + " is given twice");
        } else if ((*place->second = cursor.value(option)).empty()) {
            throw UsageError(option + " has an empty value");
        }
    }
    if (!missing.empty()) {
        throw UsageError(missing.begin()->first + " is missing");
    }
    return arguments;
}

}  // namespace Norv::Corvane::Pack
