#include "support/RedEdge.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace tessik::test {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kA1 = 1.46e-4;
constexpr double kA2 = 1.2e-7;
constexpr double kA3 = 1.4e-6;
constexpr double kFNumber = 2.8;
constexpr double kSaturation = 65520.0;

} // namespace

ExifInfo redEdgeExif(std::uint64_t width, std::uint64_t height) {
    ExifInfo exif;
    exif.make = QStringLiteral("MicaSense");
    exif.model = QStringLiteral("RedEdge");
    exif.imageWidth = width;
    exif.imageHeight = height;
    exif.bandCount = 1;
    exif.pixelType = DataType::UInt16;
    exif.storedRange = {0.0, kSaturation};
    exif.exposureTime = 0.001395;
    exif.iso = 200;
    exif.apertureFNumber = kFNumber;
    exif.sensitivity = {kFNumber * kFNumber / (kPi * 65536.0 * kA1)};
    Eigen::MatrixXd dark(2, 2);
    dark << 4800, 4816, 4784, 4832;
    exif.darkLevels = {dark};
    exif.badPixels = {{{3, 1}, {0, 2}}};
    exif.micaSense3kModel = {kA2, kA3};
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.centerX = static_cast<double>(width) * 0.53;
    exif.vignetting.centerY = static_cast<double>(height) * 0.48;
    const double reach = 0.5 * std::hypot(width, height);
    exif.vignetting.coefficients.resize(7, 1);
    const double shape[] = {1.0, -0.02, 0.01, -0.2, -0.1, 0.05, -0.02};
    for (int i = 0; i < 7; ++i) {
        exif.vignetting.coefficients(i, 0) = shape[i] / std::pow(reach, i);
    }
    return exif;
}

BandMatrix redEdgeBand(std::uint64_t width, std::uint64_t height, unsigned seed) {
    std::mt19937 random(seed);
    BandMatrix band(static_cast<Eigen::Index>(height), static_cast<Eigen::Index>(width));
    for (Eigen::Index i = 0; i < band.size(); ++i) {
        // 250..4150, cut at 12 bits: some below the dark level of about 300, some saturated.
        band.data()[i] =
            static_cast<float>(std::min<std::uint_fast32_t>(250U + random() % 3900U, 4095U) * 16U);
    }
    return band;
}

double redEdgeOracle(const ExifInfo& exif, float sample, int column, int row) {
    constexpr double kNoData = -10000.0;
    for (const auto& [x, y] : exif.badPixels.at(0)) {
        if (x == column && y == row) {
            return kNoData;
        }
    }
    const double dark = exif.darkLevels.at(0)(row % 2, column % 2);
    const auto value = static_cast<double>(sample);
    if (value <= dark || value >= kSaturation) {
        return kNoData;
    }
    const double r = std::hypot(column - exif.vignetting.centerX, row - exif.vignetting.centerY);
    double brightness = 0.0;
    for (int i = 0; i < 7; ++i) {
        brightness += exif.vignetting.coefficients(i, 0) * std::pow(r, i);
    }
    const double t = exif.exposureTime;
    const double gain = exif.iso / 100.0;
    const double radiance = 1.0 / brightness * (kA1 / gain) * (value - dark) / 65536.0 /
                            (t + kA2 * row - kA3 * t * row);
    return 655.36 * kPi * radiance;
}

} // namespace tessik::test
