#pragma once

#include "MapCache.h"
#include "Project.h"
#include "platform/camera/InputImage.h"
#include "platform/image/Raster.h"
#include "radiometry/core/Account.h"
#include "radiometry/core/Types.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// From an image's records to the library.
namespace tessik::app {

/// Why an image is not corrected. what() does not repeat the path.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Opens the pixels of an image and completes its metadata where only the pixels say it (bands of a
/// JPEG). @throws image::Error; Refusal when pixels and metadata contradict each other
image::Raster openPixels(InputImage& image);

/// Takes the entries of an image's useless bands out of a list that has one a band; other lists
/// stay as they are.
template <typename List>
void eraseUseless(const ExifInfo& exif, List& list) {
    if (list.size() != exif.bandCount) {
        return;
    }
    for (auto band = exif.uselessBands.rbegin(); band != exif.uselessBands.rend(); ++band) {
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(*band));
    }
}

/// Names of the correctors that the library builds for an image, in order.
struct ChainDescription {
    std::vector<std::string> chain;
    std::vector<std::string> applicable; ///< those of them that would act
};

/// How the sun stood at an image, as far as time and place are known. Degrees.
struct SunGeometry {
    std::optional<double> elevation;
    std::optional<double> azimuth;    ///< from north, clockwise
    std::optional<double> sensorTilt; ///< of the irradiance sensor, from level
};

/// What was done to an image. Lists have one value a band.
struct Applied {
    radiometry::Accounts accounts;
    SunGeometry sun;

    /// Readings of a level sensor; empty = not corrected for the sun angle.
    [[nodiscard]] std::vector<double> levelIrradiance() const;
    /// Of all bands.
    [[nodiscard]] std::int64_t pixels() const;
    /// Of them, those without a valid value.
    [[nodiscard]] std::int64_t maskedPixels() const;
    /// Of the valid pixels; NaN = none is valid.
    [[nodiscard]] std::vector<double> means() const;
};

/// Corrects the images of a project. Thread safe.
class ImageCorrector {
public:
    /// @param project must outlive this
    /// @param cameraCount how many cameras are worked on at a time
    explicit ImageCorrector(const Project& project, std::size_t cameraCount = 1)
        : m_project(project), m_maps(cameraCount) {}

    /// @throws Refusal when correcting this image would give numbers that only look right
    void check(const InputImage& image) const;

    /// Corrects the bands of a whole image in place: temperatures of a thermal image become degrees
    /// Celsius, and bands that hold nothing of use are taken away.
    Applied correct(const InputImage& image, BandImage& bands);

    ChainDescription describeChain(const InputImage& image);

private:
    /// One value a band, or none below the sun-angle types.
    [[nodiscard]] Eigen::ArrayXd sunlightOf(const InputImage& image) const;

    const Project& m_project;
    MapCache m_maps;
};

} // namespace tessik::app
