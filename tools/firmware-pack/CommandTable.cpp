// What each command is called, takes and says about itself.

#include <CLI/CLI.hpp>

#include "CommandLine.h"
#include "Commands.h"

namespace Norv::Corvane::Pack {

const char programSynopsis[] = "firmware-pack COMMAND [OPTION...]";

const char programDescription[] =
    "Makes, signs and examines firmware packages: zip archives of payload files with the\n"
    "manifest FirmwareDescription.xml. Options without a command are those of build, as\n"
    "\"firmware-pack build --no-strict --quiet\".\n";

const char exitStatusText[] = "0 when all went well, 1 when it did not, 2 for wrong usage.\n";

namespace {

CLI::Option* addText(CLI::App& app, const char* name, std::optional<std::string>& place,
                     const char* type, const char* text) {
    return app.add_option(name, place, text)
        ->type_name(type)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

// May be repeated; each time it takes this many values.
CLI::Option* addRepeatable(CLI::App& app, const char* name, int values, const char* type,
                           const char* text) {
    return app.add_option(name)
        ->description(text)
        ->type_size(values)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false)
        ->type_name(type);
}

void addQuiet(CLI::App& app, Options& options) {
    app.set_help_flag("-h,--help", "print this text and exit");
    app.add_flag("--quiet", options.quiet, "print neither progress nor the closing line");
}

void addKey(CLI::App& app, Options& options) {
    addText(app, "--key", options.release.key, "KEY",
            "the private key, RSA or EC: a file (PEM or DER, encrypted or not, PKCS#12), or the "
            "pkcs11: URI of a token's object")
        ->group("Signature");
    addText(app, "--passphrase-file", options.passphraseFile, "FILE",
            "the first line of FILE is the passphrase of the key, or the PIN of its token; "
            "without one of these options it is asked for on the terminal")
        ->group("Signature");
    addText(app, "--passphrase-fd", options.passphraseDescriptor, "NUMBER",
            "the same from an open descriptor")
        ->group("Signature");
    addText(app, "--passphrase-env", options.passphraseVariable, "NAME",
            "the same from the environment variable NAME")
        ->group("Signature");
    addText(app, "--pkcs11-module", options.module, "FILE",
            "the PKCS#11 module of the token; the system's choice unless given")
        ->group("Signature");
}

void addCertificate(CLI::App& app, Options& options, const char* text) {
    addText(app, "--certificate", options.release.certificate, "FILE", text)->group("Signature");
}

void addWeakKey(CLI::App& app, Options& options) {
    app.add_flag("--allow-weak-key", options.allowWeakKey, "take an RSA key below 2048 bits")
        ->group("Signature");
}

void addOwnCertificate(CLI::App& app, Options& options) {
    addCertificate(app, options, "PEM certificate of the key, the one the devices trust");
    addWeakKey(app, options);
}

void addIncludeCertificate(CLI::App& app, Options& options) {
    app.add_flag_callback(
           "--include-certificate", [&options] { options.release.includeCertificate = true; },
           "put a copy of the certificate into the signature")
        ->group("Signature");
}

void addDescription(CLI::App& app, Options& options) {
    const auto add = [&](const char* name, std::optional<std::string>& place, const char* type,
                         const char* text) {
        addText(app, name, place, type, text)->group("Description");
    };
    Release& release = options.release;
    add("--release", options.releaseFile, "FILE",
        "take everything that arguments do not state from this file; see firmware-release(5)");
    add("--manufacturer", release.manufacturer, "CODE", "for example QV");
    add("--model", release.model, "CODE", "for example QA01RTVN");
    add("--version", release.version, "A.B.C.D", "version of the package");
    add("--system-version", release.systemVersion, "A.B.C.D", "version of its system part");
    add("--application-version", release.applicationVersion, "A.B.C.D",
        "version of its application part");
    addRepeatable(app, "--hw-rev", 1, "TEXT", "supported hardware revision; repeatable")
        ->group("Description");
}

void addPayload(CLI::App& app, Options& options) {
    const char* const group = "Payload, in the order of installation; repeatable";
    addRepeatable(app, "--firmware", 3, "SOURCE LOCAL REMOTE",
                  "the file SOURCE under the name LOCAL in the archive, installed as REMOTE below "
                  "the target directory")
        ->group(group);
    addRepeatable(app, "--script", 3, "SOURCE LOCAL REMOTE",
                  "the same for a script; it is run after its installation when REMOTE ends in "
                  "\"Script.run\"")
        ->group(group);
    addRepeatable(app, "--folder", 2, "FOLDER REMOTE",
                  "every file below FOLDER, installed below REMOTE")
        ->group(group);
    addRepeatable(app, "--pattern", 2, "PATTERN REMOTE",
                  "every file that matches, with * ? and [...], installed below REMOTE")
        ->group(group);
    app.add_flag_callback(
           "--store", [&options] { options.release.compress = false; },
           "do not compress the payload")
        ->group(group);
}

void addStrictness(CLI::App& app, Options& options) {
    app.add_flag("--strict", options.strict, "make an error of every warning");
    app.add_flag("--no-strict", options.lenient,
                 "only warn of a script that cannot be run or is never run");
}

// After the options: which payload came first is not known before.
void collectLists(const CLI::App& app, Options& options) {
    static const std::map<std::string, PayloadRule::Kind> kinds = {
        {"--firmware", PayloadRule::Kind::File},
        {"--script", PayloadRule::Kind::Script},
        {"--folder", PayloadRule::Kind::Folder},
        {"--pattern", PayloadRule::Kind::Pattern}};
    std::map<const CLI::Option*, std::size_t> used;
    std::vector<PayloadRule> payload;
    for (const CLI::Option* option : app.parse_order()) {
        const auto kind = kinds.find(option->get_name());
        const std::size_t at = used[option]++;
        const auto width = static_cast<std::size_t>(option->get_type_size());
        if (kind == kinds.end() || at % width != 0) {
            continue;
        }
        const std::vector<std::string>& values = option->results();
        if (width == 3) {
            payload.push_back({kind->second, values[at], values[at + 2], values[at + 1]});
        } else {
            payload.push_back({kind->second, values[at], values[at + 1]});
        }
    }
    if (!payload.empty()) {
        options.release.payload = std::move(payload);
    }
    if (const CLI::Option* hwRevs = app.get_option("--hw-rev"); hwRevs->count() > 0) {
        options.release.hwRevs = hwRevs->results();
    }
}

void configureBuild(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addStrictness(app, options);
    addText(app, "--output", options.release.output, "PACKAGE", "the package to write");
    addKey(app, options);
    addOwnCertificate(app, options);
    addIncludeCertificate(app, options);
    addDescription(app, options);
    addPayload(app, options);
    app.callback([&app, &options] { collectLists(app, options); });
}

void configurePrepare(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addStrictness(app, options);
    addText(app, "--output", options.release.output, "UNSIGNED", "the package to write");
    addText(app, "--to-sign", options.toSign, "FILE",
            "where to write the bytes to sign; their SHA-256 goes into FILE.sha256");
    addOwnCertificate(app, options);
    addIncludeCertificate(app, options);
    addDescription(app, options);
    addPayload(app, options);
    app.callback([&app, &options] { collectLists(app, options); });
}

void configureAttach(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addText(app, "UNSIGNED", options.package, "FILE", "the package that prepare wrote");
    addText(app, "--output", options.release.output, "PACKAGE", "the package to write");
    addText(app, "--signature", options.signatureFile, "FILE",
            "what the signer made: the bytes of RSA; for ECDSA a DER structure or the two numbers")
        ->group("Signature");
    addOwnCertificate(app, options);
}

void configureInspect(CLI::App& app, Options& options) {
    addQuiet(app, options);
    app.add_flag("--json", options.json, "print JSON; see firmware-package(5)");
    addText(app, "PACKAGE", options.package, "FILE", "the package");
    addCertificate(app, options, "say what a device thinks that trusts this PEM certificate");
}

void configureVerify(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addText(app, "PACKAGE", options.package, "FILE", "the package");
    addCertificate(app, options, "the PEM certificate that the device trusts");
}

void configureResign(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addText(app, "PACKAGE", options.package, "FILE", "the package");
    addText(app, "--output", options.release.output, "PACKAGE",
            "the package to write; may be the same");
    addKey(app, options);
    addOwnCertificate(app, options);
    addIncludeCertificate(app, options);
}

void configureExtract(CLI::App& app, Options& options) {
    addQuiet(app, options);
    addText(app, "PACKAGE", options.package, "FILE", "the package");
    addText(app, "FOLDER", options.folder, "FOLDER", "where to; made if it is missing");
    app.add_flag("--installed", options.installed,
                 "under the paths that the files have on a device, not in the archive");
    addCertificate(app, options, "only if a device takes the package that trusts this one");
}

}  // namespace

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"build", "[--release FILE] --key KEY --certificate FILE OPTION... --output PACKAGE",
         "Makes a signed package.",
         "PACKAGE is replaced as a whole, or left alone when anything fails. Equal input gives\n"
         "equal bytes, except for the signatures of EC keys, which are random by nature.\n",
         configureBuild, runBuild},
        {"prepare",
         "[--release FILE] --certificate FILE OPTION... --to-sign FILE --output UNSIGNED",
         "Makes a package that is to be signed elsewhere.",
         "The signer makes a raw signature with SHA-256 over the bytes in --to-sign, PKCS#1 v1.5\n"
         "for an RSA key, ECDSA for an EC key. \"firmware-pack attach\" takes it from there.\n",
         configurePrepare, runPrepare},
        {"attach", "UNSIGNED --signature FILE --certificate FILE --output PACKAGE",
         "Puts a signature that was made elsewhere into a prepared package.",
         "The signature is checked, and the package as a device would; with RSA it is byte for\n"
         "byte what build would have made.\n",
         configureAttach, runAttach},
        {"inspect", "[--json] [--certificate FILE] PACKAGE",
         "Shows what a device would read in a package.",
         "Nothing is trusted, and nothing in the package reaches the terminal as a control\n"
         "character. The exit status is 0 if the package could be read, whatever it holds.\n",
         configureInspect, runInspect},
        {"verify", "--certificate FILE PACKAGE",
         "Checks a package as a device would, and its whole payload.",
         "Exit status 0 means: a device that trusts the certificate takes the manifest, and every\n"
         "file has the digest and the length that it states.\n",
         configureVerify, runVerify},
        {"resign", "PACKAGE --key KEY --certificate FILE --output PACKAGE",
         "Replaces the signature of a package and nothing else.", "", configureResign, runResign},
        {"extract", "PACKAGE FOLDER", "Writes the payload of a package below a folder.",
         "Never outside of it, never over a file or through a link that is there. Files whose\n"
         "digest is wrong are not left behind.\n",
         configureExtract, runExtract}};
    return table;
}

}  // namespace Norv::Corvane::Pack
