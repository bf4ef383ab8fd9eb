#include "SequoiaSupport.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/cameras/sequoia/loadCalibration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace tessik::radiometry::sequoia {
namespace {

using test::grid;
using test::LogCapture;
using test::TemporaryFolder;

const QString kSerial = QStringLiteral("PI040378AA6C000181");
constexpr auto kProfileWarning = "w0502: Unable to load thermal profile ";

/// Models whose gain tells the band: 1000, 2000, 3000, 4000.
void writeModels(const std::string& path, const QString& serialNumber) {
    BandModels models;
    double k = 1.0;
    for (const char* name : {"Green", "Red", "Red edge", "NIR"}) {
        models[name] = {{5.0, grid(5, 8, 0.1, 0.1), 0.25 * k},
                        {grid(4, 2, 1e-4, 1e-5), 1000.0 * k, grid(4, 2, 1.0, 0.0)}};
        k += 1.0;
    }
    writeModel(QString::fromStdString(path), serialNumber, models);
}

/// A project with one image of each camera.
struct SequoiaProject {
    CamerasData cameras;
    std::vector<InputImage> images;

    void add(std::uint64_t id, const char* band, const QString& serialNumber = kSerial) {
        addImage(id, band, serialNumber);
        cameras[id].make = images.back().exif.make;
        cameras[id].model = images.back().exif.model;
    }
    void addImage(std::uint64_t id, const char* band, const QString& serialNumber) {
        InputImage image;
        image.exif = test::sequoiaExif(16, 8, band);
        image.exif.serialNumber = serialNumber;
        image.cameraId = id;
        images.push_back(image);
    }
};

class SequoiaFactoryCalibration : public testing::Test {
protected:
    SequoiaFactoryCalibration() {
        std::filesystem::create_directory(folder.path() / "body");
        writeModels(modelPath(), kSerial);
        writeProfile("Green = 0.5\n");
        project.add(7, "NIR");
        project.add(3, "Red edge");
        project.add(5, "Green");
    }

    [[nodiscard]] std::string modelPath() const { return folder.file("body/model.tif"); }
    [[nodiscard]] std::string profilePath() const { return folder.file("body/sequoia_therm.dat"); }
    [[nodiscard]] CalibrationFiles files() const {
        return {{kSerial, QString::fromStdString(modelPath())}};
    }
    void writeProfile(const std::string& content) const {
        std::ofstream(profilePath(), std::ios::binary) << content;
    }
    [[nodiscard]] std::unordered_map<std::uint64_t, ModelParameter> byCamera() const {
        return loadFactoryCalibrationByCamera(files(), project.cameras, project.images);
    }

    TemporaryFolder folder;
    SequoiaProject project;
};

TEST_F(SequoiaFactoryCalibration, everyCameraGetsTheModelOfItsBand) {
    project.cameras[11]; // of another maker
    const LogCapture log;
    const auto models = byCamera();
    EXPECT_EQ(log.records().size(), 0U) << log.all();
    ASSERT_EQ(models.size(), 3U);
    EXPECT_NEAR(models.at(7).cmos.gain, 4000.0, 1e-3);
    EXPECT_NEAR(models.at(3).cmos.gain, 3000.0, 1e-3);
    EXPECT_NEAR(models.at(5).cmos.gain, 1000.0, 1e-3);
}

TEST_F(SequoiaFactoryCalibration, aSerialNumberLeadsToTheModelOfItsFirstCamera) {
    project.add(2, "Blue");
    const auto models = loadFactoryCalibration(files(), project.cameras, project.images);
    ASSERT_EQ(models.size(), 1U);
    EXPECT_NEAR(models.at(serialNumberKey(kSerial)).cmos.gain, 3000.0, 1e-3); // camera 3
}

TEST_F(SequoiaFactoryCalibration, aCameraWithoutABandOfTheFileIsWarnedOfWhereItDoesWithout) {
    project.add(9, "Blue");
    project.add(10, "NIR");
    project.images.back().exif.bandNames.clear();
    const LogCapture log;
    EXPECT_EQ(byCamera().size(), 3U);
    for (const char* camera : {"9 of Sequoia with serial number PI040378AA6C000181 names no band "
                               "of its model file (Blue)",
                               "10 of Sequoia with serial number PI040378AA6C000181 names no band "
                               "of its model file (none)"}) {
        EXPECT_EQ(log.count(logging::kWarning,
                            std::string("Camera ID ") + camera + ": it is corrected without."),
                  1)
            << log.all();
    }
    const LogCapture bySerial; // where another camera of the body leads to the model
    EXPECT_EQ(loadFactoryCalibration(files(), project.cameras, project.images).size(), 1U);
    EXPECT_EQ(bySerial.records().size(), 0U) << bySerial.all();
}

TEST_F(SequoiaFactoryCalibration, aSerialNumberHasAModelWhateverTheBands) {
    project = SequoiaProject();
    project.add(7, "Blue");
    const LogCapture log;
    const auto models = loadFactoryCalibration(files(), project.cameras, project.images);
    EXPECT_NEAR(models.at(serialNumberKey(kSerial)).cmos.gain, 1000.0, 1e-3); // Green
    EXPECT_EQ(log.count(logging::kWarning,
                        "Sequoia with serial number PI040378AA6C000181: no camera of it names a "
                        "band of its model file; the model of band Green is taken."),
              1)
        << log.all();
}

TEST_F(SequoiaFactoryCalibration, camerasThatAreNoSequoiaAndUnknownBodiesHaveNone) {
    project.cameras[7].make = QStringLiteral("Parrot SA");
    project.cameras[3].model = QStringLiteral("Anafi");
    project.images[2].exif.serialNumber = QStringLiteral("PI0");
    const LogCapture log;
    EXPECT_TRUE(byCamera().empty());
    EXPECT_EQ(log.records().size(), 0U) << log.all();
}

TEST(SequoiaSerialNumber, decimalTextIsItsOwnKeyAndOtherTextIsHashed) {
    EXPECT_EQ(serialNumberKey("18446744073709551615"), 18446744073709551615ULL);
    EXPECT_EQ(serialNumberKey("0042"), 42U);
    // Published values of the 64-bit FNV-1a hash.
    EXPECT_EQ(serialNumberKey(""), 0xcbf29ce484222325ULL);
    EXPECT_EQ(serialNumberKey("a"), 0xaf63dc4c8601ec8cULL);
    EXPECT_EQ(serialNumberKey("foobar"), 0x85944171f73967e8ULL);
    for (const char* other : {"18446744073709551616", "-1", "+42", " 42", "4 2", "0x2A"}) {
        EXPECT_GT(serialNumberKey(other), 1000000U) << other;
    }
}

TEST_F(SequoiaFactoryCalibration, aFileOfAnotherBodyIsNotUsedAndWarnedOfOnce) {
    writeModels(modelPath(), "PI99");
    const LogCapture log;
    EXPECT_TRUE(byCamera().empty());
    EXPECT_EQ(log.count(logging::kWarning,
                        "w0501: Serial number mismatch: " + modelPath() +
                            " belongs to Sequoia with serial number PI99 but requested was serial "
                            "number PI040378AA6C000181. The data cannot be used."),
              1);
    EXPECT_EQ(log.records().size(), 1U) << log.all();
}

TEST_F(SequoiaFactoryCalibration, serialNumbersAreComparedAsText) {
    writeModels(modelPath(), "0042");
    project = SequoiaProject();
    project.add(1, "NIR", "42");
    const LogCapture log;
    EXPECT_TRUE(loadFactoryCalibration(
                    {{"42", QString::fromStdString(modelPath())}}, project.cameras, project.images)
                    .empty());
    EXPECT_THAT(log.all(), testing::StartsWith("w0501: "));
}

TEST_F(SequoiaFactoryCalibration, aFileThatCannotBeReadLeavesItsBodyOut) {
    std::filesystem::resize_file(modelPath(), 100);
    const QString sound = QString::fromStdString(folder.file("sound.tif"));
    writeModels(sound.toStdString(), "123");
    project.add(20, "NIR", "123");
    CalibrationFiles both = files();
    both["123"] = sound;
    const LogCapture log;
    const auto models = loadFactoryCalibration(both, project.cameras, project.images);
    EXPECT_EQ(
        log.count(logging::kWarning,
                  "Sequoia with serial number PI040378AA6C000181: Unable to read " + modelPath()),
        1)
        << log.all();
    ASSERT_EQ(models.size(), 1U);
    EXPECT_NEAR(models.at(123).cmos.gain, 4000.0, 1e-3);
}

TEST_F(SequoiaFactoryCalibration, imagesOfDifferentBodiesUnderOneCameraAreWarnedOf) {
    project.addImage(7, "NIR", "PI2");
    project.addImage(7, "NIR", "PI1");
    project.addImage(7, "NIR", "PI2");
    project.addImage(7, "NIR", ""); // not stated
    const LogCapture log;
    const auto models = byCamera();
    EXPECT_EQ(log.count(logging::kWarning,
                        "Camera ID 7 contains images with different serial numbers: "
                        "PI040378AA6C000181 PI2 PI1"),
              1)
        << log.all();
    EXPECT_EQ(models.count(7), 0U); // no model is right for all its images
    EXPECT_EQ(models.size(), 2U);
    const auto bySerial = loadFactoryCalibration(files(), project.cameras, project.images);
    EXPECT_EQ(bySerial.count(serialNumberKey(kSerial)), 1U);
}

TEST_F(SequoiaFactoryCalibration, theThermalProfileReplacesTheCoefficientsThatItNames) {
    writeProfile("# oven, 2018\r\n\r\n  Red edge=-1.5e-2 # per degree\r\nNIR =  3\r\n"
                 "# Green = 9\r\n");
    const LogCapture log;
    const auto models = byCamera();
    EXPECT_EQ(log.records().size(), 0U) << log.all();
    EXPECT_EQ(models.at(3).darkCurrent.temperatureCoefficient, -0.015);
    EXPECT_EQ(models.at(7).darkCurrent.temperatureCoefficient, 3.0);
    EXPECT_EQ(models.at(5).darkCurrent.temperatureCoefficient, 0.25); // the model file's own
}

TEST_F(SequoiaFactoryCalibration, aProfileThatIsMalformedInOneLineIsNotUsedAtAll) {
    struct Case {
        std::string content;
        std::string reason;
    };
    for (const Case& c :
         {Case{"Green = 1\nNIR 2\n", "line 2: expected a band name, '=' and a coefficient"},
          {"Green = 1\n\n# note\nBlue = 2\n", "line 4: unknown band 'Blue'"},
          {"Green = 1\n= 2", "line 2: unknown band ''"},
          {"Green = 1,5\n", "line 1: '1,5' is not a finite number"},
          {"Green = 1\nRed =\n", "line 2: '' is not a finite number"},
          {"Green = 1\nRed = nan\n", "line 2: 'nan' is not a finite number"},
          {"Green = 1\nRed = 1e999\n", "line 2: '1e999' is not a finite number"},
          {"Green = 1\nGreen = 2\n", "line 2: band 'Green' is stated twice"},
          {"# nothing\n", "states no coefficient"},
          {std::string(65537, ' '), "longer than 65536 bytes"}}) {
        writeProfile(c.content);
        const LogCapture log;
        const auto models = byCamera();
        EXPECT_EQ(log.count(logging::kWarning,
                            kProfileWarning + profilePath() +
                                " for Sequoia with serial number PI040378AA6C000181: " + c.reason +
                                ". Results of this camera will have poor quality."),
                  1)
            << log.all();
        EXPECT_EQ(log.records().size(), 1U);
        ASSERT_EQ(models.size(), 3U);
        EXPECT_EQ(models.at(5).darkCurrent.temperatureCoefficient, 0.25) << c.reason;
    }
}

TEST_F(SequoiaFactoryCalibration, withoutAProfileTheModelFileServesWithAWarning) {
    std::filesystem::remove(profilePath());
    for (const bool isFolder : {false, true}) {
        if (isFolder) {
            std::filesystem::create_directory(profilePath());
        }
        const LogCapture log;
        EXPECT_EQ(byCamera().at(7).darkCurrent.temperatureCoefficient, 1.0);
        EXPECT_THAT(log.all(), testing::StartsWith(kProfileWarning + profilePath() + " for "));
        EXPECT_EQ(log.records().size(), 1U) << log.all();
    }
}

} // namespace
} // namespace tessik::radiometry::sequoia
