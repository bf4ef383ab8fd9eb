// Layout: TIFF 6.0 (Adobe, 1992), section 2.
#include "platform/image/TiffBlocks.h"

#include "platform/image/Error.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace tessik::image {
namespace {

constexpr std::uint32_t kStripOffsets = 273;
constexpr std::uint32_t kStripByteCounts = 279;
constexpr std::uint32_t kTileOffsets = 324;
constexpr std::uint32_t kClassicTiff = 42;
constexpr std::uint32_t kShort = 3;
constexpr std::uint32_t kLong = 4;

/// The first directory, with numbers in the file's own byte order.
class Directory {
public:
    explicit Directory(std::string& file)
        : m_file(file), m_isLittleEndian(!file.empty() && file.front() == 'I') {
        if (get(2, 2) != kClassicTiff) {
            throw Error("metadata can be written into a classic TIFF alone");
        }
    }

    /// Calls work(entry, tag) with the place of each entry.
    template <typename Work>
    void forEntries(const Work& work) {
        constexpr std::size_t kEntrySize = 12;
        const std::size_t start = get(4, 4);
        const std::size_t count = get(start, 2);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t entry = start + 2 + i * kEntrySize;
            work(entry, get(entry, 2));
        }
    }
    [[nodiscard]] std::uint32_t typeOf(std::size_t entry) const { return get(entry + 2, 2); }
    [[nodiscard]] std::uint32_t countOf(std::size_t entry) const { return get(entry + 4, 4); }

    /// Makes the value of an entry so many zeros of its type.
    void clear(std::size_t entry) {
        const std::size_t size = (typeOf(entry) == kShort ? 2U : 4U) * std::size_t{countOf(entry)};
        set(entry + 8, 4, size <= 4 ? 0 : appendZeros(size));
    }
    /// Makes the entry a list of zeros of 32 bits. @return the place of the first one
    std::size_t makeLongs(std::size_t entry) {
        const std::size_t count = countOf(entry);
        set(entry + 2, 2, kLong);
        if (count == 1) {
            return entry + 8;
        }
        const std::uint32_t at = appendZeros(4 * count);
        set(entry + 8, 4, at);
        return at;
    }
    void set(std::size_t at, std::size_t size, std::uint32_t value) {
        check(at, size);
        for (std::size_t i = 0; i < size; ++i) {
            m_file[at + (m_isLittleEndian ? i : size - 1 - i)] =
                static_cast<char>(value >> (8 * i));
        }
    }

private:
    [[nodiscard]] std::uint32_t get(std::size_t at, std::size_t size) const {
        check(at, size);
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t byte = m_isLittleEndian ? size - 1 - i : i;
            value = (value << 8U) | static_cast<unsigned char>(m_file[at + byte]);
        }
        return value;
    }
    /// @return where the zeros begin
    std::uint32_t appendZeros(std::size_t count) {
        m_file.resize((m_file.size() + 3) / 4 * 4);
        const auto at = static_cast<std::uint32_t>(m_file.size());
        m_file.resize(m_file.size() + count);
        return at;
    }
    void check(std::size_t at, std::size_t size) const {
        if (at > m_file.size() || size > m_file.size() - at) {
            throw Error("the TIFF directory is damaged");
        }
    }

    std::string& m_file;
    bool m_isLittleEndian;
};

} // namespace

void clearBlockOffsets(std::string& file) {
    Directory directory(file);
    directory.forEntries([&directory](std::size_t entry, std::uint32_t tag) {
        if (tag == kStripOffsets || tag == kTileOffsets) {
            directory.clear(entry);
        }
    });
}

void placeStrips(std::string& file, std::uint64_t stripBytes, std::uint64_t pixelBytes) {
    const std::uint64_t count = (pixelBytes + stripBytes - 1) / stripBytes;
    Directory directory(file);
    std::size_t offsets = 0;
    std::size_t byteCounts = 0;
    directory.forEntries([&](std::size_t entry, std::uint32_t tag) {
        if ((tag == kStripOffsets || tag == kStripByteCounts) &&
            directory.countOf(entry) == count) {
            (tag == kStripOffsets ? offsets : byteCounts) = directory.makeLongs(entry);
        }
    });
    if (offsets == 0 || byteCounts == 0) {
        throw Error("the TIFF directory has no place for the strips");
    }
    file.resize((file.size() + 3) / 4 * 4);
    if (file.size() + pixelBytes > std::numeric_limits<std::uint32_t>::max()) {
        throw Error("too large for a classic TIFF");
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t start = i * stripBytes;
        directory.set(offsets + 4 * i, 4, static_cast<std::uint32_t>(file.size() + start));
        directory.set(byteCounts + 4 * i,
                      4,
                      static_cast<std::uint32_t>(std::min(stripBytes, pixelBytes - start)));
    }
}

} // namespace tessik::image
