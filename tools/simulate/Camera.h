#pragma once

#include "platform/camera/BandInfo.h"
#include "platform/exif/TagFile.h"
#include "platform/image/BandMatrix.h"
#include "simulate/Course.h"
#include "simulate/Light.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tessik::simulate {

struct CameraOptions {
    Eigen::Index width = 640;  ///< px
    Eigen::Index height = 480; ///< px
    std::uint64_t seed = 1;
    double noise = 1.0; ///< times the camera's own shot and read noise
};

/// One of the bands that a camera sees.
struct Band {
    std::string name;
    BandInfo info;
};

/// What is in front of a camera at one capture, as one of its bands sees it.
struct Shot {
    std::size_t capture = 0;
    std::size_t band = 0;
    BandMatrix reflectance;
    double irradiance = 0.0; ///< on the level ground, W/m2/nm
    /// The pixels answer as if the irradiance were this many times what it is: because what they
    /// see is not level, or because the camera is more sensitive than its files state.
    double response = 1.0;
    LightReading reading;
    std::vector<double> readings; ///< W/m2/nm, in each of the camera's bands
    Station station;              ///< as the files state it
    std::int64_t sinceStart = 0;  ///< us, from the first capture

    [[nodiscard]] double exposing() const { return irradiance * response; } ///< W/m2/nm
};

/// What the camera stores of a shot, and how well it could.
struct Frame {
    BandMatrix samples; ///< whole numbers
    std::vector<exif::NewTag> tags;
    /// Standard deviation of the noise in a sample as a fraction of the signal without dark level;
    /// infinite where the sample tells nothing (defective or saturated). Empty unless requested.
    BandMatrix relativeDeviation;
    double exposureSeconds = 0.0;
    int iso = 0;
    std::size_t badPixels = 0;
    std::size_t saturatedPixels = 0; ///< without the defective ones
};

/// A forward model: from what is in front of a camera to what it stores.
class Camera {
public:
    Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;
    virtual ~Camera() = default;

    [[nodiscard]] virtual std::string name() const = 0;
    [[nodiscard]] virtual const std::vector<Band>& bands() const = 0;
    /// Name of the file that holds one band of one capture.
    [[nodiscard]] virtual std::string fileName(std::size_t capture, std::size_t band) const = 0;
    /// Is thread safe. The same shot gives the same frame.
    [[nodiscard]] virtual Frame take(const Shot& shot, bool withDeviation) const = 0;
    /// Writes what comes with such a camera besides its images.
    /// @param folder of the flight, which exists
    virtual void writeCompanions(const std::filesystem::path& folder) const {
        static_cast<void>(folder);
    }
};

} // namespace tessik::simulate
