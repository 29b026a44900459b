#include "events/log_sink.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include <com/amazonaws/kinesis/video/webrtcclient/Include.h>

#include "events/log_text.h"

namespace zelrtc::camera {

namespace {

constexpr int kNoSession = 0;
constexpr size_t kKeptLines = 200;
constexpr size_t kLongestEventText = 2000;

std::atomic<UINT32> lowestLevel{LOG_LEVEL_INFO};
thread_local int sessionOfThread = kNoSession;

struct Subscribers {
    std::mutex mutex;
    std::map<int, std::shared_ptr<CallHistory>> events;
};

Subscribers& subscribers() {
    static Subscribers all;
    return all;
}

spdlog::level::level_enum spdlogLevel(UINT32 level) {
    constexpr std::array<spdlog::level::level_enum, 7> kLevels = {
        spdlog::level::trace, spdlog::level::trace, spdlog::level::debug,   spdlog::level::info,
        spdlog::level::warn,  spdlog::level::err,   spdlog::level::critical};
    return level < kLevels.size() ? kLevels.at(level) : spdlog::level::info;
}

std::string format(const char* form, va_list values) {
    va_list again;
    va_copy(again, values);
    const int size = std::vsnprintf(nullptr, 0, form, values);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, form, again);
    va_end(again);
    return text;
}

// A line from an SDK thread that names no session could belong to any call, so every call gets it.
void tellCalls(UINT32 level, const std::string& text) {
    using nlohmann::json;
    const std::string data = json{{"level", level}, {"text", text.substr(0, kLongestEventText)}}.dump(
        -1, ' ', false, json::error_handler_t::replace);
    const int session = sessionNamedIn(text).value_or(sessionOfThread);
    const std::lock_guard<std::mutex> lock(subscribers().mutex);
    for (const auto& [id, events] : subscribers().events) {
        if (session == kNoSession || session == id) {
            events->appendPassing("log", data, kKeptLines);
        }
    }
}

VOID printLine(UINT32 level, PCHAR tag, PCHAR form, ...) {
    if (level < lowestLevel) {
        return;
    }
    va_list values;
    va_start(values, form);
    const std::string text = oneLine(format(form, values));
    va_end(values);
    spdlog::log(spdlogLevel(level), "{}: {}", tag, text);
    tellCalls(level, text);
}

std::shared_ptr<spdlog::logger> makeLogger(const std::string& path) {
    if (path.empty()) {
        return spdlog::stderr_logger_mt("camera");
    }
    try {
        return spdlog::basic_logger_mt("camera", path);
    } catch (const spdlog::spdlog_ex& error) {
        throw std::runtime_error("the log file cannot be opened: " + std::string(error.what()));
    }
}

}  // namespace

void installLog(int level, const std::string& path) {
    spdlog::set_default_logger(makeLogger(path));
    spdlog::set_pattern("%Y-%m-%d %H:%M:%S.%e %l [%t] %v");
    lowestLevel = static_cast<UINT32>(level);
    spdlog::set_level(level >= LOG_LEVEL_SILENT ? spdlog::level::off : spdlogLevel(lowestLevel));
    spdlog::flush_on(spdlog::level::trace);
    globalCustomLogPrintFn = printLine;
}

LogSubscription::LogSubscription(int sessionId, std::shared_ptr<CallHistory> events) : sessionId_(sessionId) {
    const std::lock_guard<std::mutex> lock(subscribers().mutex);
    subscribers().events[sessionId] = std::move(events);
}

LogSubscription::~LogSubscription() {
    const std::lock_guard<std::mutex> lock(subscribers().mutex);
    subscribers().events.erase(sessionId_);
}

LogScope::LogScope(int sessionId) : outer_(std::exchange(sessionOfThread, sessionId)) {
}

LogScope::~LogScope() {
    sessionOfThread = outer_;
}

}  // namespace zelrtc::camera
