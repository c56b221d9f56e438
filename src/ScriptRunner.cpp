#include "Norv/Corvane/Common/ScriptRunner.h"

#include <cerrno>
#include <csignal>
#include <string>
#include <string_view>
#include <system_error>

#include <boost/filesystem/operations.hpp>

#include "BoostProcess.h"
#include "InstallationPath.h"
#include "Log.h"

namespace Norv::Corvane::Common {
namespace {

constexpr std::string_view scriptSuffix = "Script.run";

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The exit status, or the number of the signal that ended the command; `error` is set when it could
// not be started.
int runAndWait(const std::string& command, std::error_code& error) {
    // Launching sets SIGCHLD to its default in any case, but too late for a host that ignores or
    // handles the signal: a short script could be reaped before it is waited for.
    std::signal(SIGCHLD, SIG_DFL);
    errno = 0;
    const int result = process::system(command, error);
    if (result == -1 && !error) {
        // Not started because there was no pipe, which only errno says.
        error = std::make_error_code(errno != 0 ? static_cast<std::errc>(errno)
                                                : std::errc::resource_unavailable_try_again);
    }
    return result;
}

}  // namespace

bool ScriptRunner::IsExecutableScriptFile(const FirmwareDescription::File& file) {
    return file.kind == FileKind::Script && endsWith(installationPath(file), scriptSuffix);
}

ScriptRunner::ScriptRunner(const boost::filesystem::path& targetDir,
                           const FirmwareDescription::File& file) {
    if (IsExecutableScriptFile(file)) {
        script_ = installationPath(targetDir, file);
    }
}

void ScriptRunner::write(libtorrent::span<const unsigned char> /*data*/, bool /*last*/) {}

bool ScriptRunner::done() {
    namespace fs = boost::filesystem;

    if (!script_) {
        return true;
    }
    if (!fs::is_regular_file(fs::status(*script_))) {
        Log::error("Script {} is not a regular file", script_->native());
        return false;
    }
    if ((fs::status(*script_).permissions() & fs::owner_exe) == 0) {
        fs::permissions(*script_, fs::add_perms | fs::owner_exe);
    }

    const std::string command = fmt::format(
        "/bin/sh {} /UpdateApplicationFiles:True /UpdateSystemFiles:True /CommissioningMode:False",
        script_->native());
    std::error_code error;
    const int result = runAndWait(command, error);
    if (error) {
        Log::error("Faild to execute command \"{}\" ({})", command, error.message());
        return false;
    }
    return result == 0;
}

}  // namespace Norv::Corvane::Common
