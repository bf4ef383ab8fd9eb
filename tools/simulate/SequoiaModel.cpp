#include "simulate/SequoiaModel.h"

#include "platform/image/Raster.h"
#include "platform/image/SoftwareTag.h"
#include "platform/math/Angle.h"
#include "simulate/Random.h"
#include "simulate/TagText.h"

#include <array>
#include <cmath>
#include <fstream>
#include <random>
#include <stdexcept>

namespace tessik::simulate {
namespace {

constexpr std::array<double, 4> kDarkOffset = {4100.0, 4020.0, 4200.0, 4060.0};
constexpr std::array<double, 4> kTemperatureCoefficient = {0.0512, 0.0471, 0.0498, 0.0533};
constexpr std::array<double, 4> kGain = {1216000.0, 1048000.0, 472000.0, 1148000.0};

/// DN at ISO 1 and 0 degrees Celsius; some 5000 times as much at ISO 796 and 36 degrees.
constexpr double kDark = 0.05;
constexpr double kGlow = 0.06; ///< more in the corner where the electronics are
constexpr double kWarmPixel = 0.4;
constexpr double kDarkSpread = 0.2;        ///< from pixel to pixel, as a share
constexpr Eigen::Index kPixelsAWarm = 500; ///< one in so many

/// Seconds: the readout goes from the first row to the last, and the odd field follows the even
/// one.
constexpr std::array<double, 4> kReadout = {1.5e-4, 1.7e-4, 1.3e-4, 1.6e-4};
constexpr double kOddFieldLater = 2.4e-5;
constexpr double kAlongRow = 6e-6;

constexpr std::array<double, 4> kFallOff = {0.16, 0.19, 0.18, 0.21}; ///< along each direction
constexpr double kOddFieldResponse = 0.985;

constexpr std::uint64_t kDarkPurpose = 0xda4c;
constexpr std::uint64_t kWarmPurpose = 0x3a43;

/// From 0 to 1 and flat at both ends; t in 0..1.
double rise(double t) {
    return 0.5 * (1.0 - std::cos(kPi * t));
}
/// From 0 to 1 in the middle, and back; flat at both ends.
double hill(double t) {
    return 0.5 * (1.0 - std::cos(2.0 * kPi * t));
}

/// Where in its field a pixel lies.
struct Place {
    double u = 0.0;
    double v = 0.0;
    bool isOddField = false;
};

double deltaTauAt(std::size_t band, const Place& place) {
    return kReadout[band] * rise(place.v) + kAlongRow * hill(place.u) +
           (place.isOddField ? kOddFieldLater : 0.0);
}

double vignettingAt(std::size_t band, const Place& place) {
    return (1.0 - kFallOff[band] * (1.0 - hill(place.u))) *
           (1.0 - 0.9 * kFallOff[band] * (1.0 - hill(place.v))) *
           (1.0 - 0.05 * rise(place.u) - 0.03 * rise(place.v)) *
           (place.isOddField ? kOddFieldResponse : 1.0);
}

/// A function of the place, at the places of the pixels of an image.
template <typename Matrix, typename Function>
Matrix atPixels(Eigen::Index rows, Eigen::Index cols, const Function& function) {
    Matrix result(rows, cols);
    for (Eigen::Index r = 0; r < rows; ++r) {
        Place place;
        place.isOddField = r % 2 != 0;
        const Eigen::Index rowOfField = r / 2;
        place.v = static_cast<double>(rowOfField) / (0.5 * static_cast<double>(rows) - 1.0);
        for (Eigen::Index c = 0; c < cols; ++c) {
            place.u = static_cast<double>(c) / static_cast<double>(cols - 1);
            result(r, c) = static_cast<typename Matrix::Scalar>(function(place));
        }
    }
    return result;
}

BandMatrix
darkPattern(std::size_t band, Eigen::Index width, Eigen::Index height, std::uint64_t seed) {
    Random random({seed, kDarkPurpose, band});
    auto dark = atPixels<BandMatrix>(height, width, [&random](const Place& place) {
        const double glow = kGlow * (1.0 - rise(place.u)) * rise(place.v);
        return (kDark + glow) * random.uniform(1.0 - kDarkSpread, 1.0 + kDarkSpread);
    });
    Random place({seed, kWarmPurpose, band});
    for (Eigen::Index i = 0; i < width * height / kPixelsAWarm; ++i) {
        const auto row = static_cast<Eigen::Index>(place.below(static_cast<std::uint32_t>(height)));
        dark(row, static_cast<Eigen::Index>(place.below(static_cast<std::uint32_t>(width)))) =
            static_cast<float>(kWarmPixel);
    }
    return dark;
}

BandMatrix parameterRaster(const SequoiaModel& model) {
    BandMatrix raster(model.dark.rows(), model.dark.cols());
    std::mt19937 generator; // NOLINT(cert-msc32-c,cert-msc51-cpp): its standard seed, by the format
    for (Eigen::Index i = 0; i < raster.size(); ++i) {
        constexpr float kCount = 16777216.0F; // of values that 24 bits can have
        const auto upperBits = static_cast<std::uint32_t>(generator()) >> 8U;
        raster.data()[i] = static_cast<float>(upperBits) / kCount;
    }
    const SequoiaModel::Grid& deltaTau = model.deltaTauGrid;
    const Eigen::Index cols = deltaTau.cols();
    const Eigen::Index rows = deltaTau.rows();
    raster(0, 0) = static_cast<float>(model.darkOffset / 1000.0);
    raster(0, 1) = static_cast<float>(model.temperatureCoefficient);
    raster(0, 2) = static_cast<float>(model.gain / 100000.0);
    raster(0, 3) = static_cast<float>(cols) / 100.0F;
    raster(0, 4) = static_cast<float>(rows) / 100.0F;
    raster(0, raster.cols() - 1) = 1.42F;
    for (Eigen::Index r = 0; r < rows; ++r) {
        for (Eigen::Index c = 0; c < cols; ++c) {
            raster(1 + r, c) = static_cast<float>(deltaTau(r, c) / 0.0001);
            raster(1 + r, cols + c) = static_cast<float>(model.vignettingGrid(r, c));
        }
    }
    return raster;
}

} // namespace

SequoiaModel::SequoiaModel(std::size_t band,
                           Eigen::Index width,
                           Eigen::Index height,
                           std::uint64_t seed)
    : darkOffset(kDarkOffset.at(band)), temperatureCoefficient(kTemperatureCoefficient[band]),
      gain(kGain[band]) {
    // Two fields, each with a whole grid.
    if (width % kFactor != 0 || height % (2 * kFactor) != 0) {
        throw std::invalid_argument("images with a factory model must have a multiple of 4 columns "
                                    "and of 8 rows");
    }
    const auto deltaTauHere = [band](const Place& place) { return deltaTauAt(band, place); };
    const auto vignettingHere = [band](const Place& place) { return vignettingAt(band, place); };
    dark = darkPattern(band, width, height, seed);
    deltaTau = atPixels<BandMatrix>(height, width, deltaTauHere);
    vignetting = atPixels<BandMatrix>(height, width, vignettingHere);
    deltaTauGrid = atPixels<Grid>(height / kFactor, width / kFactor, deltaTauHere);
    vignettingGrid = atPixels<Grid>(height / kFactor, width / kFactor, vignettingHere);
}

void writeModelFile(const std::string& path,
                    const std::string& serialNumber,
                    const std::vector<SequoiaModel>& models) {
    BandImage rasters;
    for (const SequoiaModel& model : models) {
        rasters.push_back(model.dark);
        rasters.push_back(parameterRaster(model));
    }
    image::writeFloatRaster(path, rasters);
    image::writeProcessingSoftware(path, serialNumber);
}

void writeThermalProfile(const std::string& path,
                         const std::string& serialNumber,
                         const std::vector<std::pair<std::string, double>>& coefficients) {
    std::ofstream stream(path);
    stream << "# body " << serialNumber << "; 1 per degree Celsius\n";
    for (const auto& [band, coefficient] : coefficients) {
        stream << band << " = " << number(coefficient) << '\n';
    }
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot be written");
    }
}

} // namespace tessik::simulate
