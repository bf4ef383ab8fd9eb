#include "platform/log/Log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace tessik::logging {
namespace {

spdlog::level::level_enum spdlogLevel(int level) {
    if (level >= kError) {
        return spdlog::level::err;
    }
    return level >= kWarning ? spdlog::level::warn : spdlog::level::info;
}

/// The one log source: its level, and the sink in use.
class Source {
public:
    Source() : m_logger("radiometry", std::make_shared<spdlog::sinks::stderr_sink_mt>()) {
        m_logger.set_level(spdlog::level::trace);
        m_logger.set_pattern("%n: %l: %v");
    }

    std::atomic<int> threshold{kWarning};

    void setSink(Sink sink) {
        const std::lock_guard lock(m_mutex);
        m_sink = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
    }

    void write(const Record& record) {
        std::shared_ptr<const Sink> sink;
        {
            const std::lock_guard lock(m_mutex);
            sink = m_sink;
        }
        if (sink) {
            (*sink)(record);
        } else {
            m_logger.log(spdlogLevel(record.level), record.text);
        }
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<const Sink> m_sink;
    spdlog::logger m_logger;
};

Source& source() {
    static Source instance;
    return instance;
}

thread_local const Sink* threadSink = nullptr;

} // namespace

ThreadSink::ThreadSink(Sink sink) : m_sink(std::move(sink)), m_outer(threadSink) {
    threadSink = &m_sink;
}

ThreadSink::~ThreadSink() {
    threadSink = m_outer;
}

bool takes(int level) {
    return level >= source().threshold.load(std::memory_order_relaxed);
}

void setLevel(int level) {
    source().threshold.store(level, std::memory_order_relaxed);
}

int level() {
    return source().threshold.load(std::memory_order_relaxed);
}

void setSink(Sink sink) {
    source().setSink(std::move(sink));
}

void write(const Record& record) {
    if (!takes(record.level)) {
        return;
    }
    if (threadSink != nullptr) {
        (*threadSink)(record);
    } else {
        source().write(record);
    }
}

} // namespace tessik::logging
