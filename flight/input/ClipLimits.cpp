#include "flight/input/ClipLimits.h"

#include "flight/Parallel.h"
#include "platform/image/Raster.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace tessik::flight {
namespace {

constexpr std::size_t kValues = 65536;

/// Of a camera: enough that some show a roof, a road or the sun in water.
constexpr std::size_t kMaxImages = 8;

/// Some of a list, evenly spread from the first to the last.
std::vector<std::size_t> spread(const std::vector<std::size_t>& list) {
    if (list.size() <= kMaxImages) {
        return list;
    }
    std::vector<std::size_t> some;
    for (std::size_t i = 0; i < kMaxImages; ++i) {
        some.push_back(list[i * (list.size() - 1) / (kMaxImages - 1)]);
    }
    return some;
}

void count(const BandImage& bands, SampleCounts& counts) {
    for (const BandMatrix& band : bands) {
        for (const float sample : band.reshaped<Eigen::RowMajor>()) {
            if (sample >= 0.0F && sample < static_cast<float>(kValues)) {
                ++counts[static_cast<std::size_t>(sample)];
            }
        }
    }
}

/// An image that cannot be read is reported when it is corrected.
std::optional<double> limitIn(const std::vector<InputImage>& images,
                              const std::vector<std::size_t>& indices) {
    SampleCounts counts(kValues);
    BandImage bands;
    for (const std::size_t i : spread(indices)) {
        try {
            image::Raster::open(images[i].path.toStdString()).readInto(bands);
            count(bands, counts);
        } catch (const image::Error&) {
            continue;
        }
    }
    return clipSpike(counts);
}

/// One line for the cameras of which the same is to be said.
void warnOf(const std::vector<const InputImage*>& cameras,
            const std::vector<std::optional<double>>& limits,
            Warnings& warnings) {
    std::map<std::optional<double>, std::string> names;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        std::string& list = names[limits[i]];
        list += (list.empty() ? "" : ", ") + exif::cameraName(cameras[i]->exif).toStdString();
    }
    for (const auto& [limit, list] : names) {
        warnings.add(
            {},
            limit
                ? list +
                      ": it is not known at which value samples clip; the brightest images show " +
                      std::to_string(std::lround(*limit)) +
                      ", and pixels of that value and above are masked"
                : list + ": it is not known at which value samples clip, and no image that was "
                         "looked at shows it: saturated pixels would not be masked");
    }
}

} // namespace

std::optional<double> clipSpike(const SampleCounts& counts) {
    constexpr std::size_t kLevelsBelow = 16; // that a spike is compared with
    constexpr std::size_t kMaxLevelsAbove = 64;
    constexpr std::int64_t kFewest = 25; // samples of a spike
    constexpr double kTimesTheOthers = 6.0;
    constexpr double kMaxAbove = 0.05; // samples above a spike, as a share of it
    std::vector<std::size_t> levels;   // that occur, from the highest down
    for (std::size_t v = counts.size();
         v-- > 0 && levels.size() < kMaxLevelsAbove + kLevelsBelow;) {
        if (counts[v] > 0) {
            levels.push_back(v);
        }
    }
    double above = 0.0;
    for (std::size_t i = 0; i + kLevelsBelow < levels.size(); ++i) {
        const auto here = static_cast<double>(counts[levels[i]]);
        double below = 0.0;
        for (std::size_t k = 1; k <= kLevelsBelow; ++k) {
            below += static_cast<double>(counts[levels[i + k]]) / static_cast<double>(kLevelsBelow);
        }
        if (counts[levels[i]] >= kFewest && here > kTimesTheOthers * below &&
            above <= kMaxAbove * here) {
            return static_cast<double>(levels[i]);
        }
        above += here;
    }
    return std::nullopt;
}

std::vector<std::vector<std::size_t>> imagesOfUnknownLimit(const std::vector<InputImage>& images) {
    std::map<std::uint64_t, std::vector<std::size_t>> byCamera;
    for (std::size_t i = 0; i < images.size(); ++i) {
        const ExifInfo& exif = images[i].exif;
        if (images[i].enabled && exif.pixelType == DataType::UInt16 && !exif.storedRange &&
            !exif.isThermal && !exif.isNormalized && exif.gamma.empty() &&
            exif.exposureTime > 0.0) {
            byCamera[images[i].cameraId].push_back(i);
        }
    }
    std::vector<std::vector<std::size_t>> result;
    result.reserve(byCamera.size());
    for (auto& [camera, indices] : byCamera) {
        result.push_back(std::move(indices));
    }
    return result;
}

ClipLimits findClipLimits(const std::vector<InputImage>& images, int jobs, Warnings& warnings) {
    const std::vector<std::vector<std::size_t>> cameras = imagesOfUnknownLimit(images);
    std::vector<std::optional<double>> limits(cameras.size());
    inParallel(
        cameras.size(), jobs, [&](std::size_t i) { limits[i] = limitIn(images, cameras[i]); });
    ClipLimits result;
    std::vector<const InputImage*> firsts;
    for (std::size_t i = 0; i < cameras.size(); ++i) {
        firsts.push_back(&images[cameras[i].front()]);
        if (limits[i]) {
            result[firsts.back()->cameraId] = *limits[i];
        }
    }
    warnOf(firsts, limits, warnings);
    return result;
}

} // namespace tessik::flight
