#include "flight/Observer.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tessik::flight {
namespace {

/// A sink that hands warnings to a function of their text.
template <typename Warn>
logging::Sink sinkTo(Observer& observer, std::string path, Warn warn) {
    return [&observer, path = std::move(path), warn](const logging::Record& record) {
        if (record.level >= logging::kError) {
            observer.failure({path, record.text});
        } else if (record.level >= logging::kWarning) {
            warn(path, record.text);
        } else {
            observer.note(path, record.text);
        }
    };
}

} // namespace

void Warnings::add(const std::string& path, const std::string& text) {
    if (isNew(text)) {
        m_list.push_back({path, text});
        m_observer.warning(m_list.back());
    }
}

void Warnings::join(const std::vector<Warning>& warnings) {
    std::copy_if(warnings.begin(),
                 warnings.end(),
                 std::back_inserter(m_list),
                 [this](const Warning& one) { return isNew(one.text); });
}

bool Warnings::isNew(const std::string& text) const {
    return std::none_of(
        m_list.begin(), m_list.end(), [&text](const Warning& said) { return said.text == text; });
}

Listening::Listening(Observer& observer, std::string path)
    : m_sink(sinkTo(observer,
                    std::move(path),
                    [&observer](const std::string& image, const std::string& text) {
                        observer.warning({image, text});
                    })) {}

Listening::Listening(Observer& observer, Warnings& warnings, std::string path)
    : m_sink(sinkTo(observer,
                    std::move(path),
                    [&warnings](const std::string& image, const std::string& text) {
                        warnings.add(image, text);
                    })) {}

} // namespace tessik::flight
