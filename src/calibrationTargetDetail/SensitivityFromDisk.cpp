#include "core/Fail.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/log/Log.h"
#include "radiometry/Correct.h"
#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"
#include "radiometry/core/Consistency.h"

#include <algorithm>
#include <cmath>

namespace tessik::radiometry::detail {
namespace {

constexpr double kUndefinedReflectance = 0.0001;
constexpr std::int64_t kMinPixels = 3;

auto asRow(const std::vector<double>& values) {
    return Eigen::Map<const Eigen::RowVectorXd>(values.data(),
                                                static_cast<Eigen::Index>(values.size()));
}

void verifyDefined(const std::vector<double>& reflectanceFactors) {
    for (const double factor : reflectanceFactors) {
        if (!std::isfinite(factor) || std::abs(factor) <= kUndefinedReflectance) {
            fail("Some reflectance factors are undefined.");
        }
    }
}

/// The rolling-shutter model counts rows from the first one of what it is given, and bad pixels are
/// positions in it: such images are right only when they are corrected whole.
bool mustBeCorrectedWhole(const ExifInfo& exif) {
    const bool hasRowExposure =
        micasense::isMicaSense(exif) && micasense::hasValid3kModel(exif.micaSense3kModel);
    return hasRowExposure || std::any_of(exif.badPixels.begin(),
                                         exif.badPixels.end(),
                                         [](const auto& list) { return !list.empty(); });
}

InputImage imageOf(const CalibrationTargetReader& reader) {
    InputImage image;
    image.path = reader.imagePath();
    image.exif = reader.exif();
    image.geo = reader.geo();
    image.cameraId = exif::cameraId(image.exif);
    return image;
}

void cutOut(const image::Box& box, BandImage& bands) {
    for (BandMatrix& band : bands) {
        band = image::blockOf(box, band);
    }
}

} // namespace

RegionMeasurement measureRegion(CalibrationTargetReader& reader,
                                const std::vector<double>& reflectanceFactors,
                                const Eigen::ArrayXd& directSunlightFraction,
                                const Settings& settings,
                                const geo::ProjectCoordinateSystems& coordinateSystems,
                                const sequoia::ModelParameter* sequoiaModel) {
    verifyDefined(reflectanceFactors);
    TESSIK_LOG(logging::kInfo) << "Disk calibration for " << reader.camera().uniqueName << " using "
                               << reader.imagePath();
    TESSIK_LOG(logging::kInfo) << "Reflectance factor " << asRow(reflectanceFactors);

    const bool isWhole = mustBeCorrectedWhole(reader.exif());
    BandImage bands = isWhole ? reader.loadWholeImage() : reader.loadReflectImageBlock();
    verifyConsistentNumberOfBands(
        reflectanceFactors.size(), bands.size(), QStringLiteral("Reflectance factors"));
    const GlobalShutter pose = doSunAngleCorrection(settings.correctionType)
                                   ? horizontalCameraAtGpsPosition(reader.geo(), coordinateSystems)
                                   : GlobalShutter();

    RegionMeasurement measurement;
    const image::Box box = reader.boundingRect();
    const Eigen::Vector2i offset(box.min_corner().x(), box.min_corner().y());
    correct(imageOf(reader),
            reader.camera().params,
            pose,
            {},
            directSunlightFraction,
            settings,
            coordinateSystems,
            sequoiaModel,
            bands,
            isWhole ? Eigen::Vector2i(0, 0) : offset);
    if (isWhole) {
        cutOut(box, bands);
    }
    for (std::size_t b = 0; b < bands.size(); ++b) {
        const image::RegionStats stats = image::statsForRegion(bands[b], box, reader.polygon());
        measurement.mean.push_back(stats.mean);
        measurement.stdDev.push_back(stats.stdDev);
        measurement.validCount.push_back(stats.validCount);
        measurement.pixelCount.push_back(stats.pixelCount);
        measurement.sensitivity.push_back(stats.mean / reflectanceFactors[b]);
    }
    measurement.corrected = std::move(bands);
    measurement.boundingRect = box;
    return measurement;
}

void verifyMeasurement(const RegionMeasurement& measurement) {
    for (std::size_t b = 0; b < measurement.mean.size(); ++b) {
        const std::int64_t valid = measurement.validCount[b];
        const std::int64_t pixels = measurement.pixelCount[b];
        if (valid < kMinPixels) {
            fail("Not enough valid pixels for band ", b);
        }
        // This is compared in integers: 1 - 95 / 100 is more than 0.05.
        if (20 * (pixels - valid) > pixels) {
            fail("Too many invalid pixels (",
                 100.0 * measurement.invalidShare(b),
                 "% > 5%) for band ",
                 b);
        }
    }
    TESSIK_LOG(logging::kInfo) << "Mean corrected pixel value " << asRow(measurement.mean)
                               << ", std dev " << asRow(measurement.stdDev) << ", sensitivity "
                               << asRow(measurement.sensitivity);
}

std::vector<double> sensitivityFromDisk(CalibrationTargetReader& reader,
                                        const std::vector<double>& reflectanceFactors,
                                        const Eigen::ArrayXd& directSunlightFraction,
                                        const Settings& settings,
                                        const geo::ProjectCoordinateSystems& coordinateSystems,
                                        const sequoia::ModelParameter* sequoiaModel) {
    const RegionMeasurement measurement = measureRegion(reader,
                                                        reflectanceFactors,
                                                        directSunlightFraction,
                                                        settings,
                                                        coordinateSystems,
                                                        sequoiaModel);
    verifyMeasurement(measurement);
    return measurement.sensitivity;
}

} // namespace tessik::radiometry::detail
