#include "app/Command.h"
#include "platform/exif/Tags.h"
#include "platform/image/Raster.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>

/// Real captures through the command, against values computed apart from this code.
namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

/// Corrects sample folders with --type camera.
Result correctSamples(const TemporaryFolder& folder,
                      const fs::path& samples,
                      const std::vector<std::string>& names) {
    std::string arguments = "correct";
    for (const std::string& name : names) {
        arguments += " '" + (samples / name).string() + "'";
    }
    return radiometry(folder, arguments + " -o out --type camera --targets none");
}

/// Compares outputs with a table: a file, values at "x.._y..", mean of the valid pixels, masked
/// ones.
/// @return how many values were compared
int expectTable(const fs::path& table, const fs::path& outputs, double relative, double absolute) {
    std::ifstream stream(table);
    std::string line;
    std::getline(stream, line);
    const std::vector<std::string> names = exif::splitList(line);
    int checked = 0;
    while (std::getline(stream, line)) {
        const std::vector<std::string> row = exif::splitList(line);
        const BandMatrix band = image::Raster::open((outputs / row[0]).string()).read().at(0);
        const auto expectNear = [&](double value, std::size_t column) {
            const double expected = std::stod(row[column]);
            EXPECT_NEAR(value, expected, absolute + relative * std::abs(expected))
                << row[0] << " " << names[column];
            ++checked;
        };
        for (std::size_t i = 1; i < names.size(); ++i) {
            int x = 0;
            int y = 0;
            // NOLINTNEXTLINE(cert-err34-c): a name without both numbers is another column
            if (std::sscanf(names[i].c_str(), "x%d_y%d", &x, &y) == 2) {
                expectNear(static_cast<double>(band(y, x)), i);
            }
        }
        const auto masked = (band.array() == radiometry::kNoData).eval();
        EXPECT_EQ(masked.count(), std::stol(row.back())) << row[0];
        const double sum = masked.select(0.0, band.array().cast<double>()).sum();
        expectNear(sum / static_cast<double>(masked.size() - masked.count()), row.size() - 2);
    }
    return checked;
}

TEST(RealCameras, comeOutAsTheirMakersFormulas) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const TemporaryFolder folder;
    const Result result =
        correctSamples(folder, *samples, {"rededge-m", "rededge-mx", "rededge-mx-dual", "altum"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const fs::path outputs = folder.path() / "out";
    EXPECT_EQ(expectTable(*samples / "expected-2.csv", outputs, 2e-6, 0.0), 25 * 7);
    EXPECT_EQ(expectTable(*samples / "expected-thermal.csv", outputs, 0.0, 0.01), 2 * 7);
    const Json record = Json::parse(readAll(outputs / "plan.json"));
    for (const Json& camera : record.at("cameras")) {
        const bool isThermal = camera.at("bands").at(0).at("name") == "LWIR";
        EXPECT_EQ(camera.at("unit"), isThermal ? Json("degree_Celsius") : Json());
    }
}

/// A pixel of the near-infrared camera by hand: F^2 / (t ISO) times its row of the colour matrix.
TEST(RealCameras, aColourMatrixWithABandThatIsNoneLeavesTheOthers) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const TemporaryFolder folder;
    const Result result = correctSamples(folder, *samples, {"sentera-d4k"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const fs::path raw = *samples / "sentera-d4k";
    const BandImage ndre = image::Raster::open((raw / "NDRE/IMG_00008.jpg").string()).read();
    const BandImage out = image::Raster::open(folder.file("out/NDRE/IMG_00008.tif")).read();
    ASSERT_EQ(out.size(), 2U);
    const Json cameras = Json::parse(readAll(folder.path() / "out/plan.json")).at("cameras");
    const Json& bands = cameras.at(0).at("bands").size() == 2 ? cameras.at(0).at("bands")
                                                              : cameras.at(1).at("bands");
    EXPECT_EQ(bands.at(0).at("name"), "RedEdge");
    EXPECT_EQ(bands.at(1).at("wavelength_nm"), 840.0);
    const std::vector<double> tags = {2.5, 1.0 / 609.0, 347.0}; // f-number, s, ISO of capture 6
    const BandImage first = image::Raster::open((raw / "NDRE/IMG_00006.jpg").string()).read();
    const BandImage firstOut = image::Raster::open(folder.file("out/NDRE/IMG_00006.tif")).read();
    const double factor = tags[0] * tags[0] / (tags[1] * tags[2]);
    for (const auto& [x, y] : {std::pair{100, 200}, {2000, 1500}, {3900, 2900}}) {
        const auto dn = [&](std::size_t b) { return static_cast<double>(first[b](y, x)); };
        const double redEdge = factor * (2.7 * dn(0) - 2.581 * dn(2));
        const double nir = factor * (-0.921 * dn(0) + 6.55 * dn(2));
        EXPECT_NEAR(static_cast<double>(firstOut[0](y, x)) / redEdge, 1.0, 2e-6) << x;
        EXPECT_NEAR(static_cast<double>(firstOut[1](y, x)) / nir, 1.0, 2e-6) << x;
    }
    // Clipped where any channel is 255, and without light where any is 0.
    int masked = 0;
    for (Eigen::Index i = 0; i < ndre[0].size(); ++i) {
        const bool isBad = std::any_of(ndre.begin(), ndre.end(), [i](const BandMatrix& band) {
            return band.data()[i] <= 0.0F || band.data()[i] >= 255.0F;
        });
        masked += isBad ? 1 : 0;
        ASSERT_EQ(out[0].data()[i] == radiometry::kNoData, isBad) << i;
    }
    EXPECT_EQ(masked, 28433 + 1660);
}

} // namespace
} // namespace tessik::app
