/// @file
/// What targets share: they take the bytes as text, or as a file. A target ends normally for any
/// input. An exception of a type that its reader does not promise, or a broken promise, ends the
/// program.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessik::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Cuts off the first line, without its end.
inline std::string takeLine(std::string_view& text) {
    const auto end = text.find('\n');
    std::string line(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

/// Ends the program when a promise is broken.
inline void require(bool condition, const char* promise) {
    if (!condition) {
        std::fprintf(stderr, "broken promise: %s\n", promise);
        std::abort();
    }
}

/// One file of this process, for readers that need a path. It is in memory if the system has such a
/// folder.
class File {
public:
    explicit File(const std::string& extension) {
        const std::filesystem::path memory = "/dev/shm";
        const auto folder =
            std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        m_path = (folder / ("fuzz_" + std::to_string(getpid()) + extension)).string();
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    const std::string& write(const std::uint8_t* data, std::size_t size) const {
        std::ofstream stream(m_path, std::ios::binary | std::ios::trunc);
        stream.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        if (!stream.flush()) {
            throw std::runtime_error(m_path + ": cannot be written");
        }
        return m_path;
    }
    [[nodiscard]] std::string read() const {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    [[nodiscard]] const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace tessik::fuzz
