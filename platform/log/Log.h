#pragma once

/// @file
/// The log facility: one default source, numeric levels, a replaceable sink.

#include "platform/export.h"

#include <QtCore/QString>

#include <functional>
#include <sstream>
#include <string>

namespace tessik::logging {

constexpr int kInfo = 3;    ///< traces: what is applied, with its values
constexpr int kWarning = 6; ///< the result may not be what was wanted
constexpr int kError = 7;   ///< something was not done

/// Where a message was written: base name of the source file, and line.
struct FileLine {
    const char* file;
    int line;
};

/// One message.
struct Record {
    int level;
    FileLine where;
    std::string text;
};

/// Takes messages. Must not throw: messages are sent from destructors.
using Sink = std::function<void(const Record&)>;

/// True when the default source passes messages of this level on. Cheap; ask before computing what
/// only a message needs.
TESSIK_PLATFORM_EXPORT bool takes(int level);

/// Messages below this level are dropped. Default: kWarning. Thread safe.
TESSIK_PLATFORM_EXPORT void setLevel(int level);
/// The level of setLevel. Thread safe.
TESSIK_PLATFORM_EXPORT int level();

/// Replaces where messages go; an empty sink restores the default (stderr). The sink may be called
/// from several threads at once. Thread safe.
TESSIK_PLATFORM_EXPORT void setSink(Sink sink);

/// While it lives, messages of this thread go to its sink, in place of where they go otherwise. Of
/// several, the innermost takes them.
class TESSIK_PLATFORM_EXPORT ThreadSink {
public:
    explicit ThreadSink(Sink sink);
    ThreadSink(const ThreadSink&) = delete;
    ThreadSink& operator=(const ThreadSink&) = delete;
    ~ThreadSink();

private:
    Sink m_sink;
    const Sink* m_outer;
};

/// Hands one message to the sink, if its level is taken.
TESSIK_PLATFORM_EXPORT void write(const Record& record);

/// The text after the last path separator.
constexpr const char* baseName(const char* path) {
    const char* base = path;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c == '/' || *c == '\\') {
            base = c + 1;
        }
    }
    return base;
}

/// Collects one message and emits it when destroyed.
class Streamer {
public:
    Streamer(int level, FileLine where) : m_level(level), m_where(where) {}
    Streamer(const Streamer&) = delete;
    Streamer& operator=(const Streamer&) = delete;
    ~Streamer() { write({m_level, m_where, m_text.str()}); }

    template <typename T>
    Streamer& operator<<(const T& value) {
        m_text << value;
        return *this;
    }
    Streamer& operator<<(const QString& value) {
        m_text << value.toStdString();
        return *this;
    }

private:
    int m_level;
    FileLine m_where;
    std::ostringstream m_text;
};

/// Gives both branches of TESSIK_LOG's conditional the type void.
struct Voidify {
    void operator&(const Streamer& /*streamer*/) const {}
};

} // namespace tessik::logging

/// TESSIK_LOG(level) << a << b; evaluates its operands only when the level is taken.
// NOLINTBEGIN(bugprone-macro-parentheses): the expansion ends where the message begins
#define TESSIK_LOG(level)                                                                          \
    !::tessik::logging::takes(level)                                                               \
        ? (void)0                                                                                  \
        : ::tessik::logging::Voidify() &                                                           \
              ::tessik::logging::Streamer((level),                                                 \
                                          {::tessik::logging::baseName(__FILE__), __LINE__})
// NOLINTEND(bugprone-macro-parentheses)
