#pragma once

#include "platform/text/Printable.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// What the command says on stderr.
namespace tessik::app {

/// Exit status of the command.
enum ExitStatus : int {
    AllDone = 0,
    NothingDone = 1,   ///< usage, unreadable plan, output folder not writable
    SomeFailed = 2,    ///< the other images are done
    Interrupted = 130, ///< by Ctrl-C, as shells have it
};

/// Says "radiometry: path: reason". Thread safe; whole lines.
void sayFailure(const std::string& path, const std::string& reason);

/// Says "radiometry: warning: text", once for each text, however many images it concerns; the path
/// of the first one is named. Silent with -q. Thread safe.
void sayWarning(const std::string& path, const std::string& text);

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

/// What was warned of, with the path of the first image that it concerned.
struct Warning {
    std::string path; ///< empty = no image in particular
    std::string text;
};

/// All warnings of this run so far. Thread safe.
std::vector<Warning> warningsSaid();

/// How much is said: errors alone, warnings too, or the informational log as well.
enum class Verbosity { Quiet, Normal, Verbose };
void setVerbosity(Verbosity verbosity);

/// While it lives, what the library logs in this thread is said of this image.
class ImageContext {
public:
    /// @param path must outlive this
    explicit ImageContext(const std::string& path);
    ImageContext(const ImageContext&) = delete;
    ImageContext& operator=(const ImageContext&) = delete;
    ~ImageContext();
};

} // namespace tessik::app
