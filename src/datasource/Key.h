#pragma once

#include <Eigen/Core>

#include <cstdint>
#include <string>

namespace tessik::radiometry::datasource {

/// A text that is equal where all numbers are, bit for bit.
class Key {
public:
    template <typename... Numbers>
    Key& add(Numbers... numbers) {
        (append(&numbers, sizeof(numbers)), ...);
        return *this;
    }
    Key& add(const Eigen::MatrixXd& matrix) {
        add(matrix.rows(), matrix.cols());
        append(matrix.data(), static_cast<std::size_t>(matrix.size()) * sizeof(double));
        return *this;
    }
    /// A thing is the same while it lies in the same place.
    Key& addPlace(const void* thing) { return add(reinterpret_cast<std::uintptr_t>(thing)); }
    [[nodiscard]] const std::string& text() const { return m_text; }

private:
    void append(const void* data, std::size_t size) {
        m_text.append(static_cast<const char*>(data), size);
    }
    std::string m_text;
};

} // namespace tessik::radiometry::datasource
