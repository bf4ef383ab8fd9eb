#include "platform/image/Raster.h"

#include "platform/image/TiffBlocks.h"
#include "platform/image/detail/Gdal.h"

#include <cpl_string.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <system_error>

namespace tessik::image {

using detail::DatasetPointer;
using detail::ErrorScope;
using detail::GdalScope;

namespace {

/// These are 4 GiB as floats: more than any aerial camera has, less than what would stop the
/// machine.
constexpr std::uint64_t kMaxSamples = std::uint64_t{1} << 30;
/// No TIFF or JPEG compression packs pixels denser (LZW: 1365 to 1; Deflate: 1032 to 1).
constexpr std::uint64_t kMaxCompression = 2000;

DataType fromGdal(GDALDataType type) {
    switch (type) {
    case GDT_Byte:
        return DataType::UInt8;
    case GDT_Int16:
        return DataType::Int16;
    case GDT_UInt16:
        return DataType::UInt16;
    case GDT_Int32:
        return DataType::Int32;
    case GDT_UInt32:
        return DataType::UInt32;
    case GDT_Float32:
        return DataType::Float32;
    case GDT_Float64:
        return DataType::Float64;
    default:
        return DataType::Unknown;
    }
}

std::string sizeText(std::uint64_t width, std::uint64_t height, std::uint64_t bands) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels in " +
           std::to_string(bands) + (bands == 1 ? " band" : " bands");
}

void checkDeclaredSize(const std::string& path,
                       std::uint64_t width,
                       std::uint64_t height,
                       std::uint64_t bands,
                       int bytesPerSample) {
    const std::uint64_t pixels = width * height; // both below 2^31
    if (pixels > kMaxSamples || bands > kMaxSamples / pixels) {
        throw Error("too large: " + sizeText(width, height, bands));
    }
    VSIStatBufL status;
    if (VSIStatL(path.c_str(), &status) != 0) {
        throw Error("cannot be read");
    }
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    if (pixels * bands * static_cast<std::uint64_t>(bytesPerSample) / kMaxCompression > fileSize) {
        throw Error("declares " + sizeText(width, height, bands) + " but has only " +
                    std::to_string(fileSize) + " bytes");
    }
}

void checkBands(const BandImage& bands) {
    if (bands.empty() || bands.front().size() == 0) {
        throw Error("nothing to write: no pixels");
    }
    const auto rows = bands.front().rows();
    const auto cols = bands.front().cols();
    constexpr auto kMax = std::numeric_limits<int>::max();
    if (rows > kMax || cols > kMax || bands.size() > 65535) {
        throw Error("too large to write");
    }
    for (const BandMatrix& band : bands) {
        if (band.rows() != rows || band.cols() != cols) {
            throw Error("bands differ in size");
        }
    }
}

/// Takes the user's options and, where they do not say, strips of a size that a disk likes;
/// bench/flight measures it.
CPLStringList creationOptions(const WriteOptions& options, std::size_t rowBytes) {
    constexpr std::size_t kStripBytes = std::size_t{1} << 18;
    CPLStringList list;
    for (const std::string& option : options.creationOptions) {
        list.AddString(option.c_str());
    }
    if (list.FetchNameValue("TILED") == nullptr && list.FetchNameValue("BLOCKYSIZE") == nullptr) {
        list.SetNameValue("BLOCKYSIZE",
                          std::to_string(std::max<std::size_t>(1, kStripBytes / rowBytes)).c_str());
    }
    if (options.describe) {
        list.SetNameValue("SPARSE_OK", "TRUE"); // no pixels before they are known
    }
    return list;
}

DatasetPointer createDataset(const std::string& path,
                             const BandImage& bands,
                             const WriteOptions& options,
                             GDALDataType type) {
    // Our own options are right; to check them takes as long as to write the header.
    const CPLConfigOptionSetter validation(
        "GDAL_VALIDATE_CREATION_OPTIONS", options.creationOptions.empty() ? "NO" : "YES", false);
    const auto cols = static_cast<int>(bands.front().cols());
    const auto rowBytes = static_cast<std::size_t>(cols) *
                          static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)) * bands.size();
    DatasetPointer dataset(GDALCreate(GDALGetDriverByName("GTiff"),
                                      path.c_str(),
                                      cols,
                                      static_cast<int>(bands.front().rows()),
                                      static_cast<int>(bands.size()),
                                      type,
                                      creationOptions(options, rowBytes).List()));
    for (std::size_t b = 0; b < bands.size() && dataset; ++b) {
        GDALRasterBandH band = GDALGetRasterBand(dataset.get(), static_cast<int>(b) + 1);
        if (options.noData) {
            GDALSetRasterNoDataValue(band, *options.noData);
        }
        if (b < options.bandNames.size()) {
            GDALSetDescription(band, options.bandNames[b].c_str());
        }
        if (!options.unit.empty()) {
            GDALSetRasterUnitType(band, options.unit.c_str());
        }
        if (b < options.bandItems.size()) {
            for (const auto& [key, value] : options.bandItems[b]) {
                GDALSetMetadataItem(band, key.c_str(), value.c_str(), nullptr);
            }
        }
    }
    return dataset;
}

/// What is transferred at a time. Where a block holds all bands, all are taken from it while it
/// lies in the block cache, which then needs to hold no whole image.
struct Step {
    int cols;
    int rows;
};

Step stepOf(GDALDatasetH dataset, int cols, int rows) {
    if (GDALGetRasterCount(dataset) == 1) {
        return {cols, rows};
    }
    constexpr int kMinRows = 64;
    Step block{};
    GDALGetBlockSize(GDALGetRasterBand(dataset, 1), &block.cols, &block.rows);
    return {block.cols, block.rows * std::max(1, kMinRows / block.rows)};
}

/// Transfers all bands, from or to the window of a dataset that starts at (column, row).
/// @param pixelsOf the first pixel of a band
/// @return false where GDAL refused; the error scope knows why
template <typename PixelsOf>
bool transfer(GDALDatasetH dataset,
              GDALRWFlag direction,
              int column,
              int row,
              const BandImage& bands,
              const PixelsOf& pixelsOf) {
    const auto cols = static_cast<int>(bands.front().cols());
    const auto rows = static_cast<int>(bands.front().rows());
    const Step step = stepOf(dataset, cols, rows);
    // Each part ends where one of the file does, so that no block is taken twice.
    const auto nextOf = [](int done, int count, int start, int size) {
        return done + std::min(count - done, size - (start + done) % size);
    };
    int nextRow = 0;
    for (int r = 0; r < rows; r = nextRow) {
        nextRow = nextOf(r, rows, row, step.rows);
        int nextCol = 0;
        for (int c = 0; c < cols; c = nextCol) {
            nextCol = nextOf(c, cols, column, step.cols);
            for (std::size_t b = 0; b < bands.size(); ++b) {
                if (GDALRasterIOEx(GDALGetRasterBand(dataset, static_cast<int>(b) + 1),
                                   direction,
                                   column + c,
                                   row + r,
                                   nextCol - c,
                                   nextRow - r,
                                   pixelsOf(b) + static_cast<std::ptrdiff_t>(r) * cols + c,
                                   nextCol - c,
                                   nextRow - r,
                                   GDT_Float32,
                                   0,
                                   static_cast<GSpacing>(sizeof(float)) * cols,
                                   nullptr) != CE_None) {
                    return false;
                }
            }
        }
    }
    return true;
}

/// @param errors of this file since it was created or opened
void writeAndClose(DatasetPointer dataset,
                   const BandImage& bands,
                   const std::string& path,
                   const ErrorScope& errors) {
    if (dataset && !errors.failed()) {
        transfer(dataset.get(), GF_Write, 0, 0, bands, [&](std::size_t b) {
            // GDAL's write interface takes a mutable buffer that it only reads.
            return const_cast<float*>(bands[b].data());
        });
    }
    dataset.reset(); // a full disk may show only when the last blocks are flushed
    if (errors.failed()) {
        throw Error(errors.reason(path, "cannot be written"));
    }
}

/// A file in this process's memory, which is removed together with this object.
class MemoryFile {
public:
    MemoryFile() {
        static std::atomic<std::uint64_t> count{0};
        m_path = "/vsimem/tessik_radiometry/" + std::to_string(count++) + ".tif";
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { VSIUnlink(m_path.c_str()); }

    [[nodiscard]] const std::string& path() const { return m_path; }
    [[nodiscard]] std::string bytes() const {
        vsi_l_offset size = 0;
        const GByte* data = VSIGetMemFileBuffer(m_path.c_str(), &size, FALSE);
        return data == nullptr ? std::string()
                               : std::string(reinterpret_cast<const char*>(data),
                                             static_cast<std::size_t>(size));
    }

private:
    std::string m_path;
};

/// Writes parts one after the other, each as it lies in memory.
void writeFile(const std::string& path, std::initializer_list<std::string_view> parts) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    bool isWritten = file != nullptr && std::setvbuf(file, nullptr, _IONBF, 0) == 0;
    for (const std::string_view part : parts) {
        isWritten = isWritten && std::fwrite(part.data(), 1, part.size(), file) == part.size();
    }
    int reason = errno;
    if (file != nullptr && std::fclose(file) != 0 && isWritten) {
        reason = errno;
        isWritten = false;
    }
    if (!isWritten) {
        throw Error("cannot be written (" + std::generic_category().message(reason) + ")");
    }
}

/// The file without its pixels, as GDAL makes it and the caller describes it.
struct Head {
    std::string bytes;
    int stripRows = 0;
};

Head describedHead(const BandImage& bands, const WriteOptions& options, GDALDataType type) {
    const ErrorScope errors;
    const MemoryFile file;
    DatasetPointer dataset = createDataset(file.path(), bands, options, type);
    Head head;
    if (dataset) {
        int cols = 0;
        GDALGetBlockSize(GDALGetRasterBand(dataset.get(), 1), &cols, &head.stripRows);
        dataset.reset();
    }
    if (errors.failed() || head.stripRows == 0) {
        throw Error(errors.reason(file.path(), "cannot be created"));
    }
    head.bytes = options.describe(file.bytes());
    return head;
}

/// Writes the pixels by one call and without a copy where the file holds them as they lie in
/// memory; bench/flight measures it, against the floor that FlightFloor.cpp sets.
void writeDescribed(const std::string& path,
                    const BandImage& bands,
                    const WriteOptions& options,
                    GDALDataType type) {
    Head head = describedHead(bands, options, type);
    const BandMatrix& band = bands.front();
    if (bands.size() == 1 && type == GDT_Float32 && options.creationOptions.empty()) {
        const std::string_view pixels(reinterpret_cast<const char*>(band.data()),
                                      static_cast<std::size_t>(band.size()) * sizeof(float));
        const auto strip = static_cast<std::uint64_t>(head.stripRows * band.cols()) * sizeof(float);
        placeStrips(head.bytes, strip, pixels.size());
        writeFile(path, {head.bytes, pixels});
        return;
    }
    clearBlockOffsets(head.bytes);
    writeFile(path, {head.bytes});
    const ErrorScope errors;
    constexpr std::array<const char*, 2> kDrivers = {"GTiff", nullptr};
    DatasetPointer dataset(GDALOpenEx(
        path.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE, kDrivers.data(), nullptr, nullptr));
    writeAndClose(std::move(dataset), bands, path, errors);
}

void writePlain(const std::string& path,
                const BandImage& bands,
                const WriteOptions& options,
                GDALDataType type) {
    const ErrorScope errors;
    DatasetPointer dataset = createDataset(path, bands, options, type);
    if (!dataset) {
        throw Error(errors.reason(path, "cannot be created"));
    }
    writeAndClose(std::move(dataset), bands, path, errors);
}

void writeRaster(const std::string& path,
                 const BandImage& bands,
                 const WriteOptions& options,
                 GDALDataType type) {
    checkBands(bands);
    const GdalScope gdal;
    try {
        (options.describe ? writeDescribed : writePlain)(path, bands, options, type);
    } catch (...) {
        VSIUnlink(path.c_str());
        throw;
    }
}

} // namespace

struct Raster::Data {
    std::string path;
    DatasetPointer dataset;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::size_t bands = 0;
    DataType type = DataType::Unknown;
};

Raster::Raster(std::unique_ptr<Data> data) : m_data(std::move(data)) {}
Raster::Raster(Raster&&) noexcept = default;
Raster& Raster::operator=(Raster&&) noexcept = default;
Raster::~Raster() = default;

Raster Raster::open(const std::string& path) {
    const GdalScope gdal;
    const ErrorScope errors;
    const std::array<const char*, 3> drivers = {"GTiff", "JPEG", nullptr};
    auto data = std::make_unique<Data>();
    data->path = path;
    VSIStatBufL status;
    if (VSIStatL(path.c_str(), &status) != 0) {
        throw Error("no such file");
    }
    if (status.st_size == 0) {
        throw Error("the file is empty");
    }
    data->dataset.reset(GDALOpenEx(
        path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY, drivers.data(), nullptr, nullptr));
    if (!data->dataset) {
        throw Error(errors.reason(path, "not a readable TIFF or JPEG image"));
    }
    data->width = static_cast<std::uint64_t>(GDALGetRasterXSize(data->dataset.get()));
    data->height = static_cast<std::uint64_t>(GDALGetRasterYSize(data->dataset.get()));
    data->bands = static_cast<std::size_t>(GDALGetRasterCount(data->dataset.get()));
    if (data->width == 0 || data->height == 0 || data->bands == 0) {
        throw Error("holds no pixels: " + sizeText(data->width, data->height, data->bands));
    }
    const GDALDataType type = GDALGetRasterDataType(GDALGetRasterBand(data->dataset.get(), 1));
    data->type = fromGdal(type);
    if (data->type == DataType::Unknown) {
        throw Error(std::string("holds samples of an unsupported type: ") +
                    GDALGetDataTypeName(type));
    }
    checkDeclaredSize(path, data->width, data->height, data->bands, GDALGetDataTypeSizeBytes(type));
    return Raster(std::move(data));
}

std::uint64_t Raster::width() const {
    return m_data->width;
}
std::uint64_t Raster::height() const {
    return m_data->height;
}
std::size_t Raster::bandCount() const {
    return m_data->bands;
}
DataType Raster::type() const {
    return m_data->type;
}

BandImage Raster::read() const {
    BandImage bands;
    readInto(bands);
    return bands;
}

void Raster::readInto(BandImage& bands) const {
    readBlockInto(0, 0, m_data->width, m_data->height, bands);
}

BandImage Raster::readBlock(std::uint64_t column,
                            std::uint64_t row,
                            std::uint64_t blockWidth,
                            std::uint64_t blockHeight) const {
    BandImage bands;
    readBlockInto(column, row, blockWidth, blockHeight, bands);
    return bands;
}

void Raster::readBlockInto(std::uint64_t column,
                           std::uint64_t row,
                           std::uint64_t blockWidth,
                           std::uint64_t blockHeight,
                           BandImage& bands) const {
    if (blockWidth == 0 || blockHeight == 0) {
        throw Error("empty block");
    }
    if (blockWidth > m_data->width || column > m_data->width - blockWidth ||
        blockHeight > m_data->height || row > m_data->height - blockHeight) {
        throw Error("the block lies outside the image");
    }
    const GdalScope gdal;
    const ErrorScope errors;
    const auto width = static_cast<int>(blockWidth);
    const auto height = static_cast<int>(blockHeight);
    bands.resize(m_data->bands);
    for (BandMatrix& band : bands) {
        band.resize(height, width);
    }
    const bool isRead = transfer(m_data->dataset.get(),
                                 GF_Read,
                                 static_cast<int>(column),
                                 static_cast<int>(row),
                                 bands,
                                 [&](std::size_t b) { return bands[b].data(); });
    if (!isRead || errors.failed()) {
        throw Error(errors.reason(m_data->path, "the pixels cannot be read"));
    }
}

BandImage Raster::readReduced(std::uint64_t maxWidth) const {
    if (maxWidth == 0) {
        throw Error("empty block");
    }
    if (m_data->width <= maxWidth) {
        return read();
    }
    const GdalScope gdal;
    const ErrorScope errors;
    const auto width = static_cast<int>(maxWidth);
    const auto height = static_cast<int>(std::max<std::uint64_t>(
        1, (m_data->height * maxWidth + m_data->width / 2) / m_data->width));
    GDALRasterIOExtraArg averaged;
    INIT_RASTERIO_EXTRA_ARG(averaged);
    averaged.eResampleAlg = GRIORA_Average;
    BandImage bands(m_data->bands);
    for (std::size_t b = 0; b < bands.size(); ++b) {
        bands[b].resize(height, width);
        const CPLErr result =
            GDALRasterIOEx(GDALGetRasterBand(m_data->dataset.get(), static_cast<int>(b) + 1),
                           GF_Read,
                           0,
                           0,
                           static_cast<int>(m_data->width),
                           static_cast<int>(m_data->height),
                           bands[b].data(),
                           width,
                           height,
                           GDT_Float32,
                           0,
                           0,
                           &averaged);
        if (result != CE_None || errors.failed()) {
            throw Error(errors.reason(m_data->path, "the pixels cannot be read"));
        }
    }
    return bands;
}

void writeFloatRaster(const std::string& path,
                      const BandImage& bands,
                      const WriteOptions& options) {
    writeRaster(path, bands, options, GDT_Float32);
}

void writeUInt16Raster(const std::string& path,
                       const BandImage& bands,
                       const WriteOptions& options) {
    writeRaster(path, bands, options, GDT_UInt16);
}

} // namespace tessik::image
