#include "platform/exif/ExifReader.h"

#include "platform/exif/cameras/CaptureTime.h"
#include "platform/exif/cameras/Dialects.h"
#include "platform/text/Hash.h"
#include "platform/text/Text.h"

#include <algorithm>
#include <utility>

namespace tessik::exif {
namespace {

QString joined(const std::vector<QString>& names) {
    QString text;
    for (const QString& name : names) {
        text += (text.isEmpty() ? "" : ", ") + name;
    }
    return text;
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

std::uint64_t cameraId(const ExifInfo& exif) {
    QString text = text::compose(exif.make,
                                 "|",
                                 exif.model,
                                 "|",
                                 exif.serialNumber,
                                 "|",
                                 exif.rigName,
                                 "|",
                                 exif.rigCameraIndex.value_or(-1),
                                 "|",
                                 joined(exif.bandNames),
                                 "|",
                                 exif.imageWidth,
                                 "x",
                                 exif.imageHeight,
                                 "x",
                                 exif.bandCount);
    for (const BandInfo& band : exif.bands) {
        text += text::compose("|", band.wavelengthNm, "_", band.fwhmNm);
    }
    return text::hash(text.toStdString());
}

QString cameraName(const ExifInfo& exif) {
    QString name = exif.make;
    const auto append = [&name](const QString& part) {
        if (!part.isEmpty()) {
            name += (name.isEmpty() ? "" : " ") + part;
        }
    };
    append(exif.model);
    append(joined(exif.bandNames));
    if (!exif.serialNumber.isEmpty()) {
        append("(" + exif.serialNumber + ")");
    }
    return name.isEmpty() ? QStringLiteral("unknown camera") : name;
}

CameraParams cameraParams(const ExifInfo& exif) {
    CameraParams params;
    params.width = exif.imageWidth;
    params.height = exif.imageHeight;
    const Eigen::Vector2d point = exif.principalPoint.value_or(
        Eigen::Vector2d(0.5 * (static_cast<double>(exif.imageWidth) - 1.0),
                        0.5 * (static_cast<double>(exif.imageHeight) - 1.0)));
    params.principalPointX = point.x();
    params.principalPointY = point.y();
    params.vignetting = exif.vignetting;
    params.storedRange = exif.storedRange;
    params.clipLine = exif.clipLine;
    return params;
}

InputImage inputImage(const std::string& path, ImageMetadata metadata) {
    InputImage image;
    image.path = QString::fromStdString(path);
    image.exif = std::move(metadata.exif);
    image.geo = metadata.geo;
    image.cameraId = cameraId(image.exif);
    return image;
}

} // namespace tessik::exif
