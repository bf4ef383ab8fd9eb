#include "platform/exif/cameras/Dialects.h"
#include "platform/exif/cameras/RadialFit.h"

#include <algorithm>
#include <cmath>
#include <string>

/// DJI P4 Multispectral: proportional to radiance is
///     (DN - dark) * c(r) * adjustment / (gain * t)
/// with dark from BlackLevel, t in the maker's own tag and
/// c a radial correction. The basic optical model computes F^2 / (t * S * ISO): S is gain /
/// adjustment, and ISO is 1 because the EXIF value is not the gain.
namespace tessik::exif {
namespace {

bool matchesDjiP4Multispectral(const Tags& tags) {
    return tags.exifText("Exif.Image.Make") == "DJI" &&
           tags.exifText("Exif.Image.Model") == "FC6360";
}

/// Without one of its parts the result would look right and be wrong, so nothing may be corrected
/// unless the user asks for it.
void refuse(const std::string& what, ImageMetadata& metadata) {
    metadata.warnings.push_back(what + ": not corrected unless asked for");
    metadata.exif.radiometricIndicator = 0;
}

/// Positive and finite, or absent.
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
    Eigen::VectorXd correction(static_cast<Eigen::Index>(powers.size()) + 1);
    correction(0) = 1.0;
    std::copy(powers.begin(), powers.end(), correction.data() + 1);
    const auto brightness = brightnessFromCorrection(correction, farthest.norm());
    if (!brightness) {
        refuse("VignettingData is no usable correction", metadata);
        return;
    }
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.centerX = center[0];
    exif.vignetting.centerY = center[1];
    exif.vignetting.coefficients = *brightness;
}

void readDjiP4Multispectral(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    if (exif.bandCount != 1 || exif.pixelType != DataType::UInt16) {
        return; // the colour camera beside the five
    }
    if (exif.darkLevels.empty()) {
        refuse("BlackLevel is missing", metadata);
    }
    readExposure(tags, metadata);
    readVignetting(tags, metadata);
    exif.sunSensorYawPitchRoll.reset(); // always 0, 0, 0; the reading is levelled already
    exif.storedRange = {0.0, 65472.0};  // 10 bits, shifted left by 6
}

} // namespace

const Dialect kDjiP4Multispectral = {
    &matchesDjiP4Multispectral, &readDjiP4Multispectral, Clock::Local};

} // namespace tessik::exif
