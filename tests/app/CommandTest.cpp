#include "app/Command.h"

#include "platform/camera/ExifInfo.h"
#include "platform/exif/ExifReader.h"
#include "platform/exif/TagFile.h"
#include "platform/image/Raster.h"
#include "simulate/Compare.h"
#include "simulate/Flight.h"
#include "support/Support.h"

#include <exiv2/exiv2.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <tuple>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;

std::size_t lineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

/// Names of all files below a folder, but for what each run leaves beside its images.
std::set<std::string> filesIn(const fs::path& folder) {
    const std::set<std::string> ofRun = {"plan.json", "corrections.jsonl"};
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && ofRun.count(entry.path().filename().string()) == 0) {
            names.insert(entry.path().lexically_relative(folder).string());
        }
    }
    return names;
}

simulate::FlightOptions flightOptions(std::size_t captures) {
    simulate::FlightOptions options;
    options.captures = captures;
    options.width = 320;
    options.height = 240;
    return options;
}

/// The raw images of a flight alone, in this very folder.
void renderImages(const fs::path& folder, std::size_t captures = 1) {
    const TemporaryFolder whole;
    simulate::FlightOptions options = flightOptions(captures);
    options.hasTruth = false;
    simulate::renderFlight(whole.path() / "flight", options);
    fs::create_directories(folder.parent_path());
    fs::copy(
        whole.path() / "flight" / simulate::kImagesFolder, folder, fs::copy_options::recursive);
}

void expectTruth(simulate::CameraModel camera, const std::string& moreArguments = {}) {
    const TemporaryFolder folder;
    simulate::FlightOptions options = flightOptions(4);
    options.camera = camera;
    simulate::renderFlight(folder.path() / "flight", options);
    const Result result =
        radiometry(folder, "correct flight/images -o out --type camera -j 2" + moreArguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    for (const simulate::BandResult& band : simulate::compare(
             folder.path() / "flight", folder.path() / "out", simulate::Target::Radiance)) {
        EXPECT_LT(std::abs(band.bias), 0.2) << band.band;
        EXPECT_LT(std::abs(band.worstCaptureBias), 0.2) << band.band;
        EXPECT_LT(std::abs(band.worstLevelBias.value_or(0.0)), 0.2) << band.band;
        // The prediction is a mean over some 300,000 pixels: good to well below a percent.
        EXPECT_NEAR(band.rmsRatio(), 1.0, 0.02) << band.band;
        EXPECT_EQ(band.unexpectedMasked, 0U) << band.band;
        EXPECT_EQ(band.masked, band.expectedMasked) << band.band;
    }
}

TEST(CorrectCommand, aSimulatedFlightComesOutAsItsTruth) {
    expectTruth(simulate::CameraModel::RedEdge);
    expectTruth(simulate::CameraModel::SequoiaV1);
    expectTruth(simulate::CameraModel::SequoiaV2, " --sequoia-calibration flight/calibration");
}

/// What the dialects of these cameras say of gains, vignetting and where samples clip.
TEST(CorrectCommand, simulatedFlightsOfNewerBodiesComeOutAsTheirTruth) {
    for (const simulate::CameraModel camera : {simulate::CameraModel::RedEdgeP,
                                               simulate::CameraModel::P4m,
                                               simulate::CameraModel::M3m}) {
        const TemporaryFolder folder;
        simulate::FlightOptions options = flightOptions(6);
        options.camera = camera;
        simulate::renderFlight(folder.path() / "flight", options);
        const Result result =
            radiometry(folder, "correct flight/images -o out --targets none --utc-offset 0");
        EXPECT_EQ(result.status, 0) << result.err;
        for (const simulate::BandResult& band : simulate::compare(
                 folder.path() / "flight", folder.path() / "out", simulate::Target::Reflectance)) {
            EXPECT_LT(std::abs(band.bias), 0.2) << band.band;
            EXPECT_LT(std::abs(band.worstCaptureBias), 0.2) << band.band;
            EXPECT_LT(std::abs(band.worstLevelBias.value_or(0.0)), 0.2) << band.band;
            EXPECT_EQ(band.missed, 0U) << band.band;
            EXPECT_LE(static_cast<double>(band.unexpectedMasked),
                      1e-4 * static_cast<double>(band.pixels))
                << band.band;
        }
    }
}

TEST(CorrectCommand, withoutTheFactoryModelASequoiaIsVisiblyWorse) {
    const TemporaryFolder folder;
    simulate::FlightOptions options = flightOptions(4);
    options.camera = simulate::CameraModel::SequoiaV2;
    simulate::renderFlight(folder.path() / "flight", options);
    EXPECT_EQ(radiometry(folder, "correct flight/images -o out --type camera").status, 0);
    for (const simulate::BandResult& band : simulate::compare(
             folder.path() / "flight", folder.path() / "out", simulate::Target::Radiance)) {
        EXPECT_GT(std::abs(band.bias), 1.0) << band.band;
    }
    // Taken with the model the same images are not kept from the run without it.
    const Result with = radiometry(
        folder,
        "correct flight/images -o out --type camera --sequoia-calibration flight/calibration");
    EXPECT_EQ(with.out.rfind("16 images done, 0 kept", 0), 0U) << with.out;
}

/// Mean over the bands of the RMS error against reflectance, %, and what the noise alone predicts.
std::pair<double, double> reflectanceError(const fs::path& flight, const fs::path& corrected) {
    double rms = 0.0;
    double predicted = 0.0;
    const auto bands = simulate::compare(flight, corrected, simulate::Target::Reflectance);
    for (const simulate::BandResult& band : bands) {
        rms += band.rms / static_cast<double>(bands.size());
        predicted += band.predictedRms / static_cast<double>(bands.size());
    }
    return {rms, predicted};
}

TEST(CorrectCommand, eachLevelIsClearlyBetterWhenTheLightChangesAndTheSensorTilts) {
    const TemporaryFolder folder;
    simulate::FlightOptions options = flightOptions(60);
    options.width = 64;
    options.height = 48;
    options.seed = 2;
    options.sky = simulate::Sky::Clear;
    options.clearSky.drift = 3.0;
    simulate::renderFlight(folder.path() / "flight", options);
    std::map<std::string, double> rms;
    double noise = 0.0;
    const std::vector<std::pair<std::string, std::string>> runs = {
        {"camera", "--type camera"},
        {"irradiance", "--type irradiance"},
        {"absolute", "--type sun-angle-absolute"},
        {"relative", "--type auto --sensor-mount 0,0,0"},
        {"known", "--type sun-angle-absolute --sunlight 0.8"}};
    for (const auto& [name, arguments] : runs) {
        const Result result = radiometry(folder,
                                         "correct flight/images --light raw --targets none -o " +
                                             name + " " + arguments);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "") << name;
        std::tie(rms[name], noise) =
            reflectanceError(folder.path() / "flight", folder.path() / name);
    }
    EXPECT_GT(rms["camera"], 1.8 * rms["irradiance"]);
    EXPECT_GT(rms["irradiance"], 1.6 * rms["absolute"]);
    // What is left is the pixels' noise and the 1 % of the readings.
    EXPECT_LT(rms["absolute"], 1.2 * std::hypot(noise, 1.0));
    EXPECT_NEAR(rms["relative"], rms["absolute"], 1e-3);
    EXPECT_NEAR(rms["known"], rms["absolute"], 0.1);

    const Result fit = radiometry(folder, "sunlight flight/images --json");
    EXPECT_EQ(fit.status, 0) << fit.err;
    for (const Json& band : Json::parse(fit.out)) {
        EXPECT_EQ(band["readings"], 60);
        EXPECT_NEAR(band["fraction"].get<double>(), 0.8, 4 * band["standard_error"].get<double>());
        EXPECT_EQ(band["coefficients"].size(), 3U);
    }
    // An image without a place is left out, by name of none but with their number.
    exif::writeTags(folder.file("flight/images/IMG_0030_1.tif"),
                    {{"Exif.GPSInfo.GPSStatus", {"V"}}});
    const std::string mounted = "sunlight flight/images --sensor-mount ";
    const Result without = radiometry(folder, mounted + "1,-1,5 --sensor-angles --json");
    EXPECT_EQ(without.status, 0) << without.err;
    EXPECT_NE(without.err.find("take no part in the fit of direct sunlight: 1 "), std::string::npos)
        << without.err;
    EXPECT_EQ(Json::parse(without.out)[0]["readings"], 59);
    EXPECT_NE(radiometry(folder, mounted + "180,0,0").err.find("looks down"), std::string::npos);
}

TEST(CorrectCommand, whatTheSunAngleLacksIsSaidOfEachImage) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in", 2);
    // The flight is at noon in California; at 10:00 UTC it is night there.
    exif::writeTags(folder.file("in/IMG_0001_2.tif"),
                    {{"Exif.Photo.DateTimeOriginal", {"2024:06:21 10:00:00"}}});
    exif::writeTags(folder.file("in/IMG_0001_3.tif"),
                    {{"Exif.Photo.DateTimeOriginal", {"0000:00:00 00:00:00"}}});
    exif::writeTags(folder.file("in/IMG_0001_4.tif"), {{"Exif.GPSInfo.GPSStatus", {"V"}}});
    exif::writeTags(folder.file("in/IMG_0001_5.tif"), {{"Xmp.Camera.Irradiance", {"none"}}});
    const Result result =
        radiometry(folder, "correct in -o out --type sun-angle-absolute --sunlight 0.8");
    EXPECT_EQ(result.status, 2);
    for (const char* line : {"in/IMG_0001_2.tif: The sun is behind the horizon.",
                             "in/IMG_0001_3.tif: No valid time",
                             "in/IMG_0001_4.tif: Unable to convert from output coordinate system "
                             "to WGS-84: no position "
                             "in the metadata",
                             "in/IMG_0001_5.tif: no irradiance reading in the metadata"}) {
        EXPECT_NE(result.err.find(std::string("radiometry: ") + line + "\n"), std::string::npos)
            << line << "\n"
            << result.err;
    }
    EXPECT_EQ(result.out.rfind("6 images done, 0 kept, 4 failed", 0), 0U) << result.out;
}

TEST(CorrectCommand, aSequoiaWithoutItsExposureIsRefused) {
    const TemporaryFolder folder;
    simulate::FlightOptions options = flightOptions(1);
    options.camera = simulate::CameraModel::SequoiaV1;
    simulate::renderFlight(folder.path() / "flight", options);
    for (const auto& entry : fs::directory_iterator(folder.path() / "flight/images")) {
        exif::writeTags(entry.path().string(), {{"Exif.Photo.ISOSpeedRatings", {"0"}}});
    }
    const Result result = radiometry(folder, "correct flight/images -o out --type camera");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("no ISO or no f-number in the metadata"), std::string::npos)
        << result.err;
    EXPECT_TRUE(filesIn(folder.path() / "out").empty());
}

TEST(SunCommand, saysWhereTheSunStands) {
    const TemporaryFolder folder;
    // An independent ephemeris: azimuth 179.0691, elevation 61.9623 at Greenwich.
    for (const char* time : {"1592740800", "2020-06-21T12:00:00Z", "2020-06-21T14:00:00+02:00"}) {
        const Result result =
            radiometry(folder, std::string("sun --lat 51.4779 --lon 0 --json --time ") + time);
        const Json sun = Json::parse(result.out);
        EXPECT_NEAR(sun["azimuth_deg"].get<double>(), 179.0691, 0.01) << time;
        EXPECT_NEAR(sun["elevation_deg"].get<double>(), 61.9623, 0.005) << time;
    }
    const Result night = radiometry(folder, "sun --lat 51.4779 --lon 0 --json --time 1592697600");
    EXPECT_TRUE(Json::parse(night.out)["direct_fraction"].is_null());
}

TEST(SequoiaModelCommand, showsAModelFileAndRefusesADamagedOne) {
    const TemporaryFolder folder;
    simulate::FlightOptions options = flightOptions(1);
    options.camera = simulate::CameraModel::SequoiaV2;
    simulate::renderFlight(folder.path() / "flight", options);
    const std::string file = "flight/calibration/PI040412AB5E000273.tif";
    const Json model =
        Json::parse(radiometry(folder, "sequoia-model show " + file + " --json").out);
    EXPECT_EQ(model["serial"], "PI040412AB5E000273");
    ASSERT_EQ(model["bands"].size(), 4U);
    EXPECT_EQ(model["bands"][2]["name"], "Red edge");
    EXPECT_EQ(model["bands"][2]["delta_tau_s"]["columns"], 320 / 4);
    EXPECT_EQ(radiometry(folder, "sequoia-model check " + file).status, 0);
    fs::resize_file(folder.path() / file, 5000);
    const Result damaged = radiometry(folder, "sequoia-model check " + file);
    EXPECT_EQ(damaged.status, 1);
    EXPECT_NE(damaged.err.find("Unable to read " + file), std::string::npos) << damaged.err;
}

TEST(CorrectCommand, oneBadImageCostsOneLineAndNothingElse) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    const std::string whole = readAll(folder.path() / "in/IMG_0000_1.tif");
    std::ofstream(folder.path() / "in/empty.tif");
    std::ofstream(folder.path() / "in/text.tif") << "no image";
    std::ofstream(folder.path() / "in/truncated.tif") << whole.substr(0, whole.size() / 2);
    image::writeUInt16Raster(folder.file("in/bare.tif"), {test::ramp(8, 8)});
    std::ofstream(folder.path() / "in/notes.txt") << "not looked at";

    const Result result = radiometry(folder, "correct in gone.tif -o out --type camera");
    EXPECT_EQ(result.status, 2);
    for (const char* line : {"in/empty.tif: the file is empty",
                             "in/text.tif: not a readable TIFF or JPEG image",
                             "in/truncated.tif: ",
                             "in/bare.tif: no camera metadata",
                             "gone.tif: no such file"}) {
        EXPECT_NE(result.err.find(std::string("radiometry: ") + line), std::string::npos)
            << line << "\n"
            << result.err;
    }
    EXPECT_EQ(lineCount(result.err), 5U) << result.err;
    EXPECT_EQ(filesIn(folder.path() / "out"),
              (std::set<std::string>{"IMG_0000_1.tif",
                                     "IMG_0000_2.tif",
                                     "IMG_0000_3.tif",
                                     "IMG_0000_4.tif",
                                     "IMG_0000_5.tif"}));
    EXPECT_EQ(result.out.rfind("5 images done, 0 kept, 5 failed; ", 0), 0U) << result.out;
}

TEST(CorrectCommand, outputsAreKeptMarkedAndMadeAnewWhenAsked) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    EXPECT_EQ(radiometry(folder, "correct in -o out --type camera").status, 0);
    const std::string first = readAll(folder.path() / "out/IMG_0000_3.tif");

    fs::remove(folder.path() / "out/IMG_0000_3.tif");
    const Result resumed = radiometry(folder, "correct in -o out --type camera");
    EXPECT_EQ(resumed.out.rfind("1 images done, 4 kept, 0 failed; ", 0), 0U) << resumed.out;
    EXPECT_EQ(readAll(folder.path() / "out/IMG_0000_3.tif"), first);
    EXPECT_EQ(radiometry(folder, "correct in -o out --type camera --overwrite").out.substr(0, 8),
              "5 images");
    const Result otherType = radiometry(folder, "correct in -o out --type none");
    EXPECT_EQ(otherType.out.rfind("5 images done, 0 kept", 0), 0U) << otherType.out;

    const Result twice = radiometry(folder, "correct out -o again --type camera");
    EXPECT_EQ(twice.status, 1);
    EXPECT_NE(twice.err.find("out/IMG_0000_1.tif: already corrected"), std::string::npos);
    EXPECT_EQ(radiometry(folder, "correct in -o in --type camera").status, 1);
}

TEST(CorrectCommand, outputsKeepTheCaptureAndDropTheRawState) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    EXPECT_EQ(radiometry(folder, "correct in/IMG_0000_4.tif -o out --type camera").status, 0);
    const exif::ImageMetadata before = exif::readMetadata(folder.file("in/IMG_0000_4.tif"));
    const exif::ImageMetadata after = exif::readMetadata(folder.file("out/IMG_0000_4.tif"));
    EXPECT_EQ(after.exif.make, before.exif.make);
    EXPECT_EQ(after.exif.serialNumber, before.exif.serialNumber);
    EXPECT_EQ(after.exif.bandNames, before.exif.bandNames);
    EXPECT_EQ(after.exif.bands, before.exif.bands);
    EXPECT_EQ(after.exif.exposureTime, before.exif.exposureTime);
    EXPECT_EQ(after.geo.captureTime, before.geo.captureTime);
    ASSERT_TRUE(after.geo.position);
    EXPECT_EQ(after.geo.position->latitude, before.geo.position->latitude);
    EXPECT_TRUE(after.exif.isNormalized);
    EXPECT_TRUE(after.exif.darkLevels.empty());
    EXPECT_TRUE(after.exif.sensitivity.empty());
    EXPECT_TRUE(after.exif.sunIrradiance.empty());
    EXPECT_TRUE(after.exif.badPixels.empty());
    EXPECT_EQ(after.exif.vignetting.coefficients.size(), 0);
    EXPECT_FALSE(micasense::hasValid3kModel(after.exif.micaSense3kModel));
    EXPECT_EQ(image::Raster::open(folder.file("out/IMG_0000_4.tif")).type(), DataType::Float32);
}

/// The tags of a file by key, as text. Those of an XMP structure come apart, so they are left out.
std::map<std::string, std::string> tagsOf(const fs::path& file) {
    const auto image = Exiv2::ImageFactory::open(file.string());
    image->readMetadata();
    std::map<std::string, std::string> tags;
    for (const auto& datum : image->exifData()) {
        tags[datum.key()] = datum.toString();
    }
    for (const auto& datum : image->xmpData()) {
        if (datum.key().find_first_of("[/") == std::string::npos) {
            tags[datum.key()] = datum.toString();
        }
    }
    return tags;
}

/// Tag by tag: what the output has of its source, and what it must not have.
void expectDescriptionKept(const fs::path& source, const fs::path& output) {
    const std::vector<std::string> rawState = {"BlackLevel",
                                               "BlackCurrent",
                                               "Vignetting",
                                               "BandSensitivity",
                                               "RadiometricCalibration",
                                               "SensorModel",
                                               "InvalidPixel",
                                               "Irradiance",
                                               "SunSensor",
                                               "ColorTransform",
                                               "SensorGain",
                                               "DarkRowValue"};
    const std::set<std::string> copied = {"Exif.Image.Make",
                                          "Exif.Image.Model",
                                          "Exif.Image.Software",
                                          "Exif.Image.DateTime",
                                          "Exif.Image.Orientation"};
    const std::map<std::string, std::string> before = tagsOf(source);
    const std::map<std::string, std::string> after = tagsOf(output);
    std::size_t kept = 0;
    for (const auto& [key, value] : before) {
        const bool isRawState =
            std::any_of(rawState.begin(), rawState.end(), [&key = key](const std::string& word) {
                return key.find("." + word) != std::string::npos;
            });
        const bool isOfCapture = copied.count(key) > 0 || key.rfind("Exif.GPSInfo.", 0) == 0 ||
                                 key.rfind("Exif.Photo.", 0) == 0;
        const bool isCopied = isOfCapture && key != "Exif.Photo.MakerNote";
        const auto found = after.find(key);
        if (isRawState) {
            EXPECT_TRUE(found == after.end()) << output << " " << key;
        } else if (isCopied || (key.rfind("Xmp.Camera.", 0) == 0 && found != after.end())) {
            ASSERT_TRUE(found != after.end()) << output << " " << key;
            EXPECT_EQ(found->second, key == "Xmp.Camera.IsNormalized" ? "1" : value) << key;
            ++kept;
        }
    }
    EXPECT_GT(kept, 15U) << output;
    EXPECT_EQ(after.at("Xmp.Camera.IsNormalized"), "1");
    for (const char* key : {"BandName", "CentralWavelength", "RigName", "RigCameraIndex"}) {
        const std::string name = std::string("Xmp.Camera.") + key;
        EXPECT_EQ(before.count(name), after.count(name)) << output << " " << name;
    }
}

TEST(CorrectCommand, outputsHaveEachTagThatSaysWhereWhenAndHow) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    std::vector<fs::path> sources = {folder.path() / "in" / "IMG_0000_3.tif"};
    if (const auto samples = test::samplesFolder()) {
        sources.push_back(*samples / "rededge" / "IMG_0001_2.tif");
        sources.push_back(*samples / "sequoia" / "IMG_180413_080658_0000_GRE.TIF");
        sources.push_back(*samples / "p4m" / "DJI_0012.TIF");
    }
    for (const fs::path& source : sources) {
        for (const char* options : {"", " --co COMPRESS=DEFLATE --co TILED=YES"}) {
            ASSERT_EQ(radiometry(folder,
                                 "correct '" + source.string() +
                                     "' -o out --overwrite --type camera --utc-offset 0" + options)
                          .status,
                      0);
            fs::path output = folder.path() / "out" / source.filename();
            output.replace_extension(".tif");
            expectDescriptionKept(source, output);
        }
    }
    const Result again = radiometry(folder, "correct out/IMG_0000_3.tif -o again");
    EXPECT_EQ(again.err, "radiometry: out/IMG_0000_3.tif: already corrected\n");
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(radiometry(folder, "correct in -o out --co BIGTIFF=YES").status, 1);
}

TEST(CorrectCommand, pathsOfFoldersAndListsStayAndSeveralFoldersAreToldApart) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in/a");
    fs::create_directories(folder.path() / "in/b");
    fs::copy_file(folder.path() / "in/a/IMG_0000_1.tif", folder.path() / "in/b/IMG_0000_1.TIF");
    EXPECT_EQ(radiometry(folder, "correct in -o out --type camera").status, 0);
    EXPECT_EQ(filesIn(folder.path() / "out").count("a/IMG_0000_1.tif"), 1U);
    EXPECT_EQ(filesIn(folder.path() / "out").count("b/IMG_0000_1.tif"), 1U);

    std::ofstream(folder.path() / "list.txt") << "in/a/IMG_0000_2.tif\n\nin/b/IMG_0000_1.TIF\r\n";
    EXPECT_EQ(radiometry(folder, "correct @list.txt -o listed --type camera").status, 0);
    EXPECT_EQ(filesIn(folder.path() / "listed"),
              (std::set<std::string>{"in/a/IMG_0000_2.tif", "in/b/IMG_0000_1.tif"}));

    // Files and folders of several places are told apart by as many names as it takes.
    fs::copy(folder.path() / "in", folder.path() / "other", fs::copy_options::recursive);
    EXPECT_EQ(
        radiometry(folder, "correct in/a/IMG_0000_1.tif in/a/IMG_0000_2.tif -o one --type camera")
            .status,
        0);
    EXPECT_EQ(filesIn(folder.path() / "one"),
              (std::set<std::string>{"IMG_0000_1.tif", "IMG_0000_2.tif"}));
    EXPECT_EQ(radiometry(folder, "correct in/a in/b/IMG_0000_1.TIF -o two --type camera").status,
              0);
    EXPECT_EQ(filesIn(folder.path() / "two").count("a/IMG_0000_5.tif"), 1U);
    EXPECT_EQ(filesIn(folder.path() / "two").count("b/IMG_0000_1.tif"), 1U);
    EXPECT_EQ(radiometry(folder, "correct in/b other/b/ -o three --type camera").status, 0);
    EXPECT_EQ(filesIn(folder.path() / "three"),
              (std::set<std::string>{"in/b/IMG_0000_1.tif", "other/b/IMG_0000_1.tif"}));
    // Of one place, two images of one output are a clash.
    fs::copy_file(folder.path() / "in/a/IMG_0000_2.tif", folder.path() / "in/b/IMG_0000_1.tiff");
    const Result clash = radiometry(folder, "correct in/b -o c --type camera");
    EXPECT_EQ(clash.status, 2);
    EXPECT_NE(clash.err.find("another image has the same output"), std::string::npos) << clash.err;
}

TEST(CorrectCommand, whatIsNoRegularFileIsRefusedAndNothingWaitsForIt) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    ASSERT_EQ(mkfifo(folder.file("in/pipe.tif").c_str(), 0600), 0);
    const Result result = radiometry(folder, "correct in -o out --type camera");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              "radiometry: in/pipe.tif: not a regular file (a pipe, a device or a socket)\n");
    EXPECT_EQ(radiometry(folder, "inspect in/pipe.tif").status, 1);
}

TEST(Commands, controlCharactersOfMetadataAndNamesNeverReachATerminal) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    const std::string hostile = "Bl\x1b[2Jue\x7f \xc2\x9b"
                                "31m";
    for (const auto& entry : fs::directory_iterator(folder.path() / "in")) {
        exif::writeTags(entry.path().string(), {{"Xmp.Camera.BandName", {hostile}}});
    }
    fs::copy_file(folder.path() / "in/IMG_0000_1.tif", folder.path() / "in/a\x1b[31m.tif");
    std::ofstream(folder.path() / "in/b\x1b[31m.tif") << "not an image";
    for (const char* arguments :
         {"inspect in",
          "inspect in --json",
          "validate in",
          "validate in --json",
          "plan in",
          "correct in -o out",
          "calibrate in --reflectance 475=0.5 --region '1,1 9,1 9,9 1,9'"}) {
        const Result result = radiometry(folder, arguments);
        EXPECT_NE(result.out + result.err, "") << arguments;
        for (const std::string& text : {result.out, result.err}) {
            EXPECT_EQ(text.find_first_of("\x1b\x7f"), std::string::npos) << arguments;
            EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos) << arguments;
        }
    }
    const Json described = Json::parse(radiometry(folder, "inspect in/IMG_0000_1.tif --json").out);
    const auto name = described.at(0).at("bands").at(0).at("name").get<std::string>();
    EXPECT_NE(name.find("\xc2\x9b"), std::string::npos); // nothing is lost
}

TEST(CorrectCommand, badUsageIsStatusOne) {
    const TemporaryFolder folder;
    for (const char* arguments : {"",
                                  "correct",
                                  "correct x.tif",
                                  "correct . -o out --type sun",
                                  "correct @none.txt -o out",
                                  "inspect",
                                  "frobnicate"}) {
        const Result result = radiometry(folder, arguments);
        EXPECT_EQ(result.status, 1) << arguments;
        EXPECT_NE(result.err, "") << arguments;
        EXPECT_EQ(result.out, "") << arguments;
    }
    EXPECT_EQ(radiometry(folder, "correct --help").status, 0);
    EXPECT_EQ(radiometry(folder, "correct . -o out --sunlight 1.5").status, 1);
    EXPECT_EQ(radiometry(folder, "sun --time noon --lat 1 --lon 2").status, 1);
}

TEST(InspectCommand, saysWhatIsUnderstoodAndWhatWouldBeDone) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in");
    const Result result =
        radiometry(folder, "inspect in/IMG_0000_1.tif in/IMG_0000_2.tif gone.tif --json");
    EXPECT_EQ(result.status, 2);
    const Json images = Json::parse(result.out);
    ASSERT_EQ(images.size(), 2U);
    const Json& image = images[1];
    EXPECT_EQ(image["file"], "in/IMG_0000_2.tif");
    EXPECT_NE(image["camera"]["id"], images[0]["camera"]["id"]);
    EXPECT_EQ(image["camera"]["make"], "MicaSense");
    EXPECT_EQ(image["bands"],
              Json::parse(R"([{"name":"Green","wavelength_nm":560,"fwhm_nm":20}])"));
    EXPECT_EQ(image["pixel_type"], "uint16");
    EXPECT_EQ(image["vignetting"]["type"], "radial polynomial");
    EXPECT_EQ(image["vignetting"]["coefficients"].size(), 7U);
    EXPECT_EQ(image["vignetting"]["coefficients"][0], 1.0);
    EXPECT_EQ(image["dark_levels"][0].size(), 2U);
    EXPECT_EQ(image["color_matrix"], Json());
    EXPECT_EQ(image["correction_type"], "irradiance");
    EXPECT_EQ(image["missing"]["sun-angle"], Json::parse(R"(["sun-irradiance-orientation"])"));
    const std::vector<std::string> chain = image["chain"];
    EXPECT_EQ(chain.back(), "ConvertNanToNodata");
    EXPECT_NE(std::find(chain.begin(), chain.end(), "MicaSenseRedEdgeOpticalCamera"), chain.end());
    const std::vector<std::string> applicable = image["applicable"];
    EXPECT_EQ(std::find(applicable.begin(), applicable.end(), "ColorMatrix"), applicable.end());
    EXPECT_NE(std::find(applicable.begin(), applicable.end(), "BadPixelMasking"), applicable.end());
}

TEST(InspectCommand, aFlightOfCamerasWithLocalTimeHasOneClock) {
    const TemporaryFolder folder;
    renderImages(folder.path() / "in", 2);
    // Astride the border of what the longitude tells: -7 hours here, -8 there.
    const std::vector<std::pair<std::string, std::string>> longitudes = {
        {"in/IMG_0000_1.tif", "112/1 24/1 0/1"}, {"in/IMG_0001_1.tif", "112/1 36/1 0/1"}};
    for (const auto& [name, longitude] : longitudes) {
        exif::writeTags(
            folder.file(name),
            {{"Exif.Image.Make", {"Some maker"}}, {"Exif.GPSInfo.GPSLongitude", {longitude}}});
    }
    const auto times = [&folder](const std::string& options) {
        const Result result =
            radiometry(folder, "inspect in/IMG_0000_1.tif in/IMG_0001_1.tif --json " + options);
        EXPECT_EQ(result.err.find("without a time zone") != std::string::npos, options.empty())
            << result.err;
        const Json images = Json::parse(result.out);
        return std::pair(images[0]["capture_time_unix"].get<double>(),
                         images[1]["capture_time_unix"].get<double>());
    };
    const auto [first, second] = times("");
    EXPECT_NEAR(second - first, 1.5, 1.0);
    const auto [stated, statedSecond] = times("--utc-offset -6.5");
    EXPECT_EQ(first - stated, 1800.0);
    EXPECT_NEAR(statedSecond - stated, 1.5, 1.0);
}

/// The factor of a real image, from the angles that its files state and the sun's place as an
/// independent ephemeris gives it (azimuth 199.6018, elevation 41.1143 degrees).
TEST(Samples, theSunAngleFactorIsThatOfItsParts) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const TemporaryFolder folder;
    const Result result = radiometry(folder,
                                     "correct '" + samples->string() +
                                         "/rededge/IMG_0001_1.tif' -o out --sunlight 0.8 "
                                         "--type sun-angle-absolute");
    ASSERT_EQ(result.status, 0) << result.err;
    const Json record = Json::parse(readAll(folder.path() / "out" / "corrections.jsonl"));
    const auto told = [&record](const char* value) -> double {
        for (const Json& corrector : record.at("correctors")) {
            if (corrector.at("name") == "SunSensor") {
                return corrector.at("values").at(value).at("numbers").at(0);
            }
        }
        return std::nan("");
    };
    constexpr double kDegree = 3.14159265358979323846 / 180.0;
    const double yaw = -21.110888465668392 * kDegree;
    const double pitch = -0.55284960669560101 * kDegree;
    const double roll = -1.5354035422683689 * kDegree;
    const double azimuth = 199.6018 * kDegree;
    const double elevation = 41.1143 * kDegree;
    // Top of a body turned by yaw, pitch and roll, in north, east, up.
    const double north =
        -(std::cos(yaw) * std::sin(pitch) * std::cos(roll) + std::sin(yaw) * std::sin(roll));
    const double east =
        -(std::sin(yaw) * std::sin(pitch) * std::cos(roll) - std::cos(yaw) * std::sin(roll));
    const double tilt = std::cos(pitch) * std::cos(roll);
    const double incidence =
        std::cos(elevation) * (north * std::cos(azimuth) + east * std::sin(azimuth)) +
        std::sin(elevation) * tilt;
    const double factor =
        (0.8 * std::sin(elevation) + 0.2) / (0.8 * incidence + 0.2 * (0.5 + 0.5 * tilt * tilt));
    // The ephemeris states four decimals.
    EXPECT_NEAR(std::cos(told("sun_incidence") * kDegree), incidence, 2e-5);
    EXPECT_NEAR(std::cos(told("sensor_tilt") * kDegree), tilt, 1e-12);
    EXPECT_NEAR(told("factor"), factor, 2e-5);
}

/// Reference values computed independently from the camera makers' published formulas.
TEST(Samples, realImagesComeOutAsTheirMakersFormulas) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const TemporaryFolder folder;
    const Result result =
        radiometry(folder, "correct '" + samples->string() + "/rededge' -o out --type camera");
    EXPECT_EQ(result.status, 0) << result.err;
    std::ifstream table(*samples / "expected.csv");
    std::string line;
    std::getline(table, line);
    const std::vector<std::string> names = exif::splitList(line);
    int checked = 0;
    while (std::getline(table, line)) {
        const std::vector<std::string> row = exif::splitList(line);
        if (row[0].rfind("rededge/", 0) != 0) {
            continue;
        }
        const BandMatrix band =
            image::Raster::open(folder.file("out/" + row[0].substr(8))).read().at(0);
        for (std::size_t i = 1; i < names.size(); ++i) {
            int x = 0;
            int y = 0;
            // NOLINTNEXTLINE(cert-err34-c): a name without both numbers is another column
            if (std::sscanf(names[i].c_str(), "x%d_y%d", &x, &y) == 2) {
                const auto value = static_cast<double>(band(y, x));
                EXPECT_NEAR(value / std::stod(row[i]), 1.0, 2e-6) << row[0] << " " << names[i];
                ++checked;
            }
        }
        const auto masked = (band.array() == radiometry::kNoData).eval();
        EXPECT_EQ(masked.count(), std::stol(row.back())) << row[0];
        const double sum = masked.select(0.0, band.array().cast<double>()).sum();
        const double mean = sum / static_cast<double>(masked.size() - masked.count());
        EXPECT_NEAR(mean / std::stod(row[row.size() - 2]), 1.0, 2e-6) << row[0];
    }
    EXPECT_EQ(checked, 60);
}

} // namespace
} // namespace tessik::app
