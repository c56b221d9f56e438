// Logging through the host's default logger.
//
// The logger is fetched at each call, and each record names the file, line and unqualified function
// of the caller. A host without a default logger loses the records and nothing else.

#pragma once

#include <spdlog/spdlog.h>

namespace Norv::Corvane::Common::Log {

// A format string together with the place it was written at.
struct Message {
    Message(const char* text, const char* file = __builtin_FILE(), int line = __builtin_LINE(),
            const char* function = __builtin_FUNCTION()) noexcept
        : format(text), place{file, line, function} {}

    const char* format;
    spdlog::source_loc place;
};

// Formats and writes one record. Kept apart from the templates below so that each call site costs
// no more than its arguments.
void write(spdlog::level::level_enum level, const Message& message, fmt::format_args arguments);

template <typename... Arguments>
void error(const Message& message, const Arguments&... arguments) {
    write(spdlog::level::err, message, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void warn(const Message& message, const Arguments&... arguments) {
    write(spdlog::level::warn, message, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void info(const Message& message, const Arguments&... arguments) {
    write(spdlog::level::info, message, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void debug(const Message& message, const Arguments&... arguments) {
    write(spdlog::level::debug, message, fmt::make_format_args(arguments...));
}

}  // namespace Norv::Corvane::Common::Log
