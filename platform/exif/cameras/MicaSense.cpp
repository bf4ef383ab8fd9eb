#include "platform/exif/cameras/Dialects.h"

#include <cmath>

namespace tessik::exif {
namespace {

bool matchesMicaSense(const Tags& tags) {
    return tags.exifText("Exif.Image.Make") == "MicaSense";
}

/// a1, a2, a3 of the maker's radiance formula; the rolling shutter is in the last two.
void readRadiometricCalibration(const Tags& tags, ExifInfo& exif) {
    const std::vector<double> values = tags.xmpNumbers("MicaSense", "RadiometricCalibration");
    if (values.size() == 3) {
        exif.micaSense3kModel = {values[1], values[2]};
    }
}

/// The description is 1 + c0 r + ... + c5 r^6.
void readVignetting(const Tags& tags, ExifInfo& exif) {
    const std::vector<double> powers = tags.xmpNumbers("Camera", "VignettingPolynomial");
    const std::vector<double> center = tags.xmpNumbers("Camera", "VignettingCenter");
    if (powers.empty() || center.size() != 2) {
        return;
    }
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.centerX = center[0];
    exif.vignetting.centerY = center[1];
    exif.vignetting.coefficients.resize(static_cast<Eigen::Index>(powers.size()) + 1, 1);
    exif.vignetting.coefficients(0, 0) = 1.0;
    for (std::size_t i = 0; i < powers.size(); ++i) {
        exif.vignetting.coefficients(static_cast<Eigen::Index>(i) + 1, 0) = powers[i];
    }
}

/// The second-generation light sensor states irradiance on a level surface; its pose is already in
/// it.
void readLevelledIrradiance(const Tags& tags, ExifInfo& exif) {
    constexpr double kMicrowattPerCm2 = 0.01; // in W/m2
    const double irradiance =
        tags.xmpNumber("DLS", "HorizontalIrradiance").value_or(0.0) *
        tags.xmpNumber("DLS", "IrradianceScaleToSIUnits").value_or(kMicrowattPerCm2);
    if (!std::isfinite(irradiance) || irradiance <= 0.0) {
        return;
    }
    exif.sunIrradiance = {irradiance};
    exif.sunSensorYawPitchRoll.reset();
}

void readMicaSense(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    readRadiometricCalibration(tags, exif);
    if (exif.vignetting.type != VignettingType::Polynomial2D) {
        readVignetting(tags, exif);
    }
    readLevelledIrradiance(tags, exif);
    const bool isThermal =
        !exif.bandNames.empty() && exif.bandNames.front() == QLatin1String("LWIR");
    if (exif.model.startsWith(QLatin1String("RedEdge")) && !isThermal) {
        exif.storedRange = {0.0, 65520.0}; // 12 bits, shifted left by 4
    }
}

} // namespace

const Dialect kMicaSense = {&matchesMicaSense, &readMicaSense, Clock::Utc};

} // namespace tessik::exif
