#include "Failure.h"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace {

class ReportSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    ReportSink(Report& report, EventQueue& queue) : report_(report), queue_(queue) {}

private:
    void sink_it_(const spdlog::details::log_msg& message) override {
        const auto name = spdlog::level::to_string_view(message.level);
        const std::string level(name.data(), name.size());
        const std::string text(message.payload.data(), message.payload.size());
        if (std::this_thread::get_id() == mainThread_) {
            report_.log(level, text);
        } else {
            queue_.post({Event::Kind::Log, 0, text, level});
        }
    }
    void flush_() override {}

    Report& report_;
    EventQueue& queue_;
    const std::thread::id mainThread_ = std::this_thread::get_id();
};

EventQueue* terminationQueue = nullptr;
std::thread::id mainThread;

[[noreturn]] void reportTermination() noexcept {
    std::string reason = "unknown reason";
    try {
        if (const std::exception_ptr error = std::current_exception()) {
            std::rethrow_exception(error);
        }
    } catch (const std::exception& error) {
        reason = error.what();
    } catch (...) {
    }
    const std::string text = "installation failed: " + reason;
    if (std::this_thread::get_id() != mainThread) {
        terminationQueue->post({Event::Kind::Terminated, 0, text, {}});
        // Long enough for a main thread that is not stuck itself.
        std::this_thread::sleep_for(std::chrono::seconds(10));
    }
    writeAll(STDERR_FILENO, "firmware-host: " + text + '\n');
    std::abort();
}

}  // namespace

void configureLog(bool verbose, Report& report, EventQueue& queue) {
    auto logger = std::make_shared<spdlog::logger>("", std::make_shared<ReportSink>(report, queue));
    logger->set_level(verbose ? spdlog::level::debug : spdlog::level::warn);
    spdlog::set_default_logger(std::move(logger));
}

void explainTermination(EventQueue& queue) {
    terminationQueue = &queue;
    mainThread = std::this_thread::get_id();
    std::set_terminate(reportTermination);
}
