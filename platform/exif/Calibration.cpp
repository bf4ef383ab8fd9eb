#include "platform/exif/Calibration.h"

#include <algorithm>

namespace tessik::exif {
namespace {

bool hasVignetting(const ExifInfo& exif) {
    return exif.vignetting.coefficients.size() > 0;
}

bool hasShutterModel(const ExifInfo& exif) {
    return micasense::hasValid3kModel(exif.micaSense3kModel);
}

/// Of the calibration, what an image lacks and a donor has.
struct Gaps {
    bool sensitivity;
    bool vignetting;
    bool shutter;

    [[nodiscard]] bool any() const { return sensitivity || vignetting || shutter; }
};

Gaps gapsOf(const ExifInfo& exif) {
    return {exif.sensitivity.empty(),
            !hasVignetting(exif),
            micasense::isMicaSense(exif) && !hasShutterModel(exif)};
}

bool isOfSameBand(const ExifInfo& a, const ExifInfo& b) {
    return !a.serialNumber.isEmpty() && a.serialNumber == b.serialNumber &&
           a.make.compare(b.make, Qt::CaseInsensitive) == 0 && !a.bands.empty() &&
           a.bands == b.bands && a.imageWidth == b.imageWidth && a.imageHeight == b.imageHeight;
}

} // namespace

void borrowCalibration(const CalibrationDonors& donors, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    const Gaps gaps = gapsOf(exif);
    if (donors.empty() || !gaps.any() || exif.isThermal || exif.isNormalized) {
        return;
    }
    const auto donor = std::find_if(donors.begin(), donors.end(), [&exif](const auto& candidate) {
        return isOfSameBand(candidate.exif, exif);
    });
    if (donor == donors.end()) {
        metadata.warnings.emplace_back(
            "The metadata lack calibration tags, and no image of --calibration-from is of the same "
            "body and band (serial number, wavelength and image size)");
        return;
    }
    std::string taken;
    const auto take = [&taken](bool isDue, const char* name) {
        if (isDue) {
            taken.append(taken.empty() ? "" : ", ").append(name);
        }
        return isDue;
    };
    if (take(gaps.sensitivity, "sensitivity")) {
        exif.sensitivity = donor->exif.sensitivity;
    }
    if (take(gaps.vignetting, "vignetting")) {
        exif.vignetting = donor->exif.vignetting;
    }
    if (take(gaps.shutter && hasShutterModel(donor->exif), "radiance calibration")) {
        exif.micaSense3kModel = donor->exif.micaSense3kModel;
    }
    if (!taken.empty()) {
        metadata.warnings.push_back("Calibration tags (" + taken + ") are taken from " +
                                    donor->path);
    }
}

} // namespace tessik::exif
