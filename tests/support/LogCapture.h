// What the library logs, as data that a test can compare.

#pragma once

#include <spdlog/common.h>

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace spdlog {
class logger;
}

namespace Norv::Corvane::Test {

struct LogRecord {
    spdlog::level::level_enum level;
    std::string message;
    // Unqualified name of the function that logged.
    std::string function;
    // Where in the source that is. Not compared.
    std::string file = {};
    int line = 0;

    friend bool operator==(const LogRecord& a, const LogRecord& b) {
        return a.level == b.level && a.message == b.message && a.function == b.function;
    }
};

std::ostream& operator<<(std::ostream& out, const LogRecord& record);

// While it lives, spdlog's default logger is one that keeps every record from debug level upwards
// and prints none; its end puts the previous one back. Loggers are fetched without a lock: create
// and destroy it while nothing else logs, so declare it before an installer. `records` may be
// called at any time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything at info level or above, in order. What the XML libraries complain about goes to
    // debug level and is not part of a test's expectation.
    std::vector<LogRecord> records() const;

    // Everything that was kept.
    std::vector<LogRecord> allRecords() const;

private:
    class Sink;
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<spdlog::logger> previous_;
};

}  // namespace Norv::Corvane::Test
