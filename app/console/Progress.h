#pragma once

#include <cstddef>
#include <mutex>

namespace tessik::app {

/// A bar on stderr as GDAL's tools draw it, "0...10...20...": only on a terminal. Thread safe.
class Progress {
public:
    /// @param count steps to come
    explicit Progress(std::size_t count);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /// Ends the line.
    ~Progress();

    /// One step more is done.
    void advance();

private:
    void drawTo(int mark);

    std::mutex m_mutex;
    std::size_t m_count;
    std::size_t m_done = 0;
    int m_drawn = -1; ///< marks drawn, of kMarks
    bool m_isShown;
};

/// While it lives, the first Ctrl-C (or a request to terminate) asks the run to stop after the
/// images in work; the second one ends the program at once.
class Interruptible {
public:
    Interruptible();
    Interruptible(const Interruptible&) = delete;
    Interruptible& operator=(const Interruptible&) = delete;
    ~Interruptible();

    static bool isStopAsked();
};

} // namespace tessik::app
