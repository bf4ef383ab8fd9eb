#include "platform/exif/ExifReader.h"

#include "platform/exif/cameras/CaptureTime.h"
#include "platform/exif/cameras/Dialects.h"

#include <algorithm>
#include <utility>

namespace tessik::exif {
namespace {

bool hasVignetting(const ExifInfo& exif) {
    return exif.vignetting.coefficients.size() > 0;
}

bool hasShutterModel(const ExifInfo& exif) {
    return micasense::hasValid3kModel(exif.micaSense3kModel);
}

/// What an image lacks of the calibration.
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

CalibrationDonor readDonor(const std::string& path) {
    const auto refuse = [&path](const char* reason) {
        throw Error(path + ": its calibration cannot be used: " + reason);
    };
    CalibrationDonor donor{path, {}};
    try {
        donor.exif = readMetadata(path).exif;
    } catch (const Error& failure) {
        refuse(failure.what());
    }
    if (donor.exif.serialNumber.isEmpty() || donor.exif.bands.empty()) {
        refuse("it states no serial number or no wavelength, by which body and band are known");
    }
    if (donor.exif.isNormalized || donor.exif.sensitivity.empty() || !hasVignetting(donor.exif)) {
        refuse("it states no sensitivity or no vignetting itself");
    }
    return donor;
}

} // namespace

ImageMetadata readMetadata(const std::string& path, const ReadOptions& options) {
    return interpret(readTags(path), options);
}

ImageMetadata interpret(const TagFile& file, const ReadOptions& options) {
    const std::vector<Dialect>& known = dialects();
    const auto dialect = std::find_if(known.begin(), known.end(), [&](const Dialect& candidate) {
        return candidate.matches(file.tags);
    });
    ImageMetadata metadata;
    metadata.warnings = file.warnings;
    metadata.raw = file.raw;
    readCommon(file, metadata);
    readCaptureTime(
        file.tags, dialect == known.end() ? kLocalClock : dialect->clock, options, metadata);
    // What a corrected image keeps of the maker's tags no longer describes its pixels.
    if (dialect != known.end() && !metadata.exif.isNormalized) {
        dialect->read(file.tags, metadata);
    }
    if (options.donors) {
        borrowCalibration(*options.donors, metadata);
    }
    return metadata;
}

InputImage inputImage(const std::string& path, ImageMetadata metadata) {
    InputImage image;
    image.path = QString::fromStdString(path);
    image.exif = std::move(metadata.exif);
    image.geo = metadata.geo;
    image.cameraId = cameraId(image.exif);
    return image;
}

CalibrationDonors readDonors(const std::vector<std::string>& paths) {
    CalibrationDonors donors;
    donors.reserve(paths.size());
    for (const std::string& path : paths) {
        donors.push_back(readDonor(path));
    }
    return donors;
}

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
