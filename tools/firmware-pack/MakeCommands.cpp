#include "Commands.h"

#include <filesystem>
#include <iostream>
#include <system_error>

#include "CommandSupport.h"
#include "Device.h"
#include "Digest.h"
#include "Error.h"
#include "PendingFile.h"
#include "ReleaseFile.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

constexpr std::size_t signatureLimit = std::size_t{64} << 10U;

WeakKeys weakKeys(const Options& options) {
    return options.allowWeakKey ? WeakKeys::Allowed : WeakKeys::Refused;
}

Strictness strictness(const Options& options) {
    if (options.strict && options.lenient) {
        throw UsageError("--strict and --no-strict exclude each other");
    }
    return options.strict    ? Strictness::Strict
           : options.lenient ? Strictness::Lenient
                             : Strictness::Normal;
}

int descriptorOf(const std::string& text) {
    const bool number = !text.empty() && text.size() < 8 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    if (!number) {
        throw UsageError("--passphrase-fd " + inQuotes(text) + " is no number");
    }
    return std::stoi(text);
}

KeySource keySource(const Options& options) {
    const int sources = (options.passphraseFile ? 1 : 0) + (options.passphraseDescriptor ? 1 : 0) +
                        (options.passphraseVariable ? 1 : 0);
    if (sources > 1) {
        throw UsageError(
            "--passphrase-file, --passphrase-fd and --passphrase-env exclude each other");
    }
    KeySource source{options.release.key.value(), passphraseFromTerminal,
                     options.module.value_or("")};
    if (options.passphraseFile) {
        source.passphrase = passphraseFromFile(*options.passphraseFile);
    } else if (options.passphraseDescriptor) {
        source.passphrase = passphraseFromDescriptor(descriptorOf(*options.passphraseDescriptor));
    } else if (options.passphraseVariable) {
        source.passphrase = passphraseFromEnvironment(*options.passphraseVariable);
    }
    return source;
}

Signer openSigner(const Options& options) {
    const KeySource source = keySource(options);
    Signer signer(source, Certificate(options.release.certificate.value(), weakKeys(options)));
    signer.includeCertificate(options.release.includeCertificate.value_or(false));
    return signer;
}

// A package written over its own input would cost the author a key or a payload file.
void refuseToOverwrite(const std::vector<std::string>& inputs, const std::string& output) {
    for (const std::string& input : inputs) {
        std::error_code absent;
        if (std::filesystem::equivalent(input, output, absent)) {
            throw PackError("the output " + printable(output) + " is the input " +
                            printable(input));
        }
    }
}

// Arguments take precedence over the release file.
Options withReleaseFile(Options options) {
    if (options.releaseFile) {
        options.release =
            overlay(std::move(options.release), readReleaseFile(*options.releaseFile));
    }
    return options;
}

std::vector<RequiredOption> descriptionOptions(const Release& release) {
    return {{"--manufacturer", release.manufacturer.has_value()},
            {"--model", release.model.has_value()},
            {"--version", release.version.has_value()},
            {"--system-version", release.systemVersion.has_value()},
            {"--application-version", release.applicationVersion.has_value()}};
}

std::vector<RequiredOption> operator+(std::vector<RequiredOption> a,
                                      const std::vector<RequiredOption>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<std::string> inputsOf(const Options& options, const PackageInput& input) {
    std::vector<std::string> inputs = input.sources;
    for (const auto& path :
         {options.release.key, options.release.certificate, options.releaseFile}) {
        if (path) {
            inputs.push_back(*path);
        }
    }
    return inputs;
}

void writeFile(const std::string& path, const std::string& bytes) {
    PendingFile file(path);
    file.write(bytes);
    file.moveIntoPlace();
}

// What a device reads from a package that is about to be finished.
struct Acceptance {
    std::string version;
    std::size_t files = 0;
};

void accept(const std::string& certificate, const std::string& package, Acceptance& acceptance) {
    const Device device(certificate);
    const Common::ValidatedFirmwareZip zip = device.validate(package);
    acceptance = {to_string(zip.description.version), zip.description.files.size()};
}

}  // namespace

int runBuild(const Options& arguments) {
    const Options options = withReleaseFile(arguments);
    const Release& release = options.release;
    requireOptions(std::vector<RequiredOption>{{"--key", release.key.has_value()},
                                               {"--certificate", release.certificate.has_value()}} +
                   descriptionOptions(release) +
                   std::vector<RequiredOption>{{"--output", release.output.has_value()}});
    const std::string output = *release.output;
    const PackageInput input = expand(release);
    refuseToOverwrite(inputsOf(options, input), output);
    Display display(options);
    PackageOptions packing{strictness(options), display.sink(), {}};
    Acceptance acceptance;
    packing.accept = [&](const std::string& file) {
        accept(*release.certificate, file, acceptance);
    };
    const std::vector<std::string> warnings =
        buildPackage(input, openSigner(options), output, packing);
    display.end();
    reportAll("warning", warnings);
    printClosingLine(options, output, acceptance.version, acceptance.files);
    return 0;
}

int runPrepare(const Options& arguments) {
    const Options options = withReleaseFile(arguments);
    const Release& release = options.release;
    requireOptions(std::vector<RequiredOption>{{"--certificate", release.certificate.has_value()}} +
                   descriptionOptions(release) +
                   std::vector<RequiredOption>{{"--to-sign", options.toSign.has_value()},
                                               {"--output", release.output.has_value()}});
    const PackageInput input = expand(release);
    for (const std::string& output : {*release.output, *options.toSign}) {
        refuseToOverwrite(inputsOf(options, input), output);
    }
    if (*release.output == *options.toSign) {
        throw UsageError("--to-sign and --output name the same file");
    }
    const Certificate certificate(*release.certificate, weakKeys(options));
    SignatureForm form{certificate.method()};
    if (release.includeCertificate.value_or(false)) {
        form.certificate = certificate.der();
    }
    Display display(options);
    std::string toSign;
    const std::vector<std::string> warnings = preparePackage(
        input, form, *release.output, toSign, {strictness(options), display.sink(), {}});
    const std::string digest = toHex(digestBytes(toSign).sha256);
    writeFile(*options.toSign, toSign);
    // In the form that sha256sum writes, and reads with --check.
    writeFile(*options.toSign + ".sha256", digest + "  " + baseName(*options.toSign) + "\n");
    display.end();
    reportAll("warning", warnings);
    printClosingLine(options, *release.output, *release.version, input.sources.size());
    if (!options.quiet) {
        std::cout << "to sign: " << printable(*options.toSign) << ", " << toSign.size()
                  << " bytes, SHA-256 " << digest << '\n'
                  << std::flush;
    }
    return 0;
}

int runAttach(const Options& options) {
    const Release& release = options.release;
    requireOptions({{"UNSIGNED", options.package.has_value()},
                    {"--signature", options.signatureFile.has_value()},
                    {"--certificate", release.certificate.has_value()},
                    {"--output", release.output.has_value()}});
    refuseToOverwrite({*options.signatureFile, *release.certificate}, *release.output);
    const Certificate certificate(*release.certificate, weakKeys(options));
    const std::string manifest = readManifest(*options.package);
    const std::string delivered = readSmallFile(*options.signatureFile, signatureLimit);
    const std::string toSign = bytesToSign(manifest);
    if (toSign.find(methodUri(certificate.method())) == std::string::npos) {
        throw PackError("the package was prepared for another kind of key than that of " +
                        printable(certificate.path()));
    }
    const std::string signedManifest =
        withSignatureValue(manifest, certificate.signatureValue(toSign, delivered));
    Display display(options);
    Acceptance acceptance;
    replaceManifest(*options.package, *release.output, signedManifest,
                    {{}, display.sink(), [&](const std::string& file) {
                         accept(*release.certificate, file, acceptance);
                     }});
    display.end();
    printClosingLine(options, *release.output, acceptance.version, acceptance.files);
    return 0;
}

int runResign(const Options& options) {
    const Release& release = options.release;
    requireOptions({{"PACKAGE", options.package.has_value()},
                    {"--key", release.key.has_value()},
                    {"--certificate", release.certificate.has_value()},
                    {"--output", release.output.has_value()}});
    refuseToOverwrite({*release.key, *release.certificate}, *release.output);
    const Signer signer = openSigner(options);
    const std::string manifest = signer.sign(readManifest(*options.package));
    Display display(options);
    Acceptance acceptance;
    replaceManifest(*options.package, *release.output, manifest,
                    {{}, display.sink(), [&](const std::string& file) {
                         accept(*release.certificate, file, acceptance);
                     }});
    display.end();
    printClosingLine(options, *release.output, acceptance.version, acceptance.files);
    return 0;
}

}  // namespace Norv::Corvane::Pack
