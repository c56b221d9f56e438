#include "Commands.h"

#include <iostream>

#include "CommandSupport.h"
#include "Device.h"
#include "Error.h"
#include "Extraction.h"
#include "Inspection.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

int runVerify(const Options& options) {
    requireOptions({{"PACKAGE", options.package.has_value()},
                    {"--certificate", options.release.certificate.has_value()}});
    const Device device(*options.release.certificate);
    const Common::ValidatedFirmwareZip zip = device.validate(*options.package);
    Display display(options);
    const std::vector<std::string> problems = checkPayload(zip, display.sink());
    display.end();
    reportAll("error", problems);
    if (!problems.empty()) {
        return 1;
    }
    printClosingLine(options, *options.package, to_string(zip.description.version),
                     zip.description.files.size());
    return 0;
}

int runInspect(const Options& options) {
    requireOptions({{"PACKAGE", options.package.has_value()}});
    Display display(options);
    Inspection inspection = inspectPackage(*options.package, display.sink());
    display.end();
    if (options.release.certificate) {
        const Device device(*options.release.certificate);
        try {
            device.validate(*options.package);
            inspection.verdict = Verdict{true, ""};
        } catch (const PackError& error) {
            inspection.verdict = Verdict{false, error.what()};
        }
    }
    std::cout << (options.json ? toJson(inspection) : toText(inspection)) << std::flush;
    return std::cout ? 0 : 1;
}

int runExtract(const Options& options) {
    requireOptions(
        {{"PACKAGE", options.package.has_value()}, {"FOLDER", options.folder.has_value()}});
    if (options.release.certificate) {
        const Device device(*options.release.certificate);
        device.validate(*options.package);
    }
    Display display(options);
    const std::size_t files =
        extractPackage(*options.package, *options.folder,
                       options.installed ? Layout::Installed : Layout::Archive, display.sink());
    display.end();
    if (!options.quiet) {
        std::cout << counted(files, "file") << " below " << printable(*options.folder) << '\n'
                  << std::flush;
    }
    return 0;
}

}  // namespace Norv::Corvane::Pack
