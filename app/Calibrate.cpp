#include "Calibrate.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "FlightTargets.h"
#include "ImageCorrector.h"
#include "KnownReflectance.h"
#include "RigTargets.h"
#include "SensitivityFile.h"
#include "TargetPictures.h"
#include "platform/exif/Tags.h"
#include "platform/panel/Detectors.h"
#include "platform/text/Text.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"
#include "radiometry/config/MakerSensitivity.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace tessik::app {
namespace {

using radiometry::CameraCalibration;
using radiometry::MeasuredTarget;
using radiometry::TargetCalibration;
using Detectors = std::vector<std::unique_ptr<target::ITargetDetector>>;

/// The region that the user states, in every image.
class StatedRegion final : public target::ITargetDetector {
public:
    explicit StatedRegion(const CalibrateOptions& options) {
        m_target.detector = QStringLiteral("stated region");
        m_target.region = options.region;
        if (options.target) {
            m_target.type = options.target->type;
            m_target.id = options.target->id;
        }
    }

    /// @throws std::runtime_error when it leaves the image
    [[nodiscard]] target::Detection find(const InputImage& /*image*/,
                                         const BandImage& raw) const override {
        const Eigen::Index width = raw.front().cols();
        const Eigen::Index height = raw.front().rows();
        for (const image::Point& corner : m_target.region) {
            if (corner.x() < 0 || corner.y() < 0 || corner.x() >= width || corner.y() >= height) {
                throw std::runtime_error(text::compose("--region: the corner ",
                                                       corner.x(),
                                                       ",",
                                                       corner.y(),
                                                       " does not lie in the image of ",
                                                       static_cast<qint64>(width),
                                                       " x ",
                                                       static_cast<qint64>(height),
                                                       " pixels")
                                             .toStdString());
            }
        }
        return {{m_target}, {}};
    }

private:
    target::DetectedTarget m_target;
};

TargetCalibration
measure(const Flight& flight, const Project& project, const CalibrateOptions& options) {
    Detectors stated;
    if (!options.region.empty()) {
        stated.push_back(std::make_unique<StatedRegion>(options));
    }
    const KnownReflectance known(options);
    known.verify(flight.images);
    RigTargetOptions how;
    how.useAllImages = true;
    how.mayBePartial = true;
    how.jobs = options.jobs;
    how.knownReflectance = [&known](const InputImage& image, const target::DetectedTarget& found) {
        return known.of(image, found);
    };
    return calibrateRigs(
        flight, project, options.region.empty() ? target::targetDetectors() : stated, how);
}

/// The reflectance that a panel has by the maker's constant, where there is one.
std::optional<double> makersReflectance(const InputImage& image,
                                        std::size_t band,
                                        double mean,
                                        radiometry::CorrectionType type) {
    const std::vector<double> sensitivity = radiometry::makerSensitivity(image.exif, type);
    return band < sensitivity.size() ? std::optional(mean / sensitivity[band]) : std::nullopt;
}

void print(const MeasuredTarget& found, const InputImage& image, radiometry::CorrectionType type) {
    const radiometry::CalibrationTarget& target = found.target;
    const std::string name =
        target.id.isEmpty() ? "" : " " + TargetName{target.type, target.id}.text();
    show("  %s: %s%s%s%s\n",
         found.imagePath.toUtf8().data(),
         found.detector.toUtf8().data(),
         name.c_str(),
         found.isUsed ? "" : ", not used: ",
         found.isUsed ? "" : found.remark.toUtf8().data());
    for (std::size_t b = 0; b < found.mean.size(); ++b) {
        if (!(found.mean[b] > 0.0)) {
            continue; // no pixel is valid: the remark says so
        }
        const auto makers = makersReflectance(image, b, found.mean[b], type);
        show("    %-10s reflectance %6.4f  mean %10.5g  spread %5.2f %%  invalid %5.2f %%  "
             "sensitivity %10.6g%s\n",
             bandName(image, b).c_str(),
             target.reflectanceFactors[b],
             found.mean[b],
             100.0 * found.standardDeviation[b] / found.mean[b],
             100.0 * found.invalidShare[b],
             target.sensitivity[b],
             makers ? ("  (by the maker's constant: reflectance " +
                       QString::number(*makers, 'f', 4).toStdString() + ")")
                          .c_str()
                    : "");
    }
}

void print(const TargetCalibration& result, const Flight& flight, const Project& project) {
    for (const auto& [id, camera] : result.cameras) {
        const radiometry::CorrectionType type = project.settings.at(id).correctionType;
        show("%s, %s\n", flight.cameras.at(id).uniqueName.toUtf8().data(), wordOf(type).c_str());
        for (const MeasuredTarget& target : result.targets) {
            if (target.cameraId == id) {
                print(target, flight.images[target.imageIndex], type);
            }
        }
        if (camera.sensitivity.empty()) {
            show("  no sensitivity\n");
            continue;
        }
        show("  sensitivity");
        for (const double value : camera.sensitivity) {
            show(" %.17g", value);
        }
        show(", %s", camera.source.toUtf8().data());
        show(camera.disagreement > 0.0 ? ", they differ by %.1f %%\n" : "\n",
             100.0 * camera.disagreement);
    }
}

/// A line for each image that gave no target. @return how many there are
std::size_t sayFailures(const TargetCalibration& result, const Flight& flight) {
    std::size_t count = 0;
    for (const radiometry::TargetCandidate& candidate : result.candidates) {
        const std::string path = flight.images[candidate.imageIndex].path.toStdString();
        for (const std::string& remark : candidate.remarks) {
            sayWarning(path, remark);
        }
        std::string reason = candidate.failure.toStdString();
        if (reason.empty() && candidate.targetCount == 0) {
            reason = "no target was found; --region says where it is";
        }
        bool isUsed = false;
        for (const MeasuredTarget& target : result.targets) {
            if (target.imageIndex == candidate.imageIndex) {
                isUsed = isUsed || target.isUsed;
                reason = target.isUsed ? reason : "target not used: " + target.remark.toStdString();
            }
        }
        if (!isUsed) {
            sayFailure(path, reason);
            ++count;
        }
    }
    return count;
}

SensitivityFile
sensitivityFile(const TargetCalibration& result, const Flight& flight, const Project& project) {
    SensitivityFile file;
    for (const auto& [id, camera] : result.cameras) {
        if (camera.sensitivity.empty()) {
            continue;
        }
        CameraSensitivity entry;
        entry.cameraId = id;
        entry.name = flight.cameras.at(id).uniqueName.toStdString();
        entry.type = project.settings.at(id).correctionType;
        entry.sensitivity = camera.sensitivity;
        entry.source = camera.source.toStdString();
        for (const MeasuredTarget& target : result.targets) {
            if (target.cameraId == id) {
                entry.targets.push_back({target, {}});
            }
        }
        file.cameras.push_back(std::move(entry));
    }
    return file;
}

} // namespace

std::optional<BandReflectance> parseBandReflectance(const std::string& text) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0) {
        return std::nullopt;
    }
    const auto value = parseReflectance(text.substr(equals + 1));
    return value ? std::optional(BandReflectance(text.substr(0, equals), *value)) : std::nullopt;
}

image::Ring parseRegion(const std::string& text) {
    image::Ring ring;
    std::istringstream corners(text);
    for (std::string corner; corners >> corner;) {
        const std::vector<double> position = exif::parseNumbers({corner});
        if (position.size() != 2 || !(std::abs(position[0]) < 1e9) ||
            !(std::abs(position[1]) < 1e9)) {
            return {};
        }
        ring.emplace_back(static_cast<int>(std::lround(position[0])),
                          static_cast<int>(std::lround(position[1])));
    }
    if (ring.size() < 3) {
        return {};
    }
    ring.push_back(ring.front());
    return ring;
}

int calibrate(const CalibrateOptions& options) {
    Flight flight = readFlight(expandInputs(options.inputs), options.metadata, options.jobs);
    std::size_t failed = sayFailures(flight);
    const Project project = makeProject(flight, options.project, options.metadata, options.jobs);
    const TargetCalibration result = measure(flight, project, options);
    print(result, flight, project);
    failed += sayFailures(result, flight);
    SensitivityFile file = sensitivityFile(result, flight, project);
    if (!options.pictures.empty()) {
        for (CameraSensitivity& camera : file.cameras) {
            drawTargets(options.pictures, {}, camera.targets);
        }
    }
    if (file.cameras.empty()) {
        return NothingDone;
    }
    if (!options.output.empty()) {
        writeSensitivityFile(options.output.string(), file);
    }
    return failed == 0 ? AllDone : SomeFailed;
}

} // namespace tessik::app
