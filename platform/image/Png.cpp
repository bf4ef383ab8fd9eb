#include "platform/image/Png.h"

#include "platform/image/Error.h"
#include "platform/image/PendingFile.h"
#include "platform/image/detail/Gdal.h"

#include <cpl_vsi.h>

#include <atomic>
#include <fstream>
#include <limits>

namespace tessik::image {
namespace {

using detail::DatasetPointer;

DatasetPointer makePicture(const std::vector<ByteMatrix>& channels) {
    const auto rows = static_cast<int>(channels.front().rows());
    const auto cols = static_cast<int>(channels.front().cols());
    DatasetPointer picture(GDALCreate(GDALGetDriverByName("MEM"),
                                      "",
                                      cols,
                                      rows,
                                      static_cast<int>(channels.size()),
                                      GDT_Byte,
                                      nullptr));
    for (std::size_t c = 0; picture && c < channels.size(); ++c) {
        // GDAL's write interface takes a mutable buffer that it only reads.
        auto* samples = const_cast<std::uint8_t*>(channels[c].data());
        GDALRasterBandH band = GDALGetRasterBand(picture.get(), static_cast<int>(c) + 1);
        if (GDALRasterIO(band, GF_Write, 0, 0, cols, rows, samples, cols, rows, GDT_Byte, 0, 0) !=
            CE_None) {
            picture.reset();
        }
    }
    return picture;
}

} // namespace

std::string encodePng(const std::vector<ByteMatrix>& channels) {
    if (channels.empty() || channels.size() > 4 || channels.front().size() == 0) {
        throw Error("no picture: 1 to 4 channels with pixels are needed");
    }
    constexpr Eigen::Index kMax = std::numeric_limits<std::int16_t>::max();
    for (const ByteMatrix& channel : channels) {
        if (channel.rows() != channels.front().rows() ||
            channel.cols() != channels.front().cols() || channel.rows() > kMax ||
            channel.cols() > kMax) {
            throw Error("no picture: its channels differ in size or are too large");
        }
    }
    const detail::GdalScope gdal;
    const detail::ErrorScope errors;
    const DatasetPointer picture = makePicture(channels);
    static std::atomic<unsigned> counter{0};
    const std::string file = "/vsimem/tessik-picture-" + std::to_string(++counter) + ".png";
    DatasetPointer encoded(picture ? GDALCreateCopy(GDALGetDriverByName("PNG"),
                                                    file.c_str(),
                                                    picture.get(),
                                                    0,
                                                    nullptr,
                                                    nullptr,
                                                    nullptr)
                                   : nullptr);
    const bool isEncoded = encoded != nullptr;
    encoded.reset(); // the last bytes are written when it closes
    vsi_l_offset size = 0;
    const std::unique_ptr<GByte, void (*)(void*)> bytes(VSIGetMemFileBuffer(file.c_str(), &size, 1),
                                                        VSIFree);
    if (!isEncoded || !bytes) {
        throw Error("the picture cannot be encoded");
    }
    return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

void writePng(const std::string& path, const Picture& picture) {
    using Samples = Eigen::Map<const ByteMatrix, 0, Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>>;
    constexpr int kChannels = 3;
    std::vector<ByteMatrix> channels;
    channels.reserve(kChannels);
    for (int c = 0; c < kChannels; ++c) {
        channels.emplace_back(Samples(picture.rgb.data() + c,
                                      picture.height,
                                      picture.width,
                                      Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>(
                                          Eigen::Index{kChannels} * picture.width, kChannels)));
    }
    const std::string bytes = encodePng(channels);
    PendingFile file(path);
    std::ofstream stream(file.temporaryPath(), std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw Error("cannot be written");
    }
    file.commit();
}

} // namespace tessik::image
