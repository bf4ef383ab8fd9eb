#pragma once

#include "flight/plan/Plan.h"
#include "flight/run/MapCache.h"
#include "platform/image/BandMatrix.h"
#include "radiometry/core/Account.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessik::flight {

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
    /// Of the valid pixels; NaN = no valid pixel.
    [[nodiscard]] std::vector<double> means() const;
};

/// Corrects the images of a flight by what was decided. Thread safe.
class ImageCorrector {
public:
    /// @param decisions must outlive this
    /// @param cameraCount how many cameras are worked on at a time
    explicit ImageCorrector(const Decisions& decisions, std::size_t cameraCount = 1)
        : m_decisions(decisions), m_project(decisions.project), m_maps(cameraCount) {}

    /// Corrects the bands of a whole image in place: temperatures of a thermal image become degrees
    /// Celsius, and bands that hold nothing of use are taken away. Ask Project::check before.
    Applied correct(const InputImage& image, BandImage& bands);

    ChainDescription describeChain(const InputImage& image);

private:
    /// One value a band; empty below the sun-angle types.
    [[nodiscard]] Eigen::ArrayXd sunlightOf(const InputImage& image) const;

    const Decisions& m_decisions;
    const Project& m_project;
    MapCache m_maps;
};

} // namespace tessik::flight
