#pragma once

/// @file
/// The command's words: results on stdout, and all else on stderr.

#include "app/console/Progress.h"
#include "flight/Observer.h"
#include "flight/json/Json.h"
#include "platform/text/Printable.h"

#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>

namespace tessik::app {

/// Exit status of the command.
enum ExitStatus : int {
    AllDone = 0,
    NothingDone = 1,   ///< usage, unreadable plan, output folder not writable
    SomeFailed = 2,    ///< the other images are done
    Interrupted = 130, ///< by Ctrl-C, as shells have it
};

/// How much is said: errors only, warnings too, or the informational log as well.
enum class Verbosity { Quiet, Normal, Verbose };

/// Tells the user what happens. Whole lines; thread safe.
class Terminal final : public flight::Observer {
public:
    /// Takes what the library logs, for the rest of the program.
    explicit Terminal(Verbosity verbosity);
    ~Terminal() override;

    /// Says "radiometry: path: reason".
    void failure(const flight::Failure& failure) override;
    /// Says "radiometry: warning: path: text", once for each text.
    void warning(const flight::Warning& warning) override;
    void note(const std::string& path, const std::string& text) override;
    void begin(std::size_t steps) override;
    void advance() override;
    void end() override;
    [[nodiscard]] bool shallStop() override { return Interruptible::isStopAsked(); }

    /// Says all of them. @return how many there are
    std::size_t failures(const std::vector<flight::Failure>& failures);
    [[nodiscard]] bool isQuiet() const { return m_verbosity == Verbosity::Quiet; }

private:
    void line(std::string text);

    const Verbosity m_verbosity;
    std::mutex m_mutex;
    std::unordered_set<std::string> m_warnings; ///< said already
    std::optional<Interruptible> m_interruptible;
    std::optional<Progress> m_progress;
};

namespace detail {

/// A text as it may be shown; anything else as it is.
template <typename T>
auto shown(const T& argument) {
    if constexpr (std::is_convertible_v<const T&, std::string_view>) {
        return text::printable(argument);
    } else {
        return argument;
    }
}
inline const char* printed(const std::string& text) {
    return text.c_str();
}
template <typename T>
T printed(T number) {
    return number;
}
template <typename... Shown>
void printShown(const char* format, const Shown&... arguments) {
    std::printf(format, printed(arguments)...);
}

} // namespace detail

/// As std::printf, for "%s" of a std::string too. Texts come from files: control characters in them
/// do not reach a terminal.
template <typename... Args>
void show(const char* format, const Args&... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        std::fputs(format, stdout);
    } else {
        detail::printShown(format, detail::shown(arguments)...);
    }
}

/// Shows a document, without the control characters of its texts.
void showJson(const flight::Json& document);

} // namespace tessik::app
