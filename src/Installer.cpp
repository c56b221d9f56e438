#include "Norv/Corvane/Common/Installer.h"

#include <cstddef>
#include <utility>

#include "Log.h"
#include "Norv/Corvane/Common/FileWriter.h"
#include "Norv/Corvane/Common/ProgressCounter.h"
#include "Norv/Corvane/Common/ScriptRunner.h"
#include "Sha256Verifier.h"

namespace Norv::Corvane::Common {
namespace {

constexpr std::size_t chunkSize = 262144;

// One installation, from the first file to the verdict. Moved into the thread that runs it.
class Worker {
public:
    Worker(const boost::filesystem::path& targetDirectory,
           std::shared_ptr<CancellationToken> cancellation, ValidatedFirmwareZip firmware,
           std::function<void(unsigned int)> onProgress, std::function<void(bool)> onCompletion)
        : targetDirectory_(&targetDirectory),
          cancellation_(std::move(cancellation)),
          firmware_(std::move(firmware)),
          onProgress_(std::move(onProgress)),
          onCompletion_(std::move(onCompletion)),
          chunk_(new unsigned char[chunkSize]) {}

    void operator()() {
        ProgressCounter::SharedState progress(firmware_.description.totalLength,
                                              std::move(onProgress_));
        for (const FirmwareDescription::File& file : firmware_.description.files) {
            if (!install(file, progress)) {
                Log::error("Failed to process: {}", file.localFilePath);
                onCompletion_(false);
                return;
            }
            if (cancellation_->cancelRequested.load()) {
                Log::warn("Firmware installation canceled");
                onCompletion_(false);
                return;
            }
        }
        onCompletion_(true);
        Log::info("Firmware installation succeded");
    }

private:
    bool install(const FirmwareDescription::File& file, ProgressCounter::SharedState& progress) {
        Sha256Verifier verifier(file);
        FileWriter writer(*targetDirectory_, file);
        ScriptRunner runner(*targetDirectory_, file);
        ProgressCounter counter(progress);
        return processFile(file, verifier, writer, runner, counter);
    }

    // Reads the entry once and feeds each chunk to the digest and to the three sinks. A read error
    // stops the loop as the end of the data does; the digest tells the two apart.
    bool processFile(const FirmwareDescription::File& file, Sha256Verifier& verifier,
                     FileWriter& writer, ScriptRunner& runner, ProgressCounter& counter) {
        libzip::file entry = firmware_.package.archive().open(file.localFilePath);
        zip_int64_t count = 0;
        while ((count = entry.read(chunk_.get(), chunkSize)) > 0) {
            const libtorrent::span<const unsigned char> data(chunk_.get(),
                                                             static_cast<std::ptrdiff_t>(count));
            const bool last = static_cast<std::size_t>(count) < chunkSize;
            verifier.update(data);
            writer.write(data, last);
            runner.write(data, last);
            counter.write(data, last);
        }
        // The file is closed on disk before it is run, and counted only when both succeeded.
        return verifier.verify() && writer.done() && runner.done() && counter.done();
    }

    const boost::filesystem::path* targetDirectory_;
    std::shared_ptr<CancellationToken> cancellation_;
    ValidatedFirmwareZip firmware_;
    std::function<void(unsigned int)> onProgress_;
    std::function<void(bool)> onCompletion_;
    std::unique_ptr<unsigned char[]> chunk_;
};

}  // namespace

Installer::Installer(boost::filesystem::path targetDirectory)
    : targetDirectory_(std::move(targetDirectory)) {}

Installer::~Installer() {
    if (worker_.joinable()) {
        worker_.join();
    }
}

void Installer::Install(ValidatedFirmwareZip firmware, std::function<void(unsigned int)> onProgress,
                        std::function<void(bool)> onCompletion) {
    auto cancellation = std::make_shared<CancellationToken>();
    cancellation_ = cancellation;
    // Assigning to a worker that was never joined ends the process: one installation per object.
    worker_ = std::thread(Worker(targetDirectory_, std::move(cancellation), std::move(firmware),
                                 std::move(onProgress), std::move(onCompletion)));
}

void Installer::Cancel() {
    const std::shared_ptr<CancellationToken> cancellation = cancellation_.lock();
    if (!cancellation) {
        return;
    }
    Log::info("Request cancelation of firmware installation");
    cancellation->cancelRequested.store(true);
}

}  // namespace Norv::Corvane::Common
