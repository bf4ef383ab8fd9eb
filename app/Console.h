#pragma once

#include <string>

/// What the command says on stderr.
namespace tessik::app {

/// Exit status of the command.
enum ExitStatus : int {
    AllDone = 0,
    NothingDone = 1, ///< usage, unreadable plan, output folder not writable
    SomeFailed = 2,  ///< the other images are done
};

/// Says "radiometry: path: reason". Thread safe; whole lines.
void sayFailure(const std::string& path, const std::string& reason);

/// Says "radiometry: warning: text", once for each text, however many images it concerns; the path
/// of the first one is named. Silent with -q. Thread safe.
void sayWarning(const std::string& path, const std::string& text);

/// How much is said: errors alone, warnings too, or the informational log as well.
enum class Verbosity { Quiet, Normal, Verbose };
void setVerbosity(Verbosity verbosity);

/// While it lives, what the library logs in this thread is said of this image.
class ImageContext {
public:
    explicit ImageContext(const std::string& path);
    ImageContext(const ImageContext&) = delete;
    ImageContext& operator=(const ImageContext&) = delete;
    ~ImageContext();
};

} // namespace tessik::app
