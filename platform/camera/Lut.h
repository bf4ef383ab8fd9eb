#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace tessik {

/// A table of Values for Index 0 .. size - 1.
template <typename Index, typename Value>
class LUT {
public:
    LUT() = default;
    explicit LUT(std::vector<Value> values) : m_values(std::move(values)) {}

    /// @param index below size(); not checked
    [[nodiscard]] Value operator[](Index index) const {
        return m_values[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] std::size_t size() const { return m_values.size(); }

private:
    std::vector<Value> m_values;
};

} // namespace tessik
