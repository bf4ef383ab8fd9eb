#include "radiometry/calibrationTarget/TargetCalibration.h"

#include "calibrationTarget/Choice.h"
#include "core/Fail.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "platform/image/Raster.h"
#include "platform/log/Log.h"
#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include <QtCore/QStringList>
#include <boost/geometry/algorithms/covered_by.hpp>

#include <algorithm>
#include <cmath>
#include <exception>
#include <set>

namespace tessik::radiometry {
namespace {

using target::DetectedTarget;
using target::Detection;

Detection detect(const InputImage& image, const TargetCalibrationRequest& request) {
    Detection all;
    const BandImage raw = image::Raster::open(image.path.toStdString()).read();
    for (const auto& detector : request.detectors) {
        Detection found = detector->find(image, raw);
        all.remarks.insert(all.remarks.end(), found.remarks.begin(), found.remarks.end());
        all.targets.insert(all.targets.end(), found.targets.begin(), found.targets.end());
        if (!all.targets.empty() && !request.askEveryDetector) {
            break;
        }
    }
    return all;
}

bool isDefined(double reflectance) {
    return std::isfinite(reflectance) && reflectance != 0.0;
}

/// Takes over the values that are known.
void overwrite(const std::vector<double>& known, std::vector<double>& reflectance) {
    if (!known.empty() && known.size() != reflectance.size()) {
        fail("Reflectance of the target: ",
             known.size(),
             " values for ",
             reflectance.size(),
             " bands");
    }
    for (std::size_t b = 0; b < known.size(); ++b) {
        if (isDefined(known[b])) {
            reflectance[b] = known[b];
        }
    }
}

/// The reflectance of a target: one value a band, 0 where nothing is known.
std::vector<double> reflectanceOf(const DetectedTarget& found,
                                  const InputImage& image,
                                  const TargetCalibrationRequest& request) {
    const std::size_t bandCount = image.exif.bandCount;
    CalibrationTarget stored;
    stored.type = found.type;
    stored.id = found.id;
    stored.reflectanceFactors.assign(bandCount, 0.0);
    if (!found.id.isEmpty() && image.exif.bands.size() == bandCount) {
        updateCalibrationTargetReflectanceFromDb(image.exif.bands, stored);
    }
    overwrite(found.reflectance, stored.reflectanceFactors);
    if (request.knownReflectance) {
        overwrite(request.knownReflectance(image, found), stored.reflectanceFactors);
    }
    for (const std::size_t band : image.exif.uselessBands) {
        stored.reflectanceFactors[band] = 1.0;
    }
    return stored.reflectanceFactors;
}

ValueHistogram histogramOf(const BandMatrix& band,
                           const detail::RegionMeasurement& measurement,
                           const image::Ring& polygon) {
    std::vector<double> values;
    const image::Point corner = measurement.boundingRect.min_corner();
    for (Eigen::Index r = 0; r < band.rows(); ++r) {
        for (Eigen::Index c = 0; c < band.cols(); ++c) {
            const image::Point point(corner.x() + static_cast<int>(c),
                                     corner.y() + static_cast<int>(r));
            const float value = band(r, c);
            if (value != kNoData && std::isfinite(value) &&
                boost::geometry::covered_by(point, polygon)) {
                values.push_back(static_cast<double>(value));
            }
        }
    }
    ValueHistogram histogram;
    histogram.counts.resize(kTargetHistogramBins);
    if (values.empty()) {
        return histogram;
    }
    const auto [smallest, largest] = std::minmax_element(values.begin(), values.end());
    histogram.from = *smallest;
    histogram.to = *largest;
    const double width = (*largest - *smallest) / static_cast<double>(kTargetHistogramBins);
    for (const double value : values) {
        const double bin = width > 0.0 ? (value - *smallest) / width : 0.0;
        ++histogram.counts[std::min(static_cast<std::size_t>(bin), kTargetHistogramBins - 1)];
    }
    return histogram;
}

/// Fills in what can be measured. @throws error where the target cannot be used
void measure(const DetectedTarget& found,
             const InputImage& image,
             const TargetCalibrationRequest& request,
             MeasuredTarget& result) {
    CalibrationTarget& target = result.target;
    target.reflectanceFactors = reflectanceOf(found, image, request);
    const Settings& settings = request.settingsByCamera.at(image.cameraId);
    Eigen::ArrayXd sunlight;
    if (doSunAngleCorrection(settings.correctionType)) {
        for (const BandInfo& band : image.exif.bands) {
            if (request.directSunlightFraction.count(band) == 0) {
                fail("the fraction of direct sunlight is not known for each band");
            }
        }
        sunlight = getFractionOfDirectSunlight(request.directSunlightFraction, image.exif.bands);
    }
    const auto model = request.sequoiaModels.find(image.cameraId);
    detail::CalibrationTargetReader reader(image.path,
                                           result.imageIndex,
                                           found.region,
                                           request.cameras.at(image.cameraId),
                                           image.exif,
                                           image.geo,
                                           request.coordinateSystems.output);
    target.region = reader.polygon();
    const detail::RegionMeasurement measured =
        detail::measureRegion(reader,
                              target.reflectanceFactors,
                              sunlight,
                              settings,
                              request.coordinateSystems,
                              model == request.sequoiaModels.end() ? nullptr : &model->second);
    result.mean = measured.mean;
    result.standardDeviation = measured.stdDev;
    target.sensitivity = measured.sensitivity;
    for (std::size_t b = 0; b < measured.mean.size(); ++b) {
        result.invalidShare.push_back(measured.invalidShare(b));
        result.histogram.push_back(histogramOf(measured.corrected[b], measured, reader.polygon()));
    }
    detail::verifyMeasurement(measured);
    // Nobody looks at such a band, which may hold zeros.
    for (const std::size_t band : image.exif.uselessBands) {
        result.mean[band] = 1.0;
        result.standardDeviation[band] = 0.0;
        target.sensitivity[band] = 1.0;
    }
}

/// Images of one camera that differ in bands (grey and colour) have no sensitivity in common.
bool hasBandsOfOthers(const MeasuredTarget& target, const std::vector<MeasuredTarget>& others) {
    return std::all_of(others.begin(), others.end(), [&target](const MeasuredTarget& other) {
        return other.cameraId != target.cameraId || !other.isUsed ||
               other.mean.size() == target.mean.size();
    });
}

void warn(const std::string& text, TargetCalibration& result) {
    TESSIK_LOG(logging::kWarning) << text;
    result.warnings.push_back(text);
}

void examineImage(std::size_t index,
                  const TargetCalibrationRequest& request,
                  TargetCalibration& result) {
    InputImage image = request.images[index];
    TargetCandidate candidate;
    candidate.imageIndex = index;
    Detection detection;
    try {
        if (request.prepare) {
            request.prepare(image);
        }
        detection = detect(image, request);
    } catch (const std::exception& failure) {
        candidate.failure = QString::fromUtf8(failure.what());
    }
    candidate.targetCount = detection.targets.size();
    candidate.remarks = std::move(detection.remarks);
    result.candidates.push_back(std::move(candidate));
    for (const DetectedTarget& found : detection.targets) {
        MeasuredTarget target;
        target.imageIndex = index;
        target.imagePath = image.path;
        target.cameraId = image.cameraId;
        target.detector = found.detector;
        target.code = found.code;
        target.target.type = found.type;
        target.target.id = found.id;
        target.target.region = found.region;
        try {
            measure(found, image, request, target);
            const std::string warning = detail::decideUse(target);
            if (!warning.empty()) {
                warn(warning, result);
            }
            if (!hasBandsOfOthers(target, result.targets)) {
                fail("another number of bands than other targets of the camera");
            }
        } catch (const std::exception& failure) {
            target.isUsed = false;
            target.remark = QString::fromUtf8(failure.what());
        }
        result.targets.push_back(std::move(target));
    }
}

void report(std::uint64_t id, const QString& name, const TargetCalibration& result) {
    QStringList images;
    bool hasTarget = false;
    for (const MeasuredTarget& target : result.targets) {
        hasTarget = hasTarget || target.cameraId == id;
        if (target.cameraId == id && target.isUsed && !images.contains(target.imagePath)) {
            images << target.imagePath;
        }
    }
    if (!images.empty()) {
        TESSIK_LOG(logging::kInfo) << "Automatic radiometric calibration of camera '" << name
                                   << "' using '" << images.join(QStringLiteral("', '")) << "'";
        return;
    }
    // Most flights have no target, and nobody misses it; one that cannot be used is another matter.
    TESSIK_LOG(hasTarget ? logging::kWarning : logging::kInfo)
        << "No valid radiometric calibration target for camera '" << name << "'";
}

} // namespace

std::vector<std::size_t> targetCandidates(const TargetCalibrationRequest& request) {
    std::set<std::size_t> indices;
    for (const auto& [camera, ends] :
         detail::findFirstAndLastImagesPerSensor(request.images, request.imagesPerEnd)) {
        indices.insert(ends.begin(), ends.end());
    }
    for (std::size_t i = 0; i < request.images.size(); ++i) {
        const InputImage& image = request.images[i];
        if (image.enabled && (request.useAllImages || image.exif.recordedTarget.isTarget)) {
            indices.insert(i);
        }
    }
    std::vector<std::size_t> candidates;
    for (const std::size_t i : indices) {
        const std::uint64_t camera = request.images[i].cameraId;
        if (request.cameras.count(camera) != 0 && request.settingsByCamera.count(camera) != 0) {
            candidates.push_back(i);
        }
    }
    return candidates;
}

TargetCalibration findTargets(const TargetCalibrationRequest& request) {
    TargetCalibration result;
    for (const std::size_t index : targetCandidates(request)) {
        examineImage(index, request, result);
    }
    return result;
}

void chooseSensitivities(const CamerasData& cameras, TargetCalibration& result) {
    for (const auto& [id, camera] : cameras) {
        std::vector<std::string> warnings;
        result.cameras[id] = detail::choose(id, camera.uniqueName, result.targets, warnings);
        for (const std::string& text : warnings) {
            warn(text, result);
        }
        report(id, camera.uniqueName, result);
    }
}

TargetCalibration calibrateFromTargets(const TargetCalibrationRequest& request) {
    TargetCalibration result = findTargets(request);
    chooseSensitivities(request.cameras, result);
    return result;
}

} // namespace tessik::radiometry
