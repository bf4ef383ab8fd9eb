#include "BlockCorrector.h"
#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <thread>

namespace tessik {
namespace {

using radiometry::CorrectionType;

constexpr int kWidth = 50;
constexpr int kHeight = 38;
const radiometry::Settings kIrradiance = {CorrectionType::CameraAndSunIrradiance};

/// What a block of the wrong place would get wrong: a dark pattern, bad pixels, vignetting by
/// column and row, and a limit of its own for each row.
ExifInfo patternedExif() {
    ExifInfo exif = test::plainExif(kWidth, kHeight, 2);
    exif.make = QStringLiteral("Example");
    exif.exposureTime = 0.25;
    exif.sunIrradiance = {1.5, 0.7};
    Eigen::MatrixXd dark(2, 2);
    dark << 100, 101, 102, 103;
    exif.darkLevels = {dark, 2.0 * dark};
    exif.badPixels = {{{3, 1}, {20, 30}, {-7, 5}}, {{49, 37}}};
    exif.clipLine = ClipLine{1000.0, -10.0};
    exif.vignetting.type = VignettingType::Polynomial2D;
    exif.vignetting.coefficients = (Eigen::MatrixXd(2, 2) << 1.0, -0.1, -0.2, -0.05).finished();
    return exif;
}

ExifInfo rollingExif() {
    ExifInfo exif = test::redEdgeExif(kWidth, kHeight);
    exif.sunIrradiance = {1.2};
    return exif;
}

BandImage rawBands(const ExifInfo& exif, unsigned seed) {
    if (exif.bandCount == 1) {
        return {test::redEdgeBand(kWidth, kHeight, seed)};
    }
    const auto first = static_cast<float>(seed);
    return {test::ramp(kHeight, kWidth, 50.0F + first), test::ramp(kHeight, kWidth, 90.0F + first)};
}

BandImage correctedWhole(const InputImage& image, BandImage bands) {
    radiometry::correct(image,
                        exif::cameraParams(image.exif),
                        GlobalShutter(),
                        {},
                        Eigen::ArrayXd(),
                        kIrradiance,
                        geo::ProjectCoordinateSystems(),
                        nullptr,
                        bands,
                        {0, 0});
    return bands;
}

bool haveSameBits(const BandImage& a, const BandImage& b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [](const BandMatrix& one, const BandMatrix& other) {
            return one.size() == other.size() &&
                   std::memcmp(one.data(),
                               other.data(),
                               static_cast<std::size_t>(one.size()) * sizeof(float)) == 0;
        });
}

/// One rig of two cameras. The third image's dark level is another one than that of its camera's
/// first image, as some bodies state one with each image.
std::vector<InputImage> project() {
    std::vector<InputImage> images;
    for (const ExifInfo& exif : {rollingExif(), patternedExif(), patternedExif()}) {
        images.push_back(test::ImageSetup(exif).image);
    }
    images[2].exif.darkLevels[1].array() += 20.0;
    return images;
}

TEST(BlockCorrector, givesTheBitsOfOneCallForTheWholeImage) {
    const std::vector<InputImage> images = project();
    const example::BlockCorrector corrector(images, kIrradiance);
    for (const Eigen::Index blockSize : {1, 16, 37, 100}) {
        for (const unsigned threadCount : {1U, 4U}) {
            for (std::size_t i = 0; i < images.size(); ++i) {
                const BandImage raw = rawBands(images[i].exif, 7);
                BandImage bands = raw;
                corrector.correct(images[i], bands, blockSize, threadCount);
                EXPECT_TRUE(haveSameBits(bands, correctedWhole(images[i], raw)))
                    << "image " << i << ", blocks of " << blockSize << ", " << threadCount
                    << " threads";
            }
        }
    }
}

TEST(BlockCorrector, correctsSeveralImagesAtTheSameTime) {
    const std::vector<InputImage> images = project();
    const example::BlockCorrector corrector(images, kIrradiance);
    std::vector<BandImage> results;
    for (unsigned i = 0; i < 6; ++i) {
        results.push_back(rawBands(images[i % 3].exif, i));
    }
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        threads.emplace_back([&, i] { corrector.correct(images[i % 3], results[i], 16, 2); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (unsigned i = 0; i < 6; ++i) {
        const InputImage& image = images[i % 3];
        EXPECT_TRUE(haveSameBits(results[i], correctedWhole(image, rawBands(image.exif, i)))) << i;
    }
}

TEST(BlockCorrector, makesTheMapsOfACameraOnce) {
    std::vector<std::string> lines;
    std::mutex mutex;
    logging::setLevel(logging::kInfo);
    logging::setSink([&](const logging::Record& record) {
        const std::lock_guard lock(mutex); // several threads may log at once
        lines.push_back(record.text);
    });
    const std::vector<InputImage> images = project();
    const example::BlockCorrector corrector({images[0], images[1], images[1]}, kIrradiance);
    for (int repeat = 0; repeat < 3; ++repeat) {
        BandImage bands = rawBands(images[1].exif, 1);
        corrector.correct(images[1], bands, 16, 2);
    }
    logging::setSink({}); // what the sink refers to ends below
    logging::setLevel(logging::kWarning);
    for (const char* map : {"Dark current: ", "Vignetting: "}) {
        const auto isOfMap = [&](const std::string& line) { return line.rfind(map, 0) == 0; };
        EXPECT_EQ(std::count_if(lines.begin(), lines.end(), isOfMap), 2) << map; // two cameras
    }
}

TEST(BlockCorrector, takesImagesAsTheReadersGiveThem) {
    const test::TemporaryFolder folder;
    const std::string path = folder.file("image.tif");
    image::writeUInt16Raster(path, {test::redEdgeBand(kWidth, kHeight, 3)});
    exif::writeTags(path,
                    {{"Exif.Photo.ExposureTime", {"1/400"}}, {"Exif.Image.BlackLevel", {"4800"}}});
    // Pixels and metadata are read apart, by the host or by these.
    const InputImage image = exif::inputImage(path, exif::readMetadata(path));
    BandImage bands = image::Raster::open(path).read();
    const BandImage raw = bands;
    const example::BlockCorrector corrector({image}, {CorrectionType::CameraOnly});
    corrector.correct(image, bands, 16, 2);
    for (Eigen::Index i = 0; i < raw[0].size(); ++i) {
        const float sample = raw[0].data()[i];
        const bool isValid = sample > 4800.0F && sample < 65535.0F;
        EXPECT_EQ(bands[0].data()[i], isValid ? (sample - 4800.0F) * 400.0F : radiometry::kNoData);
    }
}

TEST(BlockCorrector, handsOnTheErrorOfAThread) {
    std::vector<InputImage> images = project();
    images[1].exif.badPixels.resize(1);
    const example::BlockCorrector corrector(images, kIrradiance);
    BandImage bands = rawBands(images[1].exif, 1);
    EXPECT_EQ(
        test::messageOf<radiometry::error>([&] { corrector.correct(images[1], bands, 16, 2); }),
        "Masking bad pixels: invalid number of bands, found 2 but expected 1 from image "
        "metadata");
    bands[0].resize(kHeight - 1, kWidth);
    EXPECT_EQ(
        test::messageOf<std::invalid_argument>([&] { corrector.correct(images[1], bands, 16, 2); }),
        "a band is not of the size that the metadata state");
}

} // namespace
} // namespace tessik
