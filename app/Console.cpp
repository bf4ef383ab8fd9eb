#include "Console.h"

#include "platform/log/Log.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <unordered_set>

namespace tessik::app {
namespace {

std::atomic<Verbosity> shown{Verbosity::Normal};
std::mutex mutex;
std::vector<Warning> saidWarnings;
thread_local const std::string* currentImage = nullptr;

/// One line, whatever the text holds.
void sayLine(std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    line = text::printable(line) + '\n';
    const std::lock_guard lock(mutex);
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void sayRecord(const logging::Record& record) {
    const std::string image = currentImage != nullptr ? *currentImage : std::string();
    if (record.level >= logging::kError) {
        sayFailure(image, record.text);
    } else if (record.level >= logging::kWarning) {
        sayWarning(image, record.text);
    } else if (shown == Verbosity::Verbose) {
        sayLine((image.empty() ? "" : image + ": ") + record.text);
    }
}

} // namespace

void sayFailure(const std::string& path, const std::string& reason) {
    sayLine("radiometry: " + (path.empty() ? "" : path + ": ") + reason);
}

void sayWarning(const std::string& path, const std::string& text) {
    static std::unordered_set<std::string> said;
    {
        const std::lock_guard lock(mutex);
        if (!said.insert(text).second) {
            return;
        }
        saidWarnings.push_back({path, text});
    }
    if (shown == Verbosity::Quiet) {
        return;
    }
    sayLine("radiometry: warning: " + (path.empty() ? "" : path + ": ") + text +
            " (said once for all images)");
}

std::vector<Warning> warningsSaid() {
    const std::lock_guard lock(mutex);
    return saidWarnings;
}

void setVerbosity(Verbosity verbosity) {
    shown = verbosity;
    logging::setSink(&sayRecord);
    logging::setLevel(verbosity == Verbosity::Verbose ? logging::kInfo : logging::kWarning);
}

ImageContext::ImageContext(const std::string& path) {
    currentImage = &path;
}
ImageContext::~ImageContext() {
    currentImage = nullptr;
}

} // namespace tessik::app
