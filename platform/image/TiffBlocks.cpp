#include "platform/image/TiffBlocks.h"

#include "platform/image/Raster.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

// Layout: TIFF 6.0 (Adobe, 1992), section 2.
namespace tessik::image {
namespace {

/// The bytes of a small file, and numbers in its own byte order.
class Bytes {
public:
    explicit Bytes(std::vector<char> data) : m_data(std::move(data)) {
        m_isLittleEndian = !m_data.empty() && m_data.front() == 'I';
    }

    [[nodiscard]] std::uint32_t get(std::size_t at, std::size_t size) const {
        check(at, size);
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t byte = m_isLittleEndian ? size - 1 - i : i;
            value = (value << 8U) | static_cast<unsigned char>(m_data[at + byte]);
        }
        return value;
    }
    void set(std::size_t at, std::uint32_t value) {
        check(at, 4);
        for (std::size_t i = 0; i < 4; ++i) {
            m_data[at + (m_isLittleEndian ? i : 3 - i)] = static_cast<char>(value >> (8 * i));
        }
    }
    /// @return where the zeros begin
    std::uint32_t appendZeros(std::size_t count) {
        m_data.resize((m_data.size() + 3) / 4 * 4);
        const auto at = static_cast<std::uint32_t>(m_data.size());
        m_data.resize(m_data.size() + count);
        return at;
    }
    [[nodiscard]] const std::vector<char>& data() const { return m_data; }

private:
    void check(std::size_t at, std::size_t size) const {
        if (at > m_data.size() || size > m_data.size() - at) {
            throw Error("the TIFF directory is damaged");
        }
    }
    std::vector<char> m_data;
    bool m_isLittleEndian = true;
};

} // namespace

void clearBlockOffsets(const std::string& path) {
    constexpr std::uint32_t kStripOffsets = 273;
    constexpr std::uint32_t kTileOffsets = 324;
    constexpr std::uint32_t kClassicTiff = 42;
    constexpr std::uint32_t kShort = 3;
    constexpr std::size_t kEntrySize = 12;
    std::ifstream in(path, std::ios::binary);
    Bytes bytes(std::vector<char>(std::istreambuf_iterator<char>(in), {}));
    in.close();
    if (bytes.get(2, 2) != kClassicTiff) {
        throw Error("metadata can be written into a classic TIFF alone");
    }
    const std::size_t directory = bytes.get(4, 4);
    const std::size_t count = bytes.get(directory, 2);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntrySize;
        const std::uint32_t tag = bytes.get(entry, 2);
        if (tag == kStripOffsets || tag == kTileOffsets) {
            const std::size_t size =
                std::size_t{bytes.get(entry + 2, 2) == kShort ? 2U : 4U} * bytes.get(entry + 4, 4);
            bytes.set(entry + 8, size <= 4 ? 0 : bytes.appendZeros(size));
        }
    }
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data().data(), static_cast<std::streamsize>(bytes.data().size()));
    out.close();
    if (!out) {
        throw Error("cannot be written");
    }
}

} // namespace tessik::image
