#include "flight/target/RigTargets.h"

#include "flight/Parallel.h"
#include "flight/input/Pixels.h"
#include "platform/image/Raster.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

namespace tessik::flight {
namespace {

using radiometry::MeasuredTarget;
using radiometry::TargetCalibration;

void append(TargetCalibration part, TargetCalibration& all) {
    std::move(part.candidates.begin(), part.candidates.end(), std::back_inserter(all.candidates));
    std::move(part.targets.begin(), part.targets.end(), std::back_inserter(all.targets));
    std::move(part.warnings.begin(), part.warnings.end(), std::back_inserter(all.warnings));
}

/// Runs work(i) for i from 0 to count - 1 and joins the results, and what the library warns of, in
/// order.
template <typename Work>
TargetCalibration
inOrder(std::size_t count, int jobs, Observer& observer, Warnings& warnings, const Work& work) {
    std::vector<TargetCalibration> parts(count);
    std::vector<std::vector<Warning>> warned(count);
    inParallel(count, jobs, [&](std::size_t i) {
        Warnings own(observer);
        const Listening listening(observer, own);
        parts[i] = work(i);
        warned[i] = own.list();
    });
    TargetCalibration all;
    for (std::size_t i = 0; i < count; ++i) {
        append(std::move(parts[i]), all);
        warnings.join(warned[i]);
    }
    return all;
}

/// A request for the calibration of a flight, which refers to its arguments. Images are completed
/// from their pixels, and refused where they must not be corrected.
/// @param settings of the cameras that are to be calibrated
radiometry::TargetCalibrationRequest targetRequest(const Flight& flight,
                                                   const Project& project,
                                                   const SettingsByCamera& settings,
                                                   const Detectors& detectors) {
    radiometry::TargetCalibrationRequest request{flight.images,
                                                 flight.cameras,
                                                 project.coordinateSystems,
                                                 settings,
                                                 project.sunlight.fractions,
                                                 project.sequoiaModels,
                                                 detectors};
    request.prepare = [&project](InputImage& image) {
        (void)openPixels(image);
        project.check(image);
        if (doSunAngleCorrection(project.typeOf(image)) && !project.sunlightFailure.empty()) {
            throw Refusal(project.sunlightFailure);
        }
    };
    return request;
}

/// What found it, without what only concerns one image.
std::string detectorOf(const MeasuredTarget& target) {
    const std::string text = target.detector.toStdString();
    return text.substr(0, text.find(','));
}

/// Looks in one band of a capture for the targets that another band of it shows.
class NearSibling final : public target::ITargetDetector {
public:
    /// All must outlive this.
    NearSibling(const InputImage& sibling, const Detectors& detectors)
        : m_sibling(sibling), m_detectors(detectors) {}

    [[nodiscard]] target::Detection find(const InputImage& image,
                                         const BandImage& raw) const override {
        const BandImage seen = image::Raster::open(m_sibling.path.toStdString()).read();
        target::Detection all;
        for (const auto& detector : m_detectors) {
            for (const target::DetectedTarget& target : detector->find(m_sibling, seen).targets) {
                target::Detection found =
                    detector->findLike(image, raw, {target, seen, bandNames(m_sibling)});
                std::move(
                    found.targets.begin(), found.targets.end(), std::back_inserter(all.targets));
                std::move(
                    found.remarks.begin(), found.remarks.end(), std::back_inserter(all.remarks));
            }
        }
        return all;
    }

private:
    static QString bandNames(const InputImage& image) {
        return image.exif.bandNames.empty() ? exif::cameraName(image.exif)
                                            : image.exif.bandNames.front();
    }

    const InputImage& m_sibling;
    const Detectors& m_detectors;
};

/// An image in which no code was read, and one of another band of the capture in which one was.
struct Lack {
    std::size_t image;
    std::size_t sibling;
};

std::vector<Lack> lacksOf(const Flight& flight, const TargetCalibration& all) {
    std::set<std::size_t> withCode;
    std::map<std::string, std::size_t> readIn; // by capture
    for (const MeasuredTarget& target : all.targets) {
        if (!target.code.empty()) {
            withCode.insert(target.imageIndex);
            if (target.isUsed) {
                readIn.emplace(captureOf(flight.images[target.imageIndex]), target.imageIndex);
            }
        }
    }
    readIn.erase("");
    std::vector<Lack> lacks;
    for (const radiometry::TargetCandidate& candidate : all.candidates) {
        const auto sibling = readIn.find(captureOf(flight.images[candidate.imageIndex]));
        if (sibling != readIn.end() && candidate.failure.isEmpty() &&
            withCode.count(candidate.imageIndex) == 0) {
            lacks.push_back({candidate.imageIndex, sibling->second});
        }
    }
    return lacks;
}

/// Targets of one rig, by capture and camera; indices into the calibration's list.
using TargetsOfCapture = std::map<std::uint64_t, std::vector<std::size_t>>;
using TargetsOfRig = std::map<std::string, TargetsOfCapture>;

bool isIn(const Rig& rig, std::uint64_t camera) {
    return std::binary_search(rig.begin(), rig.end(), camera);
}

TargetsOfRig usableTargetsOf(const Rig& rig, const Flight& flight, const TargetCalibration& all) {
    TargetsOfRig targets;
    for (std::size_t i = 0; i < all.targets.size(); ++i) {
        const MeasuredTarget& target = all.targets[i];
        if (target.isUsed && isIn(rig, target.cameraId)) {
            targets[captureOf(flight.images[target.imageIndex])][target.cameraId].push_back(i);
        }
    }
    return targets;
}

/// The first of a camera's targets that a detector found; null = no target.
const std::size_t* foundBy(const std::string& detector,
                           const std::vector<std::size_t>& targets,
                           const TargetCalibration& all) {
    const auto found = std::find_if(targets.begin(), targets.end(), [&](std::size_t i) {
        return detectorOf(all.targets[i]) == detector;
    });
    return found == targets.end() ? nullptr : &*found;
}

/// All bands of the rig have a target in the capture that this detector found.
bool serves(const std::string& detector,
            const Rig& rig,
            const TargetsOfCapture& capture,
            const TargetCalibration& all) {
    return std::all_of(rig.begin(), rig.end(), [&](std::uint64_t camera) {
        const auto targets = capture.find(camera);
        return targets != capture.end() && foundBy(detector, targets->second, all) != nullptr;
    });
}

/// Detectors that found something, the one that serves most captures first; of equals, the one that
/// was asked first.
std::vector<std::string>
detectorsByUse(const Rig& rig, const TargetsOfRig& targets, const TargetCalibration& all) {
    std::vector<std::string> detectors;
    std::map<std::string, std::size_t> served;
    for (const MeasuredTarget& target : all.targets) {
        const std::string detector = detectorOf(target);
        if (served.try_emplace(detector, 0).second) {
            detectors.push_back(detector);
        }
    }
    for (auto& [detector, count] : served) {
        for (const auto& [capture, found] : targets) {
            count += serves(detector, rig, found, all) ? 1 : 0;
        }
    }
    std::stable_sort(detectors.begin(), detectors.end(), [&](const auto& a, const auto& b) {
        return served.at(a) > served.at(b);
    });
    return detectors;
}

/// Bands of a rig without a usable target in a capture, and why.
std::string lackingBands(const Rig& rig,
                         const std::string& capture,
                         const TargetsOfCapture& found,
                         const Flight& flight,
                         const TargetCalibration& all) {
    std::string text;
    for (const std::uint64_t camera : rig) {
        if (found.count(camera) > 0) {
            continue;
        }
        std::string reason = "no image of it was looked at";
        for (const radiometry::TargetCandidate& candidate : all.candidates) {
            const InputImage& image = flight.images[candidate.imageIndex];
            if (image.cameraId == camera && captureOf(image) == capture) {
                reason = candidate.failure.isEmpty() ? "no target was found"
                                                     : candidate.failure.toStdString();
            }
        }
        for (const MeasuredTarget& target : all.targets) {
            if (target.cameraId == camera && !target.remark.isEmpty() &&
                captureOf(flight.images[target.imageIndex]) == capture) {
                reason = target.remark.toStdString();
            }
        }
        text += (text.empty() ? "" : "; ") + flight.cameras.at(camera).uniqueName.toStdString() +
                ": " + reason;
    }
    return text;
}

/// Leaves isUsed with the targets that the rule chooses.
class RigChoice {
public:
    RigChoice(const Rig& rig, const Flight& flight, TargetCalibration& all, Warnings& warnings)
        : m_rig(rig), m_flight(flight), m_all(all), m_warnings(warnings),
          m_targets(usableTargetsOf(rig, flight, all)),
          m_detectors(detectorsByUse(rig, m_targets, all)) {}

    void choose(bool mayBePartial) {
        std::set<std::size_t> chosen;
        std::set<std::string> detectors;
        for (const auto& [capture, found] : m_targets) {
            for (const std::size_t i : completeSet(capture, found)) {
                chosen.insert(i);
                detectors.insert(detectorOf(m_all.targets[i]));
            }
        }
        if (chosen.empty() && mayBePartial) {
            for (const auto& [capture, found] : m_targets) {
                for (const auto& [camera, targets] : found) {
                    chosen.insert(preferred(targets));
                }
            }
        }
        if (detectors.size() > 1) {
            m_warnings.add(
                {},
                "the panels of one rig were found in different ways, because no way finds them "
                "in all bands and captures: their squares differ in size");
        }
        keepOnly(chosen);
    }

private:
    /// One target a band, of one detector if possible; empty where a band has no target.
    [[nodiscard]] std::vector<std::size_t> completeSet(const std::string& capture,
                                                       const TargetsOfCapture& found) {
        std::vector<std::size_t> targets;
        const auto detector =
            std::find_if(m_detectors.begin(), m_detectors.end(), [&](const std::string& candidate) {
                return serves(candidate, m_rig, found, m_all);
            });
        if (detector == m_detectors.end() && found.size() < m_rig.size()) {
            m_warnings.add(
                {},
                "a panel is not used, because not every band of its capture shows it usably (" +
                    lackingBands(m_rig, capture, found, m_flight, m_all) +
                    "): the bands of a rig have one source, so that their ratios are right");
            return targets;
        }
        for (const auto& [camera, list] : found) {
            targets.push_back(detector == m_detectors.end() ? preferred(list)
                                                            : *foundBy(*detector, list, m_all));
        }
        return targets;
    }

    [[nodiscard]] std::size_t preferred(const std::vector<std::size_t>& targets) const {
        for (const std::string& detector : m_detectors) {
            if (const std::size_t* target = foundBy(detector, targets, m_all)) {
                return *target;
            }
        }
        return targets.front();
    }

    /// Of the others, those stay in the list that concern an image from which nothing was chosen.
    void keepOnly(const std::set<std::size_t>& chosen) {
        std::set<std::size_t> images;
        for (const std::size_t i : chosen) {
            images.insert(m_all.targets[i].imageIndex);
        }
        std::vector<MeasuredTarget> kept;
        for (std::size_t i = 0; i < m_all.targets.size(); ++i) {
            MeasuredTarget& target = m_all.targets[i];
            const bool isOurs = isIn(m_rig, target.cameraId);
            if (isOurs && chosen.count(i) == 0) {
                if (images.count(target.imageIndex) > 0) {
                    continue;
                }
                if (target.isUsed) {
                    target.isUsed = false;
                    target.remark =
                        QStringLiteral("another band of the capture has no usable target");
                }
            }
            kept.push_back(std::move(target));
        }
        m_all.targets = std::move(kept);
    }

    const Rig& m_rig;
    const Flight& m_flight;
    TargetCalibration& m_all;
    Warnings& m_warnings;
    TargetsOfRig m_targets;
    std::vector<std::string> m_detectors;
};

} // namespace

Flight targetImages(Flight flight, const Project& project) {
    const std::vector<std::size_t> candidates =
        radiometry::targetCandidates(targetRequest(flight, project, project.settings, Detectors()));
    std::set<std::size_t> wanted(candidates.begin(), candidates.end());
    std::unordered_set<std::string> captures;
    for (const std::size_t i : candidates) {
        captures.insert(captureOf(flight.images[i]));
    }
    captures.erase("");
    for (std::size_t i = 0; i < flight.images.size(); ++i) {
        if (flight.images[i].enabled && captures.count(captureOf(flight.images[i])) > 0) {
            wanted.insert(i);
        }
    }
    Flight part;
    part.cameras = std::move(flight.cameras);
    part.images.reserve(wanted.size());
    for (const std::size_t i : wanted) {
        part.images.push_back(std::move(flight.images[i]));
    }
    return part;
}

RigCalibration calibrateRigs(const Flight& flight,
                             const Project& project,
                             const Detectors& detectors,
                             const RigTargetOptions& options,
                             Observer& observer,
                             Warnings& warnings) {
    std::vector<std::uint64_t> cameras;
    for (const Rig& rig : project.rigs) {
        cameras.insert(cameras.end(), rig.begin(), rig.end());
    }
    const int jobs = options.jobs;
    RigCalibration all;
    const auto find = [&](std::size_t i) {
        const SettingsByCamera settings = {{cameras[i], project.settings.at(cameras[i])}};
        radiometry::TargetCalibrationRequest request =
            targetRequest(flight, project, settings, detectors);
        request.askEveryDetector = true;
        request.useAllImages = true;
        request.knownReflectance = options.knownReflectance;
        return radiometry::findTargets(request);
    };
    append(inOrder(cameras.size(), jobs, observer, warnings, find), all);
    const std::vector<Lack> lacks = lacksOf(flight, all);
    TargetCalibration more = inOrder(lacks.size(), jobs, observer, warnings, [&](std::size_t i) {
        const InputImage& image = flight.images[lacks[i].image];
        Flight one;
        one.images = {image};
        one.cameras = flight.cameras;
        const SettingsByCamera settings = {{image.cameraId, project.settings.at(image.cameraId)}};
        Detectors nearSibling;
        nearSibling.push_back(
            std::make_unique<NearSibling>(flight.images[lacks[i].sibling], detectors));
        radiometry::TargetCalibrationRequest request =
            targetRequest(one, project, settings, nearSibling);
        request.knownReflectance = options.knownReflectance;
        TargetCalibration found = radiometry::findTargets(request);
        for (MeasuredTarget& target : found.targets) {
            target.imageIndex = lacks[i].image;
        }
        found.candidates.clear(); // looked into already
        return found;
    });
    append(std::move(more), all);
    for (const Rig& rig : project.rigs) {
        RigChoice(rig, flight, all, warnings).choose(options.mayBePartial);
    }
    all.witnesses = hearWitnesses(flight, project, all, warnings);
    CamerasData chosenFor;
    for (const std::uint64_t camera : cameras) {
        chosenFor.insert(*flight.cameras.find(camera));
    }
    radiometry::chooseSensitivities(chosenFor, all);
    return all;
}

} // namespace tessik::flight
