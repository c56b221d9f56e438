#include "Log.h"

namespace Norv::Corvane::Common::Log {

void write(spdlog::level::level_enum level, const Message& message, fmt::format_args arguments) {
    spdlog::logger* const logger = spdlog::default_logger_raw();
    if (logger == nullptr || !(logger->should_log(level) || logger->should_backtrace())) {
        return;
    }
    const std::string text = fmt::vformat(message.format, arguments);
    logger->log(message.place, level, spdlog::string_view_t(text));
}

}  // namespace Norv::Corvane::Common::Log
