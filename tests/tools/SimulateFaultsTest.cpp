#include "platform/exif/ExifReader.h"
#include "platform/image/Raster.h"
#include "platform/math/Angle.h"
#include "simulate/Atmosphere.h"
#include "simulate/ClearSky.h"
#include "simulate/Clouds.h"
#include "simulate/Course.h"
#include "simulate/Flight.h"
#include "simulate/Scene.h"
#include "support/Support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

ClearSky::Options exactSensor() {
    ClearSky::Options options;
    options.drift = 0.0;
    options.sensorNoise = 0.0;
    return options;
}

std::vector<Station> survey(std::size_t captures) {
    std::vector<Station> course;
    for (std::size_t capture = 0; capture < captures; ++capture) {
        course.push_back(surveyStation(1, capture, 1.5));
    }
    return course;
}

TEST(ClearSky, itsLightIsThatOfACleanSummerSky) {
    const std::optional<fs::path> samples = test::samplesFolder();
    const fs::path file = samples.value_or("") / ".." / "reference" / "clear-sky-spectra.csv";
    if (!samples || !fs::exists(file)) {
        GTEST_SKIP() << "no reference spectra beside the samples";
    }
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    int compared = 0;
    while (std::getline(stream, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream fields(line);
        std::vector<double> values;
        for (double value = 0.0; fields >> value;) {
            values.push_back(value);
        }
        ASSERT_EQ(values.size(), 11U) << line;
        const double elevation = values[0];
        const double wavelength = values[8];
        // Spectra of about the same air.
        if ((elevation != 45.0 && elevation != 65.0) || wavelength < 450.0 || wavelength > 870.0) {
            continue;
        }
        const double level = clearSkyIrradianceAt(wavelength, elevation * kDegree);
        EXPECT_NEAR(level / (values[9] + values[10]), 1.0, 0.08) << line;
        ++compared;
    }
    EXPECT_GT(compared, 10);
}

TEST(Clouds, shadowsComeAndGoSmoothlyAndTakeHalfOfTheTime) {
    constexpr double kStep = 0.1;
    double clear = 0.0;
    double all = 0.0;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        const Clouds clouds(Clouds::Kind::Broken, seed, 1000.0, 1600.0, 1.0);
        const double darkest = clouds.diffuse(1000.0, 600.0);
        EXPECT_GE(darkest, 1.0);
        double last = clouds.transmittance(1000.0);
        double shadowBegin = -1.0;
        for (double time = 1000.0; time < 1600.0; time += kStep) {
            const double tau = clouds.transmittance(time);
            ASSERT_TRUE(tau >= 0.05 && tau <= 1.0) << tau;
            // The steepest edge falls by 0.95 within 2 s, at most 1.5 times as fast as on average.
            ASSERT_LT(std::abs(tau - last), 1.5 * 0.95 * kStep / 2.0 + 1e-9);
            ASSERT_TRUE(clouds.diffuse(time, 600.0) - 1.0 >= 0.0999 * (1.0 - tau) &&
                        clouds.diffuse(time, 600.0) - 1.0 <= 0.3001 * (1.0 - tau));
            if (last == 1.0 && tau < 1.0) {
                shadowBegin = time;
            } else if (last < 1.0 && tau == 1.0 && shadowBegin > 0.0) {
                EXPECT_GT(time - shadowBegin, 10.0 - 3.0 * kStep);
                EXPECT_LT(time - shadowBegin, 60.0 + 3.0 * kStep);
            }
            clear += tau > 0.99 ? 1.0 : 0.0;
            all += 1.0;
            last = tau;
        }
    }
    EXPECT_NEAR(clear / all, 0.5, 0.1);
}

TEST(Clouds, anOvercastSkyIsDiffuseDarkAndSlow) {
    const std::vector<Station> course = survey(400);
    const ClearSky clear(5, exactSensor(), course);
    for (const std::uint64_t seed : {1U, 2U, 3U, 4U}) {
        ClearSky::Options options = exactSensor();
        options.drift = 1.0;
        options.clouds = Clouds::Kind::Overcast;
        const ClearSky sky(seed, options, course);
        double last = 0.0;
        std::vector<double> shares;
        for (std::size_t capture = 0; capture < course.size(); ++capture) {
            EXPECT_EQ(sky.reading(capture, 668.0).sun->directFraction, 0.0);
            shares.push_back(sky.irradiance(capture, 668.0) / clear.irradiance(capture, 668.0));
            if (capture > 0) {
                EXPECT_NEAR(shares.back() / last, 1.0, 0.03);
            }
            last = shares.back();
        }
        const auto [low, high] = std::minmax_element(shares.begin(), shares.end());
        EXPECT_GT(*low, 0.20 * 0.84);
        EXPECT_LT(*high, 0.45 * 1.16);
        EXPECT_LT(*high / shares.front(), 1.151);
        EXPECT_GT(*low / shares.front(), 0.849);
        EXPECT_GT(*high / *low, 1.02);
    }
}

TEST(Haze, changesTheLightWithinItsBoundsAndDifferentlyForEachSeed) {
    const std::vector<Station> course = survey(1);
    ClearSky::Options options = exactSensor();
    const double clear = ClearSky(1, options, course).irradiance(0, 668.0);
    options.hasHaze = true;
    double lowest = 1.0;
    double highest = 1.0;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        const ClearSky sky(seed, options, course);
        const double share = sky.irradiance(0, 668.0) / clear;
        lowest = std::min(lowest, share);
        highest = std::max(highest, share);
        EXPECT_NEAR(share, 1.0, 0.05);
        EXPECT_NEAR(sky.reading(0, 668.0).sun->directFraction, 0.8, 0.05);
    }
    EXPECT_LT(lowest, 0.97);
    EXPECT_GT(highest, 1.03);
}

/// A turned sensor on a level aircraft, and where its normal leans then: degrees from north.
struct Lean {
    double heading;
    double roll;
    double pitch;
    double towards;
};

TEST(Sensor, aMountErrorLeansItsNormalAndTheFilesDoNotTell) {
    for (const Lean& lean : {Lean{0.0, 4.0, 0.0, 90.0},
                             Lean{90.0, 4.0, 0.0, 180.0},
                             Lean{0.0, 0.0, 4.0, 180.0},
                             Lean{90.0, 0.0, -4.0, 90.0}}) {
        Station station = surveyStation(1, 0, 1.5);
        station.attitude = {lean.heading, 0.0, 0.0};
        ClearSky::Options options = exactSensor();
        options.mountErrorRoll = lean.roll;
        options.mountErrorPitch = lean.pitch;
        const ClearSky sky(1, options, {station});
        const LightReading reading = sky.reading(0, 668.0);
        const double sun = reading.sun->sunElevationDegrees * kDegree;
        const double azimuth = reading.sun->sunAzimuthDegrees * kDegree;
        const double angle = 4.0 * kDegree;
        const double incidence =
            std::sin(sun) * std::cos(angle) +
            std::cos(sun) * std::sin(angle) * std::cos(azimuth - lean.towards * kDegree);
        const double skyPart = 0.5 + 0.5 * std::cos(angle) * std::cos(angle);
        const double share = 0.8 * incidence + 0.2 * skyPart;
        EXPECT_NEAR(reading.received / reading.sun->facingIrradiance, share, 1e-9);
        EXPECT_NEAR(reading.attitude.rollDegrees, 0.0, 1e-9);
        EXPECT_NEAR(reading.attitude.pitchDegrees, 0.0, 1e-9);
        // Taken for level, the reading is that of level ground.
        EXPECT_NEAR(reading.level, reading.irradiance, 1e-9);
        EXPECT_GT(std::abs(reading.level / sky.irradiance(0, 668.0) - 1.0), 1e-3);
    }
}

TEST(Sensor, poseNoiseIsInWhatIsStatedAndJitterInAllBandsAlike) {
    std::vector<Station> course = survey(400);
    const ClearSky exact(1, exactSensor(), course);
    for (std::size_t capture = 0; capture < course.size(); ++capture) {
        addPoseNoise(1, capture, 1.5, course[capture]);
    }
    ClearSky::Options options = exactSensor();
    options.sensorJitter = 0.02;
    const ClearSky sky(1, options, course);
    double jitter = 0.0;
    double roll = 0.0;
    double pitch = 0.0;
    for (std::size_t capture = 0; capture < course.size(); ++capture) {
        const LightReading reading = sky.reading(capture, 668.0);
        const LightReading before = exact.reading(capture, 668.0);
        EXPECT_EQ(reading.received, before.received);
        EXPECT_NEAR(reading.error, sky.reading(capture, 475.0).error, 1e-12);
        jitter += std::pow(reading.error - 1.0, 2.0);
        roll += std::pow(reading.attitude.rollDegrees - before.attitude.rollDegrees, 2.0);
        pitch += std::pow(reading.attitude.pitchDegrees - before.attitude.pitchDegrees, 2.0);
    }
    // 400 captures give a standard deviation to 3.5 %.
    EXPECT_NEAR(std::sqrt(jitter / 400.0), 0.02, 0.02 * 0.14);
    EXPECT_NEAR(std::sqrt(roll / 400.0), 1.5, 1.5 * 0.14);
    EXPECT_NEAR(std::sqrt(pitch / 400.0), 1.5, 1.5 * 0.14);
}

TEST(Scene, theGroundIsTheSameWhateverTheHeading) {
    const Scene scene(4);
    const auto at = [&scene](double east, double north) {
        return scene.reflectance(668.0, {east, north, 1.0, 1, 1})(0, 0);
    };
    for (const double top : {0.0, 90.0, 180.0, -53.0}) {
        const View view{31.0, -12.0, 0.37, 48, 36, top};
        const BandMatrix image = scene.reflectance(668.0, view);
        int different = 0;
        for (Eigen::Index y = 0; y < view.height; ++y) {
            for (Eigen::Index x = 0; x < view.width; ++x) {
                const double ahead = (17.5 - static_cast<double>(y)) * view.pixelM;
                const double right = (static_cast<double>(x) - 23.5) * view.pixelM;
                const double heading = top * kDegree;
                const double east =
                    view.eastM + ahead * std::sin(heading) + right * std::cos(heading);
                const double north =
                    view.northM + ahead * std::cos(heading) - right * std::sin(heading);
                different += std::abs(image(y, x) - at(east, north)) > 1e-4F ? 1 : 0;
            }
        }
        EXPECT_LE(different, 4) << top; // on edges
    }
}

/// A flight before and after it is given faults.
class FaultyFlight : public testing::Test {
protected:
    FaultyFlight() {
        options.camera = CameraModel::RedEdgeP;
        options.captures = 5;
        options.intervalSeconds = 20.0; // to the north, in the turn, to the south
        options.width = 160;
        options.height = 120;
        options.noise = 0.0;
        options.hasPanel = true;
        options.sky = Sky::Clear;
        options.clearSky = exactSensor();
        good = rendered("good");
        options.panelError = -0.05;
        options.sensitivityDrift = 0.10;
        options.clearSky.panelTiltDegrees = 15.0;
        options.clearSky.sensorShade = 0.6;
        bad = rendered("bad");
    }
    json rendered(const std::string& name) {
        renderFlight(folder.path() / name, options);
        std::ifstream stream(folder.path() / name / kTruthFolder / kManifestFile);
        return json::parse(stream);
    }
    /// By the maker's formula, but for constants and the vignetting.
    [[nodiscard]] double radiance(const std::string& name, const json& record, int x, int y) const {
        const std::string file =
            (folder.path() / name / kImagesFolder / record.at("file").get<std::string>()).string();
        const exif::Tags tags = exif::readTags(file).tags;
        const std::vector<double> a = tags.xmpNumbers("MicaSense", "RadiometricCalibration");
        const double dark = tags.exifNumbers("Exif.Image.BlackLevel").at(0);
        const double t = tags.exifNumber("Exif.Photo.ExposureTime").value();
        const double gain = tags.exifNumber("Exif.Photo.ISOSpeed").value() / 100.0;
        const BandMatrix image = image::Raster::open(file).read().at(0);
        double sum = 0.0;
        for (int row = y - 2; row <= y + 2; ++row) {
            const double dn = static_cast<double>(image.row(row).segment(x - 2, 5).mean()) - dark;
            sum += dn / gain / (t + a[1] * row - a[2] * t * row);
        }
        return sum;
    }

    test::TemporaryFolder folder;
    FlightOptions options;
    json good;
    json bad;
};

TEST_F(FaultyFlight, pixelsShowTheTiltedPanelAndTheDriftAndOnlyThePanelIsShaded) {
    const std::size_t count = good.at("files").size();
    ASSERT_EQ(count, bad.at("files").size());
    for (std::size_t i = 0; i < count; ++i) {
        const json& before = good.at("files").at(i);
        const json& after = bad.at("files").at(i);
        SCOPED_TRACE(before.at("file").get<std::string>());
        const double facing = before.at("facing_irradiance");
        const double f = before.at("direct_fraction");
        const double sun = before.at("sun_elevation_deg").get<double>() * kDegree;
        EXPECT_EQ(after.at("irradiance"), before.at("irradiance"));
        double expected = 1.0;
        int x = 80;
        int y = 60;
        double lost = 0.0;
        if (before.contains("panel")) {
            const double tilt = 15.0 * kDegree;
            const double tilted =
                f * std::sin(sun + tilt) + (1.0 - f) * (1.0 + std::cos(tilt)) / 2.0;
            expected *= 0.95 * tilted / (f * std::sin(sun) + 1.0 - f);
            lost = 0.4 * f * std::sin(sun) * facing;
            const json& corners = before.at("panel").at("corners_px");
            const auto middle = [&corners](int axis) {
                double sum = 0.0;
                for (const json& corner : corners) {
                    sum += corner.at(static_cast<std::size_t>(axis)).get<double>();
                }
                return static_cast<int>(std::lround(sum / 4.0));
            };
            x = middle(0);
            y = middle(1);
        }
        EXPECT_NEAR(
            before.at("received").get<double>() - after.at("received").get<double>(), lost, 1e-9);
        const auto capture = before.at("capture").get<std::size_t>();
        if (capture == 0 || capture == 4) {
            expected *= capture == 4 ? 1.10 : 1.0;
            EXPECT_NEAR(
                radiance("bad", after, x, y) / radiance("good", before, x, y), expected, 2e-3);
        } else {
            const double drift = radiance("bad", after, x, y) / radiance("good", before, x, y);
            EXPECT_GT(drift, 1.01);
            EXPECT_LT(drift, 1.09);
        }
    }
}

TEST_F(FaultyFlight, imagesAreTurnedWithTheAircraftAndThePanelLiesApartInTime) {
    const Scene scene(options.seed);
    constexpr double kAheadM = 48.0 / 160.0 * 59.5;
    for (std::size_t capture = 1; capture < 4; ++capture) {
        const Station station = surveyStation(options.seed, capture, options.intervalSeconds);
        const double heading = station.attitude.yawDegrees * kDegree;
        const json& record = good.at("files").at(5 * capture);
        const fs::path file = folder.path() / "good" / kTruthFolder / record.at("file");
        const BandMatrix truth = image::Raster::open(file).read().at(0);
        const View view{station.eastM + kAheadM * std::sin(heading),
                        station.northM + kAheadM * std::cos(heading),
                        48.0 / 160.0,
                        160,
                        1,
                        station.attitude.yawDegrees};
        const BandMatrix row = scene.reflectance(record.at("wavelength_nm"), view);
        EXPECT_LT((truth.row(0) - row.row(0)).cwiseAbs().mean(), 0.01F);
    }
    const auto timeOf = [&](std::size_t capture) {
        const std::string name = good.at("files").at(5 * capture).at("file");
        return exif::readMetadata(folder.path() / "good" / kImagesFolder / name).geo.captureTime;
    };
    EXPECT_GT(timeOf(1) - timeOf(0), 79.9);
    EXPECT_GT(timeOf(4) - timeOf(3), 79.9);
}

} // namespace
} // namespace tessik::simulate
