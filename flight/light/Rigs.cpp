#include "flight/light/Rigs.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace tessik::flight {
namespace {

/// What two cameras of a rig share.
QString bondOf(const ExifInfo& exif, std::uint64_t cameraId) {
    if (!exif.captureId.isEmpty()) {
        return "capture " + exif.captureId;
    }
    return exif.serialNumber.isEmpty()
               ? "camera " + QString::number(cameraId)
               : "body " + exif.make + "|" + exif.model + "|" + exif.serialNumber;
}

/// Disjoint sets of cameras. Each points to another one of its set, or to itself.
class CameraSets {
public:
    std::uint64_t find(std::uint64_t camera) {
        std::uint64_t& next = m_next.try_emplace(camera, camera).first->second;
        if (next != camera) {
            next = find(next);
        }
        return next;
    }
    /// The smaller identifier stands for both sets.
    void join(std::uint64_t a, std::uint64_t b) {
        const auto [low, high] = std::minmax({find(a), find(b)});
        m_next[high] = low;
    }

private:
    std::map<std::uint64_t, std::uint64_t> m_next;
};

} // namespace

std::vector<Rig> rigsOf(const std::vector<InputImage>& images) {
    CameraSets sets;
    std::map<std::uint64_t, std::uint64_t> cameras;
    std::unordered_map<std::string, std::uint64_t> firstOfBond;
    for (const InputImage& image : images) {
        if (!image.enabled || image.exif.isThermal) {
            continue;
        }
        cameras.emplace(image.cameraId, 0);
        const std::string bond = bondOf(image.exif, image.cameraId).toStdString();
        sets.join(firstOfBond.try_emplace(bond, image.cameraId).first->second, image.cameraId);
    }
    std::map<std::uint64_t, Rig> rigs;
    for (const auto& [camera, unused] : cameras) {
        rigs[sets.find(camera)].push_back(camera);
    }
    std::vector<Rig> result;
    result.reserve(rigs.size());
    for (auto& [first, rig] : rigs) {
        result.push_back(std::move(rig));
    }
    return result;
}

std::string captureOf(const InputImage& image) {
    return image.exif.captureId.toStdString();
}

} // namespace tessik::flight
