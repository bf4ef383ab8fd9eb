// The Double 4K writes JPEG of three channels of 8 bits, exposure and speed as EXIF has them, a
// colour matrix, and one light reading a channel. One channel of a near infrared camera may be
// named "Garbage": its filter lets nothing through that belongs there. The 6X writes one band a
// file, in 12 bits that are not shifted. Proportional to radiance is DN / (t * ISO / 100); divided
// by SunSensor and the band's sensitivity it is proportional to reflectance. It is known from
// documents and other programs' users only: no raw image of it was to be had.
#include "platform/exif/cameras/Dialects.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace tessik::exif {
namespace {

bool matchesSentera(const Tags& tags) {
    return tags.exifText("Exif.Image.Make") == "Sentera";
}

void findUselessBands(ExifInfo& exif) {
    for (std::size_t b = 0; b < exif.bandNames.size(); ++b) {
        const bool hasWavelength = b < exif.bands.size() && exif.bands[b].wavelengthNm > 0.0;
        if (!hasWavelength &&
            exif.bandNames[b].compare(QLatin1String("Garbage"), Qt::CaseInsensitive) == 0) {
            exif.uselessBands.push_back(b);
        }
    }
}

bool is6X(const QString& model) {
    return model.startsWith(QLatin1String("21214")) || model.startsWith(QLatin1String("21216"));
}

/// The thermal part of a 6X is named by its number of pixels.
bool isThermal(const QString& model) {
    return is6X(model) &&
           (model.contains(QLatin1String("82KP")) || model.contains(QLatin1String("328KP")));
}

/// Relative brightness at a radius: 1 + c(0) r + c(1) r^2 + ...
double brightnessAt(const std::vector<double>& powers, double radius) {
    double sum = 0.0;
    for (auto c = powers.rbegin(); c != powers.rend(); ++c) {
        sum = (sum + *c) * radius;
    }
    return 1.0 + sum;
}

/// A lens loses light towards the corners, and never all of it.
bool isFallOff(const std::vector<double>& powers, double maxRadius) {
    constexpr int kSteps = 32;
    constexpr double kDarkest = 0.1;
    constexpr double kBrightest = 1.1;
    for (int i = 0; i <= kSteps; ++i) {
        const double value = brightnessAt(powers, maxRadius * i / kSteps);
        if (!(value >= kDarkest && value <= kBrightest)) {
            return false;
        }
    }
    return brightnessAt(powers, maxRadius) < 1.0;
}

/// The coefficients stand in the opposite order of other makers', the highest power first. Nobody
/// has shown it on an image, so the numbers themselves must: read that way they are a fall-off, and
/// read the other way they are not.
void readVignetting(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    std::vector<double> powers = tags.xmpNumbers("Sentera", "VignettingPolynomial");
    const std::vector<double> center = tags.xmpNumbers("Sentera", "VignettingCenter");
    if (powers.empty() && center.empty()) {
        return;
    }
    const double maxRadius = 0.5 * std::hypot(static_cast<double>(exif.imageWidth),
                                              static_cast<double>(exif.imageHeight));
    const bool isPlausibleAsItStands = isFallOff(powers, maxRadius);
    std::reverse(powers.begin(), powers.end());
    if (powers.empty() || center.size() != 2 || isPlausibleAsItStands ||
        !isFallOff(powers, maxRadius)) {
        metadata.warnings.emplace_back(
            "The vignetting under the prefix Sentera is not understood: not corrected unless asked "
            "for with --type");
        exif.radiometricIndicator = 0;
        return;
    }
    exif.vignetting = radialBrightness(center, powers);
}

void readSentera(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    findUselessBands(exif);
    if (isThermal(exif.model)) {
        exif.isThermal = true;
        exif.sensitivity.clear();
        exif.sunIrradiance.clear();
        return;
    }
    if (!is6X(exif.model) || exif.bandCount != 1 || exif.pixelType != DataType::UInt16) {
        return;
    }
    readVignetting(tags, metadata);
    exif.storedRange = {0.0, 4095.0};
    exif.lightAveragingSeconds = 3.0;
}

} // namespace

const Dialect kSentera = {&matchesSentera, &readSentera, kUtcClock};

} // namespace tessik::exif
