#pragma once

#include "platform/image/Raster.h"
#include "platform/math/Angle.h"
#include "simulate/Compare.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace tessik::simulate {

/// A flight in a folder of its own, and its corrected images.
class RenderedFlight : public testing::Test {
protected:
    explicit RenderedFlight(const FlightOptions& flightOptions) : options(flightOptions) {
        renderFlight(flight, options);
        std::filesystem::create_directory(corrected);
        std::ifstream stream(flight / kTruthFolder / kManifestFile);
        manifest = nlohmann::json::parse(stream);
    }
    static FlightOptions smallFlight(CameraModel camera, Sky sky = Sky::Changing) {
        FlightOptions options;
        options.camera = camera;
        options.captures = 4;
        options.width = 400;
        options.height = 304;
        options.sky = sky;
        return options;
    }

    /// Inverts all raw images. @return the comparison with the truth
    std::vector<BandResult>
    inverted(const std::function<BandMatrix(const std::filesystem::path&)>& invert,
             Target target = Target::Radiance,
             Scale scale = Scale::Fitted) {
        for (const auto& record : manifest.at("files")) {
            const std::string name = record.at("file");
            image::writeFloatRaster((corrected / name).replace_extension(".tif"),
                                    {invert(flight / kImagesFolder / name)});
        }
        return compare(flight, corrected, target, scale);
    }

    test::TemporaryFolder folder;
    std::filesystem::path flight = folder.path() / "flight";
    std::filesystem::path corrected = folder.path() / "corrected";
    FlightOptions options;
    nlohmann::json manifest;
};

/// Expects that only the noise is left, and that pixels which tell nothing are masked, and hardly
/// any others.
/// @param unexpectedShare of the pixels that may be masked without need
inline void expectTruth(const std::vector<BandResult>& results,
                        std::size_t bandCount,
                        double scale,
                        double unexpectedShare = 0.0) {
    ASSERT_EQ(results.size(), bandCount);
    for (const BandResult& result : results) {
        SCOPED_TRACE(result.band);
        EXPECT_NEAR(result.scale / scale, 1.0, 5e-4);
        EXPECT_LT(std::abs(result.bias), 0.1);
        EXPECT_LT(std::abs(result.worstCaptureBias), 0.2);
        ASSERT_TRUE(result.worstLevelBias);
        EXPECT_LT(std::abs(*result.worstLevelBias), 0.3); // three times the noise in a level's mean
        EXPECT_NEAR(result.rmsRatio(), 1.0, 0.02);
        EXPECT_EQ(result.missed, 0U);
        EXPECT_EQ(result.masked, result.expectedMasked + result.unexpectedMasked);
        EXPECT_LE(static_cast<double>(result.unexpectedMasked),
                  unexpectedShare * static_cast<double>(result.pixels));
    }
}

} // namespace tessik::simulate
