#include "platform/astro/Astro.h"
#include "platform/exif/cameras/Dialects.h"
#include "platform/math/Angle.h"

#include <algorithm>
#include <cmath>

namespace tessik::exif {
namespace {

bool matchesMicaSense(const Tags& tags) {
    return micasense::isMicaSense(QString::fromStdString(tags.exifText("Exif.Image.Make")));
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
    if (!powers.empty() && center.size() == 2) {
        exif.vignetting = radialBrightness(center, powers);
    }
}

/// Turns the second light sensor's unit into W/m2/nm where the file does not state the factor.
constexpr double kMicrowattPerCm2 = 0.01;

/// What the second generation of the light sensor states of the light on a level surface, in its
/// own unit; absent = not stated.
struct LevelLight {
    std::optional<double> horizontal;
    std::optional<double> direct; ///< on a plane normal to the sun
    std::optional<double> scattered;

    [[nodiscard]] bool isStated() const { return horizontal || direct || scattered; }
};

LevelLight readLevelLight(const Tags& tags) {
    return {tags.xmpNumber("DLS", "HorizontalIrradiance"),
            tags.xmpNumber("DLS", "DirectIrradiance"),
            tags.xmpNumber("DLS", "ScatteredIrradiance")};
}

/// The two generations state the same tag in units that differ by a factor of 100. The serial
/// number tells them apart; firmware that leaves it out in some bands of a rig still states the
/// level light there, which the first generation knows nothing of.
bool isSecondGeneration(const Tags& tags, const LevelLight& level) {
    const std::string serial = tags.xmpText("DLS", "Serial");
    return serial.rfind("DA", 0) == 0 || (serial.rfind("DL", 0) != 0 && level.isStated());
}

/// The elevation of the sun, rad: from time and place, else as the file states it.
std::optional<double> sunElevation(const Tags& tags, const GeoData& geo) {
    if (geo.position && geo.captureTime != 0.0) {
        const auto elevation = astro::sunElevation(
            geo.captureTime, geo.position->latitude * kDegree, geo.position->longitude * kDegree);
        if (elevation) {
            return elevation;
        }
    }
    return tags.xmpNumber("DLS", "SolarElevation");
}

/// Light on a level surface from its parts; absent where they are not stated, 0 where there is no
/// light in them.
std::optional<double> lightFromParts(const LevelLight& level, std::optional<double> elevation) {
    if (!level.direct || !level.scattered || !elevation) {
        return std::nullopt;
    }
    const double light = *level.direct * std::max(0.0, std::sin(*elevation)) + *level.scattered;
    return std::isfinite(light) && light > 0.0 ? light : 0.0;
}

/// The light on a level surface, in the sensor's unit; 0 = no reading.
/// Older firmware computed the stated value with the sun at a wrong place, so the parts hold where
/// the two differ.
double levelLight(const Tags& tags, const LevelLight& level, ImageMetadata& metadata) {
    constexpr double kLargestDifference = 0.01;
    const auto parts = lightFromParts(level, sunElevation(tags, metadata.geo));
    const double stated = level.horizontal.value_or(0.0);
    if (!parts) {
        return stated;
    }
    if (std::isfinite(stated) && stated > 0.0) {
        if (std::abs(stated - *parts) <= kLargestDifference * *parts) {
            return stated;
        }
        metadata.warnings.emplace_back(
            "The light sensor's level reading is not the sum of its direct and scattered parts for "
            "this sun: the parts are used");
    }
    return *parts;
}

void readLight(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    const LevelLight level = readLevelLight(tags);
    if (!isSecondGeneration(tags, level)) {
        return;
    }
    const double unit =
        tags.xmpNumber("DLS", "IrradianceScaleToSIUnits").value_or(kMicrowattPerCm2);
    if (!level.isStated()) {
        for (double& reading : exif.sunIrradiance) {
            reading *= unit; // as measured, with the sensor's tilt in it
        }
        return;
    }
    exif.sunIrradiance.clear();
    exif.sunSensorYawPitchRoll.reset();
    const double reading = unit * levelLight(tags, level, metadata);
    if (std::isfinite(reading) && reading > 0.0) {
        exif.sunIrradiance = {reading};
        exif.isSunIrradianceLevel = true;
    }
}

/// What a thermal band states besides its temperatures (exposure, pose of the light sensor)
/// describes no light.
void readThermal(ExifInfo& exif) {
    exif.isThermal = true;
    exif.sensitivity.clear();
    exif.sunIrradiance.clear();
    exif.sunSensorYawPitchRoll.reset();
    exif.micaSense3kModel = {};
}

/// Samples are twelve bits, shifted left by four; at which value they clip depends on the body.
/// That of the Altum is not known.
std::optional<std::pair<double, double>> storedRange(const QString& model) {
    if (model == QLatin1String("RedEdge-P")) {
        return std::pair(0.0, 65504.0);
    }
    if (model.startsWith(QLatin1String("RedEdge"))) {
        return std::pair(0.0, 65520.0);
    }
    return std::nullopt;
}

void readMicaSense(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    readRadiometricCalibration(tags, exif);
    if (!exif.bandNames.empty() && exif.bandNames.front() == QLatin1String("LWIR")) {
        readThermal(exif);
        return;
    }
    if (exif.vignetting.type != VignettingType::Polynomial2D) {
        readVignetting(tags, exif);
    }
    readLight(tags, metadata);
    if (exif.pixelType == DataType::UInt16) {
        exif.storedRange = storedRange(exif.model);
    }
}

} // namespace

const Dialect kMicaSense = {&matchesMicaSense, &readMicaSense, {true, true}};

} // namespace tessik::exif
