#include "flight/overlap/Choice.h"

#include "flight/Parallel.h"
#include "flight/light/Poses.h"
#include "flight/overlap/Pairs.h"
#include "platform/exif/ExifReader.h"
#include "platform/math/Angle.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

namespace tessik::flight {
namespace {

/// Cameras that have equally many images: their k-th images are of one capture.
struct Siblings {
    std::vector<const PlannedCamera*> cameras;
    std::vector<std::vector<std::size_t>> images; ///< indices in the plan, by camera
};

std::size_t bandCount(const PlannedCamera& camera) {
    return std::max<std::size_t>({1, camera.bands.size(), camera.bandNames.size()});
}

std::vector<Siblings> siblingsOf(const Plan& plan) {
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> byCamera;
    for (std::size_t i = 0; i < plan.images.size(); ++i) {
        byCamera[plan.images[i].cameraId].push_back(i);
    }
    std::map<std::size_t, Siblings> byCount;
    for (const PlannedCamera& camera : plan.cameras) {
        const auto found = byCamera.find(camera.id);
        if (camera.unit != kCelsius && found != byCamera.end()) {
            Siblings& rig = byCount[found->second.size()];
            rig.cameras.push_back(&camera);
            rig.images.push_back(std::move(found->second));
        }
    }
    std::vector<Siblings> rigs;
    rigs.reserve(byCount.size());
    for (auto& [count, rig] : byCount) {
        rigs.push_back(std::move(rig));
    }
    return rigs;
}

/// Absent when time or place are not known.
std::optional<Station> stationOf(const Plan& plan, const std::string& path) {
    Observer nobody; // who corrects the image says what is wrong with it
    const Listening listening(nobody, path);
    try {
        const InputImage image = exif::inputImage(path, exif::readMetadata(path, plan.metadata));
        if (image.geo.captureTime == 0.0 || !image.geo.position) {
            return std::nullopt;
        }
        const CameraExternals pose = externalsOf(image, plan.decisions.project.coordinateSystems);
        const Eigen::Vector3d up = pose.rotation.col(1); // of the image
        return Station{image.geo.captureTime,
                       pose.position,
                       image.exif.cameraYawPitchRoll ? std::atan2(up.x(), up.y()) / kDegree
                                                     : std::numeric_limits<double>::quiet_NaN()};
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// The captures of a rig, those of targets left out.
struct Captures {
    std::vector<std::size_t> indices; ///< among the images of a camera
    std::vector<Station> stations;
};

Captures capturesOf(const Plan& plan, const Siblings& rig, int jobs) {
    std::set<std::string> targets;
    for (const TargetRecord& target : plan.targets) {
        targets.insert(target.target.imagePath.toStdString());
    }
    const auto showsTarget = [&](std::size_t capture) {
        return std::any_of(rig.images.begin(), rig.images.end(), [&](const auto& ofCamera) {
            return targets.count(plan.images[ofCamera[capture]].path) != 0;
        });
    };
    const std::vector<std::size_t>& reference = rig.images.front();
    std::vector<std::optional<Station>> stations(reference.size());
    inParallel(reference.size(), jobs, [&](std::size_t i) {
        if (!showsTarget(i)) {
            stations[i] = stationOf(plan, plan.images[reference[i]].path);
        }
    });
    Captures captures;
    for (std::size_t i = 0; i < stations.size(); ++i) {
        if (stations[i]) {
            captures.indices.push_back(i);
            captures.stations.push_back(*stations[i]);
        }
    }
    return captures;
}

/// In the axes of the first image: right and down, m.
Eigen::Vector2d moveBetween(const Station& first, const Station& second) {
    const Eigen::Vector3d move = second.position - first.position;
    const double sine = std::sin(first.heading * kDegree);
    const double cosine = std::cos(first.heading * kDegree);
    return {move.x() * cosine - move.y() * sine, -(move.x() * sine + move.y() * cosine)};
}

void addPairs(const Siblings& rig,
              const Captures& captures,
              const std::vector<Pair>& pairs,
              Choice& choice) {
    for (std::size_t c = 0; c < rig.cameras.size(); ++c) {
        std::map<std::size_t, std::size_t> known; // places in the choice, by capture
        const auto placeOf = [&](std::size_t capture) {
            const auto [found, isNew] = known.try_emplace(capture, choice.images.size());
            if (isNew) {
                choice.images.push_back(
                    {rig.images[c][captures.indices[capture]], captures.stations[capture].time});
            }
            return found->second;
        };
        for (const Pair& pair : pairs) {
            const Station& first = captures.stations[pair.first];
            const Station& second = captures.stations[pair.second];
            const std::size_t firstPlace = placeOf(pair.first);
            choice.pairs.push_back({firstPlace,
                                    placeOf(pair.second),
                                    rig.cameras[c]->id,
                                    pair.isAlong,
                                    turnBetween(first.heading, second.heading),
                                    moveBetween(first, second)});
        }
        choice.bandPairs += pairs.size() * bandCount(*rig.cameras[c]);
    }
}

} // namespace

Choice choosePairs(const Plan& plan, std::size_t mostPairs, int jobs) {
    const std::vector<Siblings> rigs = siblingsOf(plan);
    std::size_t bands = 0;
    for (const Siblings& rig : rigs) {
        for (const PlannedCamera* camera : rig.cameras) {
            bands += bandCount(*camera);
        }
    }
    Choice choice;
    for (const Siblings& rig : rigs) {
        Captures captures = capturesOf(plan, rig, jobs);
        addPairs(rig, captures, choosePairs(captures.stations, mostPairs / bands), choice);
    }
    return choice;
}

} // namespace tessik::flight
