#include "simulate/Compare.h"

#include "platform/image/Raster.h"
#include "simulate/Flight.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <ostream>
#include <unordered_map>

namespace tessik::simulate {
namespace {

using nlohmann::ordered_json;
using std::filesystem::path;

/// A reflectance level counts when the noise moves its mean by no more than this share, and when
/// it has this share of the pixels. The many values of a ramp, each on few pixels, do not count.
constexpr double kLevelUncertainty = 1e-3;
constexpr double kLevelShare = 5e-3;

/// Of x = corrected / truth over some pixels; the errors are x / scale - 1.
struct Sums {
    double count = 0.0;
    double x = 0.0;
    double variance = 0.0; ///< predicted, relative

    void add(double value, double relativeVariance) {
        count += 1.0;
        x += value;
        variance += relativeVariance;
    }
    [[nodiscard]] double biasPercent(double scale) const {
        return 100.0 * (x / count / scale - 1.0);
    }
    [[nodiscard]] double uncertainty() const { return std::sqrt(variance) / count; }
};

struct BandSums {
    Sums all;
    double xSquared = 0.0;
    double weight = 0.0;
    double weightedX = 0.0;
    std::map<std::size_t, Sums> captures;
    std::unordered_map<float, Sums> levels;
    std::size_t expectedMasked = 0;
    std::size_t masked = 0;
    std::size_t unexpectedMasked = 0;
    std::size_t missed = 0;
    std::vector<ImageMean> images;
    double absoluteError = 0.0; ///< sum over pixels
    std::size_t counted = 0;    ///< pixels
};

struct FileEntry {
    std::string name;
    std::string band;
    std::size_t capture = 0;
    double irradiance = 0.0;
    std::size_t unusable = 0;
};

std::vector<FileEntry> readManifest(const path& file) {
    if (!std::filesystem::exists(file)) {
        throw MissingFile(file);
    }
    try {
        std::ifstream stream(file);
        const ordered_json manifest = ordered_json::parse(stream);
        if (manifest.at("schema_version") != 1) {
            throw std::runtime_error("of an unknown version");
        }
        std::vector<FileEntry> entries;
        for (const ordered_json& record : manifest.at("files")) {
            if (record.contains("panel")) {
                continue;
            }
            entries.push_back({record.at("file"),
                               record.at("band"),
                               record.at("capture"),
                               record.at("irradiance"),
                               record.at("bad_pixels").get<std::size_t>() +
                                   record.at("saturated_pixels").get<std::size_t>()});
        }
        return entries;
    } catch (const std::exception& failure) {
        throw Failure(file, failure.what());
    }
}

BandImage readBands(const path& file, std::size_t bandCount) {
    if (!std::filesystem::exists(file)) {
        throw MissingFile(file);
    }
    try {
        BandImage bands = image::Raster::open(file.u8string()).read();
        if (bands.size() != bandCount) {
            throw std::runtime_error("has " + std::to_string(bands.size()) + " bands instead of " +
                                     std::to_string(bandCount));
        }
        return bands;
    } catch (const std::exception& failure) {
        throw Failure(file, failure.what());
    }
}

void add(const FileEntry& entry,
         const BandImage& truth,
         const BandMatrix& corrected,
         Target target,
         BandSums& sums) {
    Sums& capture = sums.captures[entry.capture];
    const double light = target == Target::Radiance ? entry.irradiance : 1.0;
    const float* reflectance = truth[0].data();
    const float* deviation = truth[1].data();
    const float* value = corrected.data();
    for (Eigen::Index i = 0; i < corrected.size(); ++i) {
        const bool isUsable = std::isfinite(deviation[i]);
        if (value[i] == kNoData || std::isnan(value[i])) {
            ++sums.masked;
            sums.unexpectedMasked += isUsable ? 1 : 0;
            continue;
        }
        if (!isUsable) {
            ++sums.missed;
            continue;
        }
        const double x =
            static_cast<double>(value[i]) / (static_cast<double>(reflectance[i]) * light);
        const double variance =
            static_cast<double>(deviation[i]) * static_cast<double>(deviation[i]);
        sums.all.add(x, variance);
        sums.xSquared += x * x;
        sums.weight += 1.0 / variance;
        sums.weightedX += x / variance;
        capture.add(x, variance);
        sums.levels[reflectance[i]].add(x, variance);
    }
    sums.expectedMasked += entry.unusable;
}

/// Brighter than any matter: a mirror of the sun.
constexpr float kGlintReflectance = 1.0F;

void addAbsolute(const FileEntry& entry,
                 const BandImage& truth,
                 const BandMatrix& corrected,
                 BandSums& sums) {
    const float* reflectance = truth[0].data();
    const float* deviation = truth[1].data();
    const float* value = corrected.data();
    ImageMean mean{entry.name, entry.band, entry.capture};
    std::size_t count = 0;
    for (Eigen::Index i = 0; i < corrected.size(); ++i) {
        if (value[i] == kNoData || std::isnan(value[i]) || !std::isfinite(deviation[i]) ||
            reflectance[i] > kGlintReflectance) {
            continue;
        }
        ++count;
        mean.corrected += static_cast<double>(value[i]);
        mean.truth += static_cast<double>(reflectance[i]);
        sums.absoluteError +=
            std::abs(static_cast<double>(value[i]) - static_cast<double>(reflectance[i]));
    }
    if (count > 0) {
        mean.corrected /= static_cast<double>(count);
        mean.truth /= static_cast<double>(count);
        sums.images.push_back(mean);
        sums.counted += count;
    }
}

double meanAbsoluteError(const std::vector<ImageMean>& images) {
    double sum = 0.0;
    for (const ImageMean& image : images) {
        sum += std::abs(image.corrected - image.truth);
    }
    return sum / static_cast<double>(images.size());
}

/// Least squares of corrected = scale * truth with weights 1 / sigma^2, sigma proportional to
/// truth * relative deviation: the weighted mean of the ratios.
BandResult resultOf(const std::string& band, const BandSums& sums, Scale scale) {
    BandResult result;
    result.band = band;
    result.pixels = static_cast<std::size_t>(sums.all.count);
    result.expectedMasked = sums.expectedMasked;
    result.masked = sums.masked;
    result.unexpectedMasked = sums.unexpectedMasked;
    result.missed = sums.missed;
    result.images = sums.images;
    result.countedPixels = sums.counted;
    result.absoluteError = {meanAbsoluteError(sums.images),
                            sums.absoluteError / static_cast<double>(sums.counted)};
    result.scale = scale == Scale::One ? 1.0 : sums.weightedX / sums.weight;
    result.bias = sums.all.biasPercent(result.scale);
    for (const auto& [number, capture] : sums.captures) {
        const double bias = capture.biasPercent(result.scale);
        if (capture.count > 0.0 && std::abs(bias) >= std::abs(result.worstCaptureBias)) {
            result.worstCaptureBias = bias;
            result.worstCapture = number;
        }
    }
    for (const auto& [level, pixels] : sums.levels) {
        const double bias = pixels.biasPercent(result.scale);
        if (pixels.count >= kLevelShare * sums.all.count &&
            pixels.uncertainty() <= kLevelUncertainty &&
            std::abs(bias) >= std::abs(result.worstLevelBias.value_or(0.0))) {
            result.worstLevelBias = bias;
            result.worstLevel = static_cast<double>(level);
        }
    }
    const double square = sums.xSquared / (result.scale * result.scale) / sums.all.count -
                          2.0 * sums.all.x / result.scale / sums.all.count + 1.0;
    result.rms = 100.0 * std::sqrt(std::max(0.0, square));
    result.predictedRms = 100.0 * std::sqrt(sums.all.variance / sums.all.count);
    return result;
}

/// Names of corrected images end in .tif, whatever the ending of the raw ones.
path correctedFile(const path& folder, const std::string& rawName) {
    return (folder / rawName).replace_extension(".tif");
}

void addAbsoluteError(const AbsoluteError& error, ordered_json& document) {
    document["mean_abs_error"] = error.ofImages;
    document["mean_abs_error_pixels"] = error.ofPixels;
}

ordered_json imagesJson(const std::vector<BandResult>& results) {
    ordered_json images = ordered_json::array();
    for (const BandResult& result : results) {
        for (const ImageMean& image : result.images) {
            images.push_back({{"file", image.file},
                              {"capture", image.capture},
                              {"band", image.band},
                              {"mean_corrected", image.corrected},
                              {"mean_truth", image.truth}});
        }
    }
    return images;
}

const char* toString(Target target) {
    return target == Target::Radiance ? "radiance" : "reflectance";
}

} // namespace

std::vector<BandResult>
compare(const path& flight, const path& corrected, Target target, Scale scale) {
    const path truthFolder = flight / kTruthFolder;
    const std::vector<FileEntry> entries = readManifest(truthFolder / kManifestFile);
    std::vector<std::string> order;
    std::map<std::string, BandSums> bands;
    for (const FileEntry& entry : entries) {
        if (bands.find(entry.band) == bands.end()) {
            order.push_back(entry.band);
        }
        const BandImage truth = readBands(truthFolder / entry.name, 2);
        const path imageFile = correctedFile(corrected, entry.name);
        const BandImage image = readBands(imageFile, 1);
        if (image[0].rows() != truth[0].rows() || image[0].cols() != truth[0].cols()) {
            throw Failure(imageFile, "is not of the flight's image size");
        }
        add(entry, truth, image[0], target, bands[entry.band]);
        addAbsolute(entry, truth, image[0], bands[entry.band]);
    }
    std::vector<BandResult> results;
    for (const std::string& band : order) {
        if (bands[band].all.count == 0.0) {
            throw Failure(corrected, "band " + band + " has no pixel to compare");
        }
        results.push_back(resultOf(band, bands[band], scale));
    }
    return results;
}

AbsoluteError absoluteError(const std::vector<BandResult>& results) {
    std::vector<ImageMean> images;
    double pixels = 0.0;
    double sum = 0.0;
    for (const BandResult& result : results) {
        images.insert(images.end(), result.images.begin(), result.images.end());
        pixels += static_cast<double>(result.countedPixels);
        sum += result.absoluteError.ofPixels * static_cast<double>(result.countedPixels);
    }
    return {meanAbsoluteError(images), sum / pixels};
}

void printTable(std::ostream& stream,
                const std::vector<BandResult>& results,
                Target target,
                Scale scale) {
    stream << "Against " << toString(target)
           << (scale == Scale::One ? ", as it stands" : ", after one scale a band")
           << "; errors in %\n";
    stream
        << "band            scale     bias  capture (no.)  level (refl.)      rms predicted  ratio"
           "    masked  expected unexpected    missed\n";
    for (const BandResult& r : results) {
        std::array<char, 32> level{};
        if (r.worstLevelBias) {
            std::snprintf(
                level.data(), level.size(), "%+8.4f %.3f", *r.worstLevelBias, r.worstLevel);
        } else {
            std::snprintf(level.data(), level.size(), "-");
        }
        std::array<char, 200> line{};
        std::snprintf(
            line.data(),
            line.size(),
            "%-9s %11.6g %+8.4f %+8.4f %5zu %14s %8.3f %9.3f %6.3f %9zu %9zu %10zu %9zu\n",
            r.band.c_str(),
            r.scale,
            r.bias,
            r.worstCaptureBias,
            r.worstCapture,
            level.data(),
            r.rms,
            r.predictedRms,
            r.rmsRatio(),
            r.masked,
            r.expectedMasked,
            r.unexpectedMasked,
            r.missed);
        stream << line.data();
    }
    if (scale == Scale::One) {
        const AbsoluteError error = absoluteError(results);
        std::array<char, 120> line{};
        std::snprintf(line.data(),
                      line.size(),
                      "mean absolute error of reflectance: %.5f of images, %.5f of pixels\n",
                      error.ofImages,
                      error.ofPixels);
        stream << line.data();
    }
}

void printImages(std::ostream& stream, const std::vector<BandResult>& results) {
    stream << "image                band      corrected     truth\n";
    for (const BandResult& result : results) {
        for (const ImageMean& image : result.images) {
            std::array<char, 200> line{};
            std::snprintf(line.data(),
                          line.size(),
                          "%-20s %-9s %9.5f %9.5f\n",
                          image.file.c_str(),
                          image.band.c_str(),
                          image.corrected,
                          image.truth);
            stream << line.data();
        }
    }
}

void printJson(std::ostream& stream,
               const std::vector<BandResult>& results,
               Target target,
               Scale scale,
               bool withImages) {
    ordered_json bands = ordered_json::array();
    for (const BandResult& r : results) {
        bands.push_back({{"band", r.band},
                         {"scale", r.scale},
                         {"bias_percent", r.bias},
                         {"worst_capture_bias_percent", r.worstCaptureBias},
                         {"worst_capture", r.worstCapture},
                         {"worst_level_bias_percent",
                          r.worstLevelBias ? ordered_json(*r.worstLevelBias) : ordered_json()},
                         {"worst_level_reflectance",
                          r.worstLevelBias ? ordered_json(r.worstLevel) : ordered_json()},
                         {"rms_percent", r.rms},
                         {"predicted_rms_percent", r.predictedRms},
                         {"rms_ratio", r.rmsRatio()},
                         {"pixels", r.pixels},
                         {"masked", r.masked},
                         {"expected_masked", r.expectedMasked},
                         {"unexpected_masked", r.unexpectedMasked},
                         {"missed", r.missed}});
        if (scale == Scale::One) {
            addAbsoluteError(r.absoluteError, bands.back());
        }
    }
    ordered_json document = {{"schema_version", 1},
                             {"against", toString(target)},
                             {"is_absolute", scale == Scale::One},
                             {"bands", bands}};
    if (scale == Scale::One) {
        addAbsoluteError(absoluteError(results), document);
    }
    if (withImages) {
        document["images"] = imagesJson(results);
    }
    stream << document.dump(1) << '\n';
}

} // namespace tessik::simulate
