#include "LogCapture.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <mutex>
#include <ostream>

namespace Norv::Corvane::Test {

class LogCapture::Sink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::vector<LogRecord> records(spdlog::level::level_enum minimum) {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::vector<LogRecord> selected;
        for (const LogRecord& record : records_) {
            if (record.level >= minimum) {
                selected.push_back(record);
            }
        }
        return selected;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        const spdlog::source_loc& place = message.source;
        records_.push_back({message.level,
                            {message.payload.data(), message.payload.size()},
                            place.funcname == nullptr ? "" : place.funcname,
                            place.filename == nullptr ? "" : place.filename,
                            place.line});
    }
    void flush_() override {}

private:
    std::vector<LogRecord> records_;
};

std::ostream& operator<<(std::ostream& out, const LogRecord& record) {
    const spdlog::string_view_t level = spdlog::level::to_string_view(record.level);
    return out << std::string_view(level.data(), level.size()) << " \"" << record.message
               << "\" from " << record.function;
}

LogCapture::LogCapture() : sink_(std::make_shared<Sink>()), previous_(spdlog::default_logger()) {
    auto logger = std::make_shared<spdlog::logger>("capture", sink_);
    logger->set_level(spdlog::level::debug);
    spdlog::set_default_logger(std::move(logger));
}

LogCapture::~LogCapture() {
    spdlog::set_default_logger(previous_);
}

std::vector<LogRecord> LogCapture::records() const {
    return sink_->records(spdlog::level::info);
}

std::vector<LogRecord> LogCapture::allRecords() const {
    return sink_->records(spdlog::level::trace);
}

}  // namespace Norv::Corvane::Test
