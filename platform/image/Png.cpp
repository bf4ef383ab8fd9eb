#include "platform/image/Png.h"

#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"
#include "platform/image/detail/Gdal.h"

namespace tessik::image {
namespace {

using detail::DatasetPointer;

constexpr int kChannels = 3;

/// The PNG driver only copies: the pixels first go into a dataset in memory.
DatasetPointer inMemory(const Picture& picture) {
    DatasetPointer dataset(GDALCreate(GDALGetDriverByName("MEM"),
                                      "",
                                      picture.width,
                                      picture.height,
                                      kChannels,
                                      GDT_Byte,
                                      nullptr));
    // Only read from, which the interface cannot say.
    auto* pixels = const_cast<std::uint8_t*>(picture.rgb.data());
    if (dataset && GDALDatasetRasterIO(dataset.get(),
                                       GF_Write,
                                       0,
                                       0,
                                       picture.width,
                                       picture.height,
                                       pixels,
                                       picture.width,
                                       picture.height,
                                       GDT_Byte,
                                       kChannels,
                                       nullptr,
                                       kChannels,
                                       kChannels * picture.width,
                                       1) != CE_None) {
        dataset.reset();
    }
    return dataset;
}

} // namespace

void writePng(const std::string& path, const Picture& picture) {
    const detail::GdalScope gdal;
    const detail::ErrorScope errors;
    PendingFile file(path);
    DatasetPointer written;
    GDALDatasetH driver = GDALGetDriverByName("PNG");
    if (const DatasetPointer pixels = inMemory(picture); pixels && driver != nullptr) {
        written.reset(GDALCreateCopy(
            driver, file.temporaryPath().c_str(), pixels.get(), FALSE, nullptr, nullptr, nullptr));
    }
    const bool isWritten = written != nullptr;
    written.reset(); // a full disk may show only when the file is closed
    if (!isWritten || errors.failed()) {
        throw Error(errors.reason(file.temporaryPath(), "cannot be written"));
    }
    file.commit();
}

} // namespace tessik::image
