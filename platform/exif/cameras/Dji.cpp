// P4 Multispectral and Mavic 3 Multispectral: proportional to radiance is
//     (DN - dark) * c(r) * adjustment / (gain * t)
// with t in the maker's own tag (us) and c a radial correction. The basic optical model computes
// F^2 / (t * S * ISO): S is gain / adjustment, and ISO is 1 because the EXIF value is not the gain.
// The maker's guide for the Mavic corrects vignetting first and subtracts the dark level later;
// that would multiply the dark level too, so it is subtracted first. Irradiance is the light
// sensor's reading, levelled and calibrated by the camera; its unit is the maker's own, the same in
// all bands.
#include "platform/exif/cameras/Dialects.h"
#include "platform/exif/cameras/RadialFit.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace tessik::exif {
namespace {

bool isModel(const Tags& tags, const char* model) {
    return tags.exifText("Exif.Image.Make") == "DJI" && tags.exifText("Exif.Image.Model") == model;
}

bool matchesDjiP4Multispectral(const Tags& tags) {
    return isModel(tags, "FC6360");
}

bool matchesDjiMavic3Multispectral(const Tags& tags) {
    return isModel(tags, "M3M");
}

/// The colour camera beside the multispectral ones bears the same model name.
bool isMultispectral(const ExifInfo& exif) {
    return exif.bandCount == 1 && exif.pixelType == DataType::UInt16;
}

/// Without one of its parts the result would look right and be wrong, so nothing may be corrected
/// unless the user asks for it.
void refuse(const std::string& what, ImageMetadata& metadata) {
    metadata.warnings.push_back(what + ": not corrected unless asked for");
    metadata.exif.radiometricIndicator = 0;
}

/// The value of a tag; absent where it is not positive and finite.
std::optional<double> positive(const Tags& tags, const std::string& name) {
    const auto value = tags.xmpNumber("drone-dji", name);
    return value && *value > 0.0 && std::isfinite(*value) ? value : std::nullopt;
}

void readExposure(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    const auto microseconds = positive(tags, "ExposureTime");
    const auto gain = positive(tags, "SensorGain");
    const auto adjustment = positive(tags, "SensorGainAdjustment");
    exif.sensitivity.clear();
    exif.iso = 1;
    if (!microseconds || !gain || !adjustment) {
        refuse("ExposureTime, SensorGain or SensorGainAdjustment is missing", metadata);
        return;
    }
    exif.exposureTime = 1e-6 * *microseconds;
    exif.sensitivity = {*gain / *adjustment};
}

/// k(0), k(1), ... of the correction 1 + k(0) r + k(1) r^2 + ...; empty when it is not stated.
std::vector<double> correctionPowers(const Tags& tags) {
    std::vector<double> powers = tags.xmpNumbers("drone-dji", "VignettingData");
    return powers.empty() ? tags.xmpNumbers("Camera", "VignettingPolynomial") : powers;
}

/// Calibrated centre, px; empty when it is not stated or not inside the image.
std::vector<double> opticalCenter(const Tags& tags, const ExifInfo& exif) {
    const auto x = positive(tags, "CalibratedOpticalCenterX");
    const auto y = positive(tags, "CalibratedOpticalCenterY");
    std::vector<double> center =
        x && y ? std::vector<double>{*x, *y} : tags.xmpNumbers("Camera", "VignettingCenter");
    const bool isInside = center.size() == 2 && center[0] > 0.0 && center[1] > 0.0 &&
                          center[0] < static_cast<double>(exif.imageWidth) &&
                          center[1] < static_cast<double>(exif.imageHeight);
    return isInside ? center : std::vector<double>();
}

void readVignetting(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    exif.vignetting = {};
    const std::vector<double> powers = correctionPowers(tags);
    const std::vector<double> center = opticalCenter(tags, exif);
    if (powers.empty() || center.empty()) {
        refuse("VignettingData or the optical centre is missing", metadata);
        return;
    }
    const Eigen::Vector2d farthest(
        std::max(center[0], static_cast<double>(exif.imageWidth) - 1.0 - center[0]),
        std::max(center[1], static_cast<double>(exif.imageHeight) - 1.0 - center[1]));
    // The same polynomial as a brightness has, but to multiply by.
    VignettingData vignetting = radialBrightness(center, powers);
    const auto brightness =
        brightnessFromCorrection(vignetting.coefficients.col(0), farthest.norm());
    if (!brightness) {
        refuse("VignettingData is no usable correction", metadata);
        return;
    }
    vignetting.coefficients = *brightness;
    exif.vignetting = vignetting;
}

/// "450(+/-16)nm": centre and half width. What the tag of the full width holds is the half width
/// again.
void readBand(const Tags& tags, ExifInfo& exif) {
    static const std::regex pattern(R"(\s*([0-9.]+)\s*\(\+/-([0-9.]+)\)\s*nm\s*)");
    const std::string text = tags.xmpText("drone-dji", "BandFreq");
    std::smatch parts;
    const bool isStated = std::regex_match(text, parts, pattern);
    const auto center = isStated ? parseNumber(parts[1].str()) : std::nullopt;
    const auto halfWidth = isStated ? parseNumber(parts[2].str()) : std::nullopt;
    if (exif.bands.empty() && center && halfWidth) {
        exif.bands.push_back({*center, 2.0 * *halfWidth});
    } else if (!exif.bands.empty()) {
        exif.bands.front().fwhmNm = 2.0 * halfWidth.value_or(exif.bands.front().fwhmNm);
    }
    const std::string name = tags.xmpText("drone-dji", "BandName");
    if (exif.bandNames.empty() && !name.empty()) {
        exif.bandNames.push_back(QString::fromStdString(name));
    }
}

/// What the camera made of the light sensor's channels for this band, in place of what the sensor
/// itself read.
void readLight(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    exif.sunSensorYawPitchRoll.reset(); // always 0, 0, 0; the reading is levelled already
    const auto compensated = tags.xmpNumber("Camera", "Irradiance");
    const auto reading = compensated ? compensated : positive(tags, "Irradiance");
    exif.sunIrradiance.clear();
    if (tags.xmpNumber("drone-dji", "LS_status") == 0.0) {
        metadata.warnings.emplace_back(
            "The camera says that its light sensor's reading is invalid (LS_status 0): not used");
    } else if (reading) {
        exif.sunIrradiance = {*reading};
        exif.isSunIrradianceLevel = true;
    }
}

std::optional<Eigen::Matrix3d> matrixOf(const Tags& tags, const char* name) {
    const std::vector<double> values = tags.xmpNumbers("drone-dji", name);
    if (values.size() != 9) {
        return std::nullopt;
    }
    const Eigen::Matrix<double, 3, 3, Eigen::RowMajor> matrix(values.data());
    return matrix.allFinite() ? std::optional<Eigen::Matrix3d>(matrix) : std::nullopt;
}

void readGeometry(const Tags& tags, StatedGeometry& geometry) {
    constexpr std::size_t kLensTerms = 9;
    // The date of the calibration comes first, and a semicolon.
    const std::string lens = tags.xmpText("drone-dji", "DewarpData");
    geometry.lens = parseNumbers({lens.substr(lens.find(';') + 1)});
    if (geometry.lens.size() != kLensTerms) {
        geometry.lens.clear();
    }
    geometry.idealFromReal = matrixOf(tags, "CalibratedHMatrix");
    geometry.colorFromIdeal = matrixOf(tags, "DewarpHMatrix");
    const auto x = tags.xmpNumber("drone-dji", "RelativeOpticalCenterX");
    const auto y = tags.xmpNumber("drone-dji", "RelativeOpticalCenterY");
    if (x && y && std::isfinite(*x) && std::isfinite(*y)) {
        geometry.relativeOpticalCenter = Eigen::Vector2d(*x, *y);
    }
}

void readDji(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    if (exif.darkLevels.empty()) {
        refuse("BlackLevel is missing", metadata);
    }
    readBand(tags, exif);
    readExposure(tags, metadata);
    readVignetting(tags, metadata);
    readLight(tags, metadata);
    readGeometry(tags, exif.statedGeometry);
}

void readDjiP4Multispectral(const Tags& tags, ImageMetadata& metadata) {
    if (!isMultispectral(metadata.exif)) {
        return;
    }
    readDji(tags, metadata);
    // Ten bits, shifted left by six. Bright samples do not clip at their largest value but on a
    // plateau that falls with the row: 65400 - 0.386 row, with a standard deviation of 33 and
    // nothing beyond 130 of it (measured at sensor gain 2 on firmware v01.17.2006).
    constexpr double kPlateau = 65400.0;
    constexpr double kPlateauPerRow = -0.386;
    constexpr double kPlateauSpread = 130.0;
    metadata.exif.storedRange = {0.0, 65472.0};
    metadata.exif.clipLine = ClipLine{kPlateau - kPlateauSpread, kPlateauPerRow};
}

void readDjiMavic3Multispectral(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    if (!isMultispectral(exif)) {
        return;
    }
    if (const auto dark = tags.xmpNumber("drone-dji", "BlackLevel");
        exif.darkLevels.empty() && dark && std::isfinite(*dark)) {
        exif.darkLevels.push_back(Eigen::MatrixXd::Constant(1, 1, *dark));
    }
    readDji(tags, metadata);
}

} // namespace

const Dialect kDjiP4Multispectral = {
    &matchesDjiP4Multispectral, &readDjiP4Multispectral, kLocalClock};
const Dialect kDjiMavic3Multispectral = {
    &matchesDjiMavic3Multispectral, &readDjiMavic3Multispectral, kLocalClock};

} // namespace tessik::exif
