#include "app/console/Terminal.h"

#include "platform/log/Log.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tessik::app {
namespace {

/// "path: ", or nothing.
std::string prefix(const std::string& path) {
    return path.empty() ? path : path + ": ";
}

} // namespace

Terminal::Terminal(Verbosity verbosity) : m_verbosity(verbosity) {
    logging::setLevel(verbosity == Verbosity::Verbose ? logging::kInfo : logging::kWarning);
    logging::setSink([this](const logging::Record& record) {
        if (record.level >= logging::kError) {
            failure({{}, record.text});
        } else if (record.level >= logging::kWarning) {
            warning({{}, record.text});
        } else {
            note({}, record.text);
        }
    });
}

Terminal::~Terminal() {
    logging::setSink({});
}

/// One line, whatever the text holds.
void Terminal::line(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    text = text::printable(text) + '\n';
    const std::lock_guard lock(m_mutex);
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void Terminal::failure(const flight::Failure& failure) {
    line("radiometry: " + prefix(failure.path) + failure.reason);
}

void Terminal::warning(const flight::Warning& warning) {
    {
        const std::lock_guard lock(m_mutex);
        if (isQuiet() || !m_warnings.insert(warning.text).second) {
            return;
        }
    }
    line("radiometry: warning: " + prefix(warning.path) + warning.text +
         " (said once for all images)");
}

void Terminal::note(const std::string& path, const std::string& text) {
    if (m_verbosity == Verbosity::Verbose) {
        line(prefix(path) + text);
    }
}

void Terminal::begin(std::size_t steps) {
    m_interruptible.emplace();
    m_progress.emplace(steps);
}

void Terminal::advance() {
    m_progress->advance();
}

void Terminal::end() {
    m_progress.reset();
    m_interruptible.reset();
}

std::size_t Terminal::failures(const std::vector<flight::Failure>& failures) {
    for (const flight::Failure& one : failures) {
        failure(one);
    }
    return failures.size();
}

void showJson(const flight::Json& document) {
    const std::string text = flight::textOf(document, 2);
    std::string result;
    // C0 is escaped by then. C1, U+0080 to U+009F, is C2 and a byte in UTF-8.
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        if (byte == 0x7F) {
            result += "\\u007f";
        } else if (byte == 0xC2 && next < 0xA0) {
            constexpr std::array<char, 17> kDigits = {"0123456789abcdef"};
            result += "\\u00";
            result += kDigits[next / 16];
            result += kDigits[next % 16];
            ++i;
        } else {
            result += text[i];
        }
    }
    std::puts(result.c_str());
}

} // namespace tessik::app
