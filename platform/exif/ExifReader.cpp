#include "platform/exif/ExifReader.h"

#include "platform/exif/Calibration.h"
#include "platform/exif/cameras/CaptureTime.h"
#include "platform/exif/cameras/Dialects.h"
#include "platform/text/Hash.h"
#include "platform/text/Text.h"

#include <algorithm>
#include <utility>

namespace tessik::exif {
namespace {

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
    if (donor.exif.isNormalized || donor.exif.sensitivity.empty() ||
        donor.exif.vignetting.coefficients.size() == 0) {
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

} // namespace tessik::exif
