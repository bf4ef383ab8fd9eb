#include "radiometry/cameras/sequoia/ioModels.h"

#include "core/Fail.h"
#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"
#include "platform/image/SoftwareTag.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>

namespace tessik::radiometry::sequoia {
namespace {

constexpr std::array<const char*, 4> kBandNames = {"Green", "Red", "Red edge", "NIR"};
constexpr std::size_t kRasterCount = 2 * kBandNames.size();

// Units that the file's values are stored in.
constexpr double kDarkOffsetUnit = 1000.0; // DN
constexpr double kGainUnit = 100000.0;
constexpr double kDeltaTauUnit = 0.0001; // s
constexpr float kSizeUnit = 100.0F;      // rows, columns

/// The last value of the header row.
constexpr float kMarker = 1.42F;
/// Five values and the marker, which must not lie on one another.
constexpr Eigen::Index kHeaderColumns = 6;

/// What the unused part of a parameter raster holds: nothing that is read again, but the same in
/// every file. The generator's sequence is fixed by the language, the library's distributions are
/// not: so the upper 24 bits are taken as they are, which are a float in [0, 1) without rounding.
/// Promised: docs/contract.md, filler.
BandMatrix filler(Eigen::Index rows, Eigen::Index cols) {
    std::mt19937 generator; // NOLINT(cert-msc32-c,cert-msc51-cpp): the same file every time
    BandMatrix raster(rows, cols);
    for (Eigen::Index i = 0; i < raster.size(); ++i) {
        raster.data()[i] = static_cast<float>(generator() >> 8U) * 0x1p-24F;
    }
    return raster;
}

float storedSize(Eigen::Index size) {
    return static_cast<float>(size) / kSizeUnit;
}

/// The size that a header states, truncated; absent when it is not a number, or not in 0..largest.
/// For some sizes (53, 59, 105, ...) the stored hundredth, multiplied again, falls just short of
/// the whole number; the value stored for the next size shows it.
std::optional<Eigen::Index> sizeOf(float stored, Eigen::Index largest) {
    const float scaled = stored * kSizeUnit;
    if (!(scaled >= 0.0F && scaled < static_cast<float>(largest + 1))) {
        return std::nullopt;
    }
    auto size = static_cast<Eigen::Index>(scaled);
    if (storedSize(size + 1) == stored) {
        ++size;
    }
    return size <= largest ? std::optional(size) : std::nullopt;
}

Eigen::Index largestRows(const BandMatrix& raster) {
    return raster.rows() - 1;
}
Eigen::Index largestCols(const BandMatrix& raster) {
    return raster.cols() / 2;
}

std::string sizeText(const ParameterMatrix& matrix) {
    return std::to_string(matrix.rows()) + "x" + std::to_string(matrix.cols());
}

/// Appends two rasters: the dark pattern and the parameters.
void appendRasters(const ModelParameter& model, BandImage& rasters) {
    const ParameterMatrix& deltaTau = model.cmos.deltaTau;
    const ParameterMatrix& vignetting = model.cmos.vignetting;
    const BandMatrix dark = model.darkCurrent.dark.cast<float>();
    if (vignetting.rows() != deltaTau.rows() || vignetting.cols() != deltaTau.cols() ||
        deltaTau.cols() > largestCols(dark) || deltaTau.rows() > largestRows(dark) ||
        dark.cols() < kHeaderColumns) {
        fail("Inconsistent parameter sizes: dark ",
             sizeText(model.darkCurrent.dark),
             " deltaTau ",
             sizeText(deltaTau),
             " vignetting ",
             sizeText(vignetting));
    }
    BandMatrix parameters = filler(dark.rows(), dark.cols());
    parameters(0, 0) = static_cast<float>(model.darkCurrent.darkOffset / kDarkOffsetUnit);
    parameters(0, 1) = static_cast<float>(model.darkCurrent.temperatureCoefficient);
    parameters(0, 2) = static_cast<float>(model.cmos.gain / kGainUnit);
    parameters(0, 3) = storedSize(deltaTau.cols());
    parameters(0, 4) = storedSize(deltaTau.rows());
    parameters(0, dark.cols() - 1) = kMarker;
    parameters.block(1, 0, deltaTau.rows(), deltaTau.cols()) =
        (deltaTau.array() / kDeltaTauUnit).cast<float>();
    parameters.block(1, deltaTau.cols(), deltaTau.rows(), deltaTau.cols()) =
        vignetting.cast<float>();
    rasters.push_back(dark);
    rasters.push_back(std::move(parameters));
}

/// @return absent when the header is not that of the format
std::optional<ModelParameter> modelFrom(const BandMatrix& dark, const BandMatrix& parameters) {
    const float marker = parameters(0, parameters.cols() - 1);
    if (!(std::abs(marker - kMarker) <= std::numeric_limits<float>::epsilon())) {
        return std::nullopt;
    }
    const std::optional<Eigen::Index> cols = sizeOf(parameters(0, 3), largestCols(parameters));
    const std::optional<Eigen::Index> rows = sizeOf(parameters(0, 4), largestRows(parameters));
    if (!cols || !rows) {
        return std::nullopt;
    }
    ModelParameter model;
    model.darkCurrent.darkOffset = parameters(0, 0) * kDarkOffsetUnit;
    model.darkCurrent.temperatureCoefficient = parameters(0, 1);
    model.darkCurrent.dark = dark.cast<double>();
    model.cmos.gain = parameters(0, 2) * kGainUnit;
    model.cmos.deltaTau = parameters.block(1, 0, *rows, *cols).cast<double>() * kDeltaTauUnit;
    model.cmos.vignetting = parameters.block(1, *cols, *rows, *cols).cast<double>();
    return model;
}

BandImage readRasters(const QString& path) {
    try {
        const image::Raster raster = image::Raster::open(path.toStdString());
        if (raster.bandCount() != kRasterCount ||
            raster.width() < static_cast<std::uint64_t>(kHeaderColumns)) {
            fail("Incorrect format of parameter file ", path);
        }
        return raster.read();
    } catch (const image::Error&) {
        fail("Unable to read ", path);
    }
}

QString readSerialNumber(const QString& path) {
    try {
        return QString::fromStdString(image::readProcessingSoftware(path.toStdString()));
    } catch (const image::Error&) {
        fail("Unable to read ", path);
    }
}

} // namespace

std::tuple<QString, BandModels> readModel(const QString& path) {
    const BandImage rasters = readRasters(path);
    QString serialNumber = readSerialNumber(path);
    BandModels models;
    for (std::size_t k = 0; k < kBandNames.size(); ++k) {
        const std::optional<ModelParameter> model = modelFrom(rasters[2 * k], rasters[2 * k + 1]);
        if (!model) {
            fail("Incorrect format of parameter file ", path, " for band ", kBandNames[k]);
        }
        models.emplace(kBandNames[k], *model);
    }
    return {std::move(serialNumber), std::move(models)};
}

void writeModel(const QString& path, const QString& serialNumber, const BandModels& models) {
    BandImage rasters;
    for (const char* name : kBandNames) {
        const auto found = models.find(name);
        if (found == models.end()) {
            // Promised: docs/contract.md, band-not-in-map.
            fail("Band ", name, "is not in parameter map");
        }
        appendRasters(found->second, rasters);
    }
    try {
        image::PendingFile file(path.toStdString());
        image::writeFloatRaster(file.temporaryPath(), rasters);
        image::writeProcessingSoftware(file.temporaryPath(), serialNumber.toStdString());
        file.commit();
    } catch (const image::Error& failure) {
        fail("Unable to open output image ", path, ": ", std::string(failure.what()));
    }
}

} // namespace tessik::radiometry::sequoia
