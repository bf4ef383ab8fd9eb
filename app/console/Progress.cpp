#include "app/console/Progress.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

namespace tessik::app {
namespace {

/// A number every tenth, three dots between.
constexpr int kMarks = 40;

volatile std::sig_atomic_t asked = 0;

extern "C" void ask(int /*signal*/) {
    asked = 1;
}

constexpr std::array<int, 2> kSignals = {SIGINT, SIGTERM};

} // namespace

Progress::Progress(std::size_t count) : m_count(count), m_isShown(isatty(STDERR_FILENO) != 0) {
    if (m_isShown && m_count > 0) {
        drawTo(0);
    }
}

Progress::~Progress() {
    if (m_isShown && m_count > 0) {
        std::fputs(m_done == m_count ? " - done.\n" : "\n", stderr);
    }
}

void Progress::advance() {
    const std::lock_guard lock(m_mutex);
    ++m_done;
    if (m_isShown) {
        drawTo(static_cast<int>(m_done * kMarks / m_count));
    }
}

void Progress::drawTo(int mark) {
    for (; m_drawn < mark; ++m_drawn) {
        const int next = m_drawn + 1;
        if (next % 4 == 0) {
            std::fprintf(stderr, "%d", next * 100 / kMarks);
        } else {
            std::fputc('.', stderr);
        }
    }
    std::fflush(stderr);
}

Interruptible::Interruptible() {
    asked = 0;
    struct sigaction action = {};
    action.sa_handler = &ask;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : kSignals) {
        sigaction(signal, &action, nullptr);
    }
}

Interruptible::~Interruptible() {
    for (const int signal : kSignals) {
        std::signal(signal, SIG_DFL);
    }
}

bool Interruptible::isStopAsked() {
    return asked != 0;
}

} // namespace tessik::app
