#pragma once

/// @file
/// Raster files: TIFF and JPEG in, TIFF out. Paths are UTF-8.

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/DataType.h"
#include "platform/image/Error.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tessik::image {

/// A raster file open for reading. Movable; not to be used by two threads at once.
class TESSIK_PLATFORM_EXPORT Raster {
public:
    /// @throws Error when the file is missing, is not a TIFF or JPEG file, has no band, or declares
    /// more pixels than its bytes can hold or than can be processed.
    static Raster open(const std::string& path);

    Raster(Raster&&) noexcept;
    Raster& operator=(Raster&&) noexcept;
    ~Raster();

    [[nodiscard]] std::uint64_t width() const;
    [[nodiscard]] std::uint64_t height() const;
    [[nodiscard]] std::size_t bandCount() const;
    [[nodiscard]] DataType type() const;

    /// All bands, converted to float. @throws Error when the pixels cannot be read in full.
    [[nodiscard]] BandImage read() const;

    /// The same into bands whose memory is used again, where they are of this size already.
    void readInto(BandImage& bands) const;

    /// The block whose first pixel is (column, row), of blockWidth x blockHeight pixels, of all
    /// bands.
    /// @throws Error when it is empty, lies outside the raster or cannot be read in full.
    [[nodiscard]] BandImage readBlock(std::uint64_t column,
                                      std::uint64_t row,
                                      std::uint64_t blockWidth,
                                      std::uint64_t blockHeight) const;

    /// All bands, reduced to at most maxWidth columns by averaging over areas, the shape kept.
    /// Pixels that the file states as no-data do not take part; where all are, so is the result.
    /// @throws Error when maxWidth is 0 or the pixels cannot be read in full.
    [[nodiscard]] BandImage readReduced(std::uint64_t maxWidth) const;

private:
    struct Data;
    void readBlockInto(std::uint64_t column,
                       std::uint64_t row,
                       std::uint64_t blockWidth,
                       std::uint64_t blockHeight,
                       BandImage& bands) const;
    explicit Raster(std::unique_ptr<Data> data);
    std::unique_ptr<Data> m_data;
};

/// What goes into a written raster besides the pixels.
struct WriteOptions {
    std::optional<double> noData; ///< value of pixels without one; absent = not stated
    /// Name of each band; empty, or one a band.
    std::vector<std::string> bandNames;
    /// Metadata items (key, value) of each band; empty, or one list a band.
    std::vector<std::vector<std::pair<std::string, std::string>>> bandItems;
    /// Unit of the values of all bands; empty = not stated.
    std::string unit;
    /// GeoTIFF creation options, each "NAME=VALUE".
    std::vector<std::string> creationOptions;
    /// Given the bytes of the file when it has its directory and no pixels yet, returns them with
    /// metadata added; empty = nothing to add. What it throws ends the writing.
    std::function<std::string(const std::string& file)> describe;
};

/// Writes the bands as a float32 TIFF. On failure the file is removed.
/// @throws Error when there is no band, bands differ in size, or the file cannot be written in
/// full.
TESSIK_PLATFORM_EXPORT void
writeFloatRaster(const std::string& path, const BandImage& bands, const WriteOptions& options = {});

/// As above, samples stored as 16-bit unsigned integers, rounded and clamped to 0..65535.
TESSIK_PLATFORM_EXPORT void writeUInt16Raster(const std::string& path,
                                              const BandImage& bands,
                                              const WriteOptions& options = {});

} // namespace tessik::image
