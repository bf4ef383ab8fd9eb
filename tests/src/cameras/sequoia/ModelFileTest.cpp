#include "SequoiaSupport.h"
#include "platform/exif/TagFile.h"
#include "platform/image/Raster.h"
#include "platform/image/SoftwareTag.h"
#include "radiometry/cameras/sequoia/ioModels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

namespace tessik::radiometry::sequoia {
namespace {

using test::grid;
using test::messageOf;
using test::TemporaryFolder;

constexpr std::array<const char*, 4> kNames = {"Green", "Red", "Red edge", "NIR"};
const QString kModelSerial = QStringLiteral("PI040378AA6C000181");

/// Four bands that differ in every value; dark patterns of 9 x 14.
BandModels someModels(Eigen::Index rows = 4, Eigen::Index cols = 3) {
    BandModels models;
    double k = 1.0;
    for (const char* name : kNames) {
        models[name] = {{100.0 * k, grid(9, 14, 0.01 * k, 0.003), 0.01 * k},
                        {grid(rows, cols, 1e-4 * k, 2e-6), 1000.0 * k, grid(rows, cols, k, -0.03)}};
        k += 1.0;
    }
    return models;
}

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

QString text(const std::string& path) {
    return QString::fromStdString(path);
}

std::string messageOfReading(const std::string& path) {
    return messageOf<error>([&path] { readModel(text(path)); });
}

TEST(SequoiaModelFile, holdsItsValuesWhereTheFormatSaysAndReproducibleFillerElsewhere) {
    const TemporaryFolder folder;
    const std::string path = folder.file("model.tif");
    BandModels models = someModels();
    for (auto& [name, model] : models) {
        model.darkCurrent.dark = grid(100, 100, 0.5, 0.25);
    }
    writeModel(text(path), kModelSerial, models);
    EXPECT_EQ(image::readProcessingSoftware(path), kModelSerial.toStdString());
    // Other programs write the tag in other ways, and it can be set again.
    exif::writeTags(path, {{"Exif.Image.ProcessingSoftware", {"another body"}}});
    EXPECT_EQ(image::readProcessingSoftware(path), "another body");
    image::writeProcessingSoftware(path, "a third");
    EXPECT_EQ(image::readProcessingSoftware(path), "a third");
    const BandImage rasters = image::Raster::open(path).read();
    ASSERT_EQ(rasters.size(), 8U);
    for (std::size_t k = 0; k < 4; ++k) {
        const ModelParameter& model = models[kNames[k]];
        EXPECT_EQ(rasters[2 * k], model.darkCurrent.dark.cast<float>());
        const BandMatrix& p = rasters[2 * k + 1];
        EXPECT_FLOAT_EQ(p(0, 0), 0.1F * static_cast<float>(k + 1));
        EXPECT_FLOAT_EQ(p(0, 1), 0.01F * static_cast<float>(k + 1));
        EXPECT_FLOAT_EQ(p(0, 2), 0.01F * static_cast<float>(k + 1));
        EXPECT_EQ(p(0, 3), 0.03F); // columns
        EXPECT_EQ(p(0, 4), 0.04F); // rows
        EXPECT_EQ(p(0, 99), 1.42F);
        EXPECT_FLOAT_EQ(p(1, 0), static_cast<float>(k + 1));
        EXPECT_FLOAT_EQ(p(4, 2), static_cast<float>(k + 1) + 0.22F);
        EXPECT_FLOAT_EQ(p(1, 3), static_cast<float>(k + 1));
        EXPECT_FLOAT_EQ(p(4, 5), static_cast<float>(k + 1) - 0.33F);
        // The language fixes the 10000th value of the generator.
        EXPECT_EQ(p(99, 99), static_cast<float>(4123659995U >> 8U) / 16777216.0F);
        const auto unused = p.bottomRows(95).array();
        EXPECT_TRUE((unused >= 0.0F && unused < 1.0F).all());
        EXPECT_NEAR(unused.mean(), 0.5F, 0.012F); // four standard errors of 9500 uniform values
    }
}

TEST(SequoiaModelFile, whatWasWrittenIsReadBackUpToFloatRounding) {
    const TemporaryFolder folder;
    const std::string path = folder.file("modèle");
    const BandModels written = someModels(8, 7); // the largest that fit
    writeModel(text(path), kModelSerial, written);
    const auto [serial, models] = readModel(text(path));
    EXPECT_EQ(serial, kModelSerial);
    ASSERT_EQ(models.size(), 4U);
    constexpr double kHalfUlp = 6e-8; // relative, of a float
    for (const auto& [name, model] : models) {
        const ModelParameter& w = written.at(name);
        EXPECT_NEAR(model.darkCurrent.darkOffset, w.darkCurrent.darkOffset, 400.0 * kHalfUlp);
        EXPECT_NEAR(model.darkCurrent.temperatureCoefficient,
                    w.darkCurrent.temperatureCoefficient,
                    0.04 * kHalfUlp);
        EXPECT_NEAR(model.cmos.gain, w.cmos.gain, 4000.0 * kHalfUlp);
        EXPECT_EQ(model.darkCurrent.dark, w.darkCurrent.dark.cast<float>().cast<double>());
        EXPECT_EQ(model.cmos.vignetting, w.cmos.vignetting.cast<float>().cast<double>());
        ASSERT_EQ(model.cmos.deltaTau.rows(), 8);
        ASSERT_EQ(model.cmos.deltaTau.cols(), 7);
        EXPECT_LT(((model.cmos.deltaTau - w.cmos.deltaTau).array() / w.cmos.deltaTau.array())
                      .abs()
                      .maxCoeff(),
                  kHalfUlp);
    }
}

TEST(SequoiaModelFile, sizesSurviveThatFallShortWhenTheirHundredthIsMultipliedAgain) {
    ASSERT_LT(53.0F / 100.0F * 100.0F, 53.0F);
    const TemporaryFolder folder;
    const std::string path = folder.file("model.tif");
    for (const Eigen::Index size : {1, 52, 53, 54, 59, 60, 105, 106, 107, 209, 497, 498}) {
        BandModels models = someModels(size, size);
        for (auto& [name, model] : models) {
            model.darkCurrent.dark = grid(size + 1, std::max<Eigen::Index>(2 * size, 6), 0.0, 1.0);
        }
        writeModel(text(path), kModelSerial, models);
        const auto [serial, read] = readModel(text(path));
        EXPECT_EQ(read.at("Red").cmos.deltaTau.rows(), size);
        EXPECT_EQ(read.at("Red").cmos.vignetting.cols(), size);
    }
}

TEST(SequoiaModelFile, twoWritesAreTheSameBytesAndCarryNoDate) {
    const TemporaryFolder folder;
    writeModel(text(folder.file("a.tif")), kModelSerial, someModels());
    writeModel(text(folder.file("b.tif")), kModelSerial, someModels());
    EXPECT_EQ(bytesOf(folder.file("a.tif")), bytesOf(folder.file("b.tif")));
    const exif::TagFile file = exif::readTags(folder.file("a.tif"));
    for (const char* key : {"Exif.Image.DateTime", "Exif.Photo.DateTimeOriginal"}) {
        EXPECT_EQ(file.tags.exif(key), nullptr) << key;
    }
    writeModel(text(folder.file("b.tif")), kModelSerial, someModels(4, 4));
    EXPECT_NE(bytesOf(folder.file("a.tif")), bytesOf(folder.file("b.tif")));
}

TEST(SequoiaModelFile, modelsThatDoNotFitAreRefusedAndNothingIsWritten) {
    struct Case {
        const char* what;
        std::function<void(BandModels&)> spoil;
        std::string message;
    };
    const auto cmosOf = [](Eigen::Index rows, Eigen::Index cols) {
        return [rows, cols](BandModels& m) {
            m["Red"].cmos = {grid(rows, cols, 0.0, 1.0), 1.0, grid(rows, cols, 0.0, 1.0)};
        };
    };
    const std::string sizes = "Inconsistent parameter sizes: dark ";
    const std::vector<Case> cases = {
        {"no NIR", [](BandModels& m) { m.erase("NIR"); }, "Band NIRis not in parameter map"},
        {"first missing band",
         [](BandModels& m) { m.clear(); },
         "Band Greenis not in parameter map"},
        {"too wide", cmosOf(4, 8), sizes + "9x14 deltaTau 4x8 vignetting 4x8"},
        {"too high", cmosOf(9, 3), sizes + "9x14 deltaTau 9x3 vignetting 9x3"},
        {"vignetting of another size",
         [](BandModels& m) { m["Red"].cmos.vignetting = grid(3, 4, 0.0, 1.0); },
         sizes + "9x14 deltaTau 4x3 vignetting 3x4"},
        {"no room for the header",
         [](BandModels& m) {
             for (auto& [name, model] : m) {
                 model = {{0.0, grid(9, 5, 0.0, 1.0), 0.0},
                          {grid(2, 2, 0.0, 1.0), 1.0, grid(2, 2, 0.0, 1.0)}};
             }
         },
         sizes + "9x5 deltaTau 2x2 vignetting 2x2"},
        {"no dark pattern",
         [](BandModels& m) { m["Green"].darkCurrent.dark.resize(0, 0); },
         sizes + "0x0 deltaTau 4x3 vignetting 4x3"},
        {"dark patterns of several sizes",
         [](BandModels& m) { m["NIR"].darkCurrent.dark = grid(9, 15, 0.0, 1.0); },
         "Unable to open output image PATH: bands differ in size"}};
    const TemporaryFolder folder;
    const std::string path = folder.file("model.tif");
    for (const Case& c : cases) {
        BandModels models = someModels();
        c.spoil(models);
        std::string message = c.message;
        if (const auto at = message.find("PATH"); at != std::string::npos) {
            message.replace(at, 4, path);
        }
        EXPECT_EQ(messageOf<error>([&] { writeModel(text(path), kModelSerial, models); }), message)
            << c.what;
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(SequoiaModelFile, aFileThatCannotBeWrittenIsRefusedWithTheReasonAndLeavesNothing) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("folder.tif"));
    for (const std::string& path : {folder.file("absent/model.tif"), folder.file("folder.tif")}) {
        const std::string message =
            messageOf<error>([&] { writeModel(text(path), kModelSerial, someModels()); });
        EXPECT_THAT(message, testing::StartsWith("Unable to open output image " + path + ": "));
        EXPECT_GT(message.size(), path.size() + 32);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(SequoiaModelFile, damagedFilesAreRefusedByTheirText) {
    struct Case {
        const char* what;
        std::function<void(BandImage&)> damage;
        std::string message; ///< after the path; empty = accepted
    };
    const auto set = [](std::size_t raster, Eigen::Index column, float value) {
        return [=](BandImage& r) { r[raster](0, column) = value; };
    };
    constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float next = std::nextafter(1.42F, 2.0F);
    const std::vector<Case> cases = {
        {"nothing", [](BandImage&) {}, ""},
        {"marker of NIR", set(7, 13, 0.0F), " for band NIR"},
        {"marker is NaN", set(5, 13, kNan), " for band Red edge"},
        {"marker one step away", set(1, 13, next), ""},
        {"marker two steps away", set(1, 13, std::nextafter(next, 2.0F)), " for band Green"},
        {"columns NaN", set(1, 3, kNan), " for band Green"},
        {"rows NaN", set(3, 4, kNan), " for band Red"},
        {"columns infinite", set(3, 3, kInfinity), " for band Red"},
        {"rows far beyond any integer", set(3, 4, 3e38F), " for band Red"},
        {"columns negative", set(1, 3, -0.01F), " for band Green"},
        {"rows far below any integer", set(1, 4, -3e38F), " for band Green"},
        {"as many columns as fit", set(1, 3, 0.07F), ""},
        {"one column more", set(1, 3, 0.08F), " for band Green"},
        {"as many rows as fit", set(1, 4, 0.08F), ""},
        {"one row more", set(1, 4, 0.09F), " for band Green"},
        {"seven rasters", [](BandImage& r) { r.pop_back(); }, " "},
        {"nine rasters", [](BandImage& r) { r.push_back(r.front()); }, " "},
        {"no room for the header",
         [](BandImage& r) {
             for (BandMatrix& raster : r) {
                 raster = BandMatrix(raster.rightCols(5));
             }
         },
         " "},
        {"a single row",
         [](BandImage& r) {
             for (BandMatrix& raster : r) {
                 raster = BandMatrix(raster.topRows(1));
             }
         },
         " for band Green"}};
    const TemporaryFolder folder;
    const std::string sound = folder.file("sound.tif");
    writeModel(text(sound), kModelSerial, someModels());
    for (const Case& c : cases) {
        BandImage rasters = image::Raster::open(sound).read();
        c.damage(rasters);
        const std::string path = folder.file("damaged.tif");
        image::writeFloatRaster(path, rasters);
        std::string refusal = "Incorrect format of parameter file " + path;
        refusal += c.message == " " ? "" : c.message;
        EXPECT_EQ(messageOfReading(path), c.message.empty() ? "no error" : refusal) << c.what;
    }
}

TEST(SequoiaModelFile, brokenBytesAreRefusedOrUnderstoodButNeverMore) {
    const TemporaryFolder folder;
    const std::string sound = folder.file("sound.tif");
    const std::string path = folder.file("broken.tif");
    EXPECT_EQ(messageOfReading(path), "Unable to read " + path); // there is none
    writeModel(text(sound), kModelSerial, someModels());
    const std::string bytes = bytesOf(sound);
    writeBytes(path, "this is no image");
    EXPECT_EQ(messageOfReading(path), "Unable to read " + path);
    for (const std::size_t kept : {std::size_t{0}, std::size_t{8}, bytes.size() / 2}) {
        writeBytes(path, bytes.substr(0, kept));
        EXPECT_EQ(messageOfReading(path), "Unable to read " + path) << kept;
    }
    const auto isExpected = testing::AnyOf(
        "no error", "Unable to read " + path, testing::StartsWith("Incorrect format of parameter"));
    for (std::size_t at = 0; at < std::min<std::size_t>(bytes.size(), 400); ++at) {
        std::string broken = bytes;
        broken[at] = static_cast<char>(~broken[at]);
        writeBytes(path, broken);
        ASSERT_THAT(messageOfReading(path), isExpected) << "byte " << at;
    }
}

} // namespace
} // namespace tessik::radiometry::sequoia
