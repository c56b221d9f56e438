#include "ScriptLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "Console.h"
#include "HostError.h"
#include "Printable.h"

ScriptLog::ScriptLog(const std::optional<std::string>& path, Report& report)
    : path_(path.value_or("")), report_(report) {
    if (!path) {
        return;
    }
    constexpr mode_t mode = 0644;
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, mode);
    if (descriptor_ < 0) {
        throw HostError("cannot write " + path_ + ": " + std::generic_category().message(errno));
    }
}

ScriptLog::~ScriptLog() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void ScriptLog::write(const std::string& script, const std::string& line) {
    if (descriptor_ < 0) {
        report_.scriptLine(script, line);
    } else if (!writeAll(descriptor_, printable(script + ": " + line) + '\n') && !complained_) {
        complained_ = true;
        report_.notice("cannot write " + path_ + ": " + std::generic_category().message(errno));
    }
}
