#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessik::simulate {

constexpr float kNoData = -10000.0F;

/// A file that the comparison needs does not exist. what() is "path: reason".
class MissingFile : public std::runtime_error {
public:
    explicit MissingFile(const std::filesystem::path& path)
        : std::runtime_error(path.u8string() + ": no such file") {}
};

/// What corrected values should be proportional to.
enum class Target {
    Radiance,    ///< reflectance x irradiance: as far as correcting the camera alone can get
    Reflectance, ///< the ground's own property: the light is corrected, too
};

/// What turns corrected values into the target.
enum class Scale {
    Fitted, ///< one number for each band, over all captures
    One,    ///< nothing: they are taken as they stand
};

/// How far values are from true reflectance: the mean of the absolute errors, in reflectance.
/// Pixels count if they are usable and neither glint (reflectance above 1) nor without a value.
struct AbsoluteError {
    double ofImages = 0.0; ///< of the means of images; the noise of pixels hardly matters
    double ofPixels = 0.0; ///< of single pixels
};

/// The mean of an image over the pixels that count for an AbsoluteError, in reflectance.
struct ImageMean {
    std::string file;
    std::string band;
    std::size_t capture = 0;
    double corrected = 0.0;
    double truth = 0.0;
};

/// How the corrected images of one band agree with the truth after scaling, in percent of the true
/// value.
struct BandResult {
    std::string band;
    double scale = 0.0; ///< corrected value per unit of truth; 1 unless it is fitted
    double bias = 0.0;  ///< mean error
    double worstCaptureBias = 0.0;
    std::size_t worstCapture = 0;
    /// Of the reflectances with enough pixels for a meaningful mean error; absent if there are
    /// none.
    std::optional<double> worstLevelBias;
    double worstLevel = 0.0; ///< reflectance
    double rms = 0.0;
    double predictedRms = 0.0;        ///< from the noise put in, over the same pixels
    std::size_t pixels = 0;           ///< compared
    std::size_t expectedMasked = 0;   ///< defective or saturated
    std::size_t masked = 0;           ///< no data in the corrected images
    std::size_t unexpectedMasked = 0; ///< masked, but neither defective nor saturated
    std::size_t missed = 0;           ///< defective or saturated, but not masked
    std::size_t countedPixels = 0;    ///< for the absolute error
    AbsoluteError absoluteError;      ///< of the values as they stand
    std::vector<ImageMean> images;    ///< those with pixels that count
    [[nodiscard]] double rmsRatio() const { return rms / predictedRms; }
};

/// Compares corrected images (float TIFF, no-data value kNoData or NaN) with the truth of a flight.
/// Captures of a panel are left out, because they do not show the scene. They may be missing.
/// @throws MissingFile, Failure
std::vector<BandResult> compare(const std::filesystem::path& flight,
                                const std::filesystem::path& corrected,
                                Target target,
                                Scale scale = Scale::Fitted);

/// Over all images, and over all pixels, of all bands.
AbsoluteError absoluteError(const std::vector<BandResult>& results);

/// A table for people.
void printTable(std::ostream& stream,
                const std::vector<BandResult>& results,
                Target target,
                Scale scale = Scale::Fitted);
/// A table of the means of the images.
void printImages(std::ostream& stream, const std::vector<BandResult>& results);

/// One JSON document.
/// @param withImages with the means of the images
void printJson(std::ostream& stream,
               const std::vector<BandResult>& results,
               Target target,
               Scale scale = Scale::Fitted,
               bool withImages = false);

} // namespace tessik::simulate
