#pragma once

#include "platform/log/Log.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tessik::flight {

/// What people should know, with the path of the first image that it concerns.
struct Warning {
    std::string path; ///< empty = no image in particular
    std::string text;
};

/// An input that is not used, or an image that is not corrected, and why.
struct Failure {
    std::string path;
    std::string reason; ///< does not repeat the path
};

/// The people behind the work on a flight: they hear what happens, and say whether to continue.
/// Its functions are called from several threads at once. By default nobody listens.
class Observer {
public:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    virtual ~Observer() = default;

    /// The result may not be what was wanted. The same text comes again for other images.
    virtual void warning(const Warning& /*warning*/) {}
    virtual void failure(const Failure& /*failure*/) {}
    /// A line of the informational log. @param path may be empty
    virtual void note(const std::string& /*path*/, const std::string& /*text*/) {}

    /// A long piece of work begins. @param steps that it takes
    virtual void begin(std::size_t /*steps*/) {}
    /// One more step is done.
    virtual void advance() {}
    /// The work is over, finished or not.
    virtual void end() {}
    /// True = stop after the images in work.
    [[nodiscard]] virtual bool shallStop() { return false; }
};

/// The warnings of one value: each text once, with the path of the first image that it concerns.
/// The observer hears each when it is added. For one thread.
class Warnings {
public:
    /// @param observer must outlive this
    explicit Warnings(Observer& observer) : m_observer(observer) {}

    void add(const std::string& path, const std::string& text);
    /// Adds warnings that the observer has heard already.
    void join(const std::vector<Warning>& warnings);

    [[nodiscard]] const std::vector<Warning>& list() const { return m_list; }

private:
    bool isNew(const std::string& text) const;

    Observer& m_observer;
    std::vector<Warning> m_list;
};

/// While it lives, an observer hears what the library logs in this thread.
class Listening {
public:
    /// @param path of the image that it concerns; empty = no image in particular
    Listening(Observer& observer, std::string path);
    /// As above; warnings are added to a list, which must outlive this.
    Listening(Observer& observer, Warnings& warnings, std::string path = {});

private:
    logging::ThreadSink m_sink;
};

} // namespace tessik::flight
