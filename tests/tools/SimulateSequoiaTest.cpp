#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/Correct.h"
#include "radiometry/cameras/sequoia/ioModels.h"
#include "radiometry/cameras/sequoia/loadCalibration.h"
#include "simulate/SequoiaCamera.h"
#include "tools/RenderedFlight.h"

#include <map>
#include <tuple>

namespace tessik::simulate {
namespace {

namespace fs = std::filesystem;
namespace sequoia = radiometry::sequoia;

constexpr double kSaturated = 65472.0;
constexpr double kRadianceScale = 1.0 / kPi; ///< of radiance against reflectance x irradiance

/// Radiance from DN, pixel by pixel, without the pixels that tell nothing.
/// @param radiance of (row, column, DN); not positive where the sample is not above the dark level
BandMatrix invertPixels(const fs::path& file,
                        const std::function<double(Eigen::Index, Eigen::Index, double)>& radiance) {
    BandMatrix image = image::Raster::open(file).read().at(0);
    for (Eigen::Index r = 0; r < image.rows(); ++r) {
        for (Eigen::Index c = 0; c < image.cols(); ++c) {
            const auto sample = static_cast<double>(image(r, c));
            const double value = radiance(r, c, sample);
            image(r, c) = value > 0.0 && sample < kSaturated ? static_cast<float>(value) : kNoData;
        }
    }
    const std::vector<double> bad = exif::readTags(file).tags.xmpNumbers("Camera", "InvalidPixel");
    for (std::size_t i = 0; i + 1 < bad.size(); i += 2) {
        image(static_cast<Eigen::Index>(bad[i + 1]), static_cast<Eigen::Index>(bad[i])) = kNoData;
    }
    return image;
}

/// What an inversion deliberately does wrong.
struct SequoiaFault {
    bool swapsPowers = false;
    bool dropsCorrection = false;
};

/// Applies the maker's formula to the file's samples and tags only:
/// F^2 (DN - B) / (A t ISO + C) / brightness.
BandMatrix invertBySensorModel(const fs::path& file, const SequoiaFault& fault) {
    const exif::Tags tags = exif::readTags(file).tags;
    const std::vector<double> model = tags.xmpNumbers("Camera", "SensorModel");
    const std::vector<double> powers = tags.xmpNumbers("Camera", "VignettingPolynomial2DName");
    const std::vector<double> terms = tags.xmpNumbers("Camera", "VignettingPolynomial2D");
    const double fNumber = tags.exifNumber("Exif.Photo.FNumber").value();
    const double factor = fNumber * fNumber /
                          (model.at(0) * tags.exifNumber("Exif.Photo.ExposureTime").value() *
                               tags.exifNumber("Exif.Photo.ISOSpeedRatings").value() +
                           (fault.dropsCorrection ? 0.0 : model.at(2)));
    const std::size_t ofX = fault.swapsPowers ? 1 : 0;
    return invertPixels(file, [&](Eigen::Index r, Eigen::Index c, double sample) {
        const double x = static_cast<double>(c) / 400.0;
        const double y = static_cast<double>(r) / 304.0;
        double brightness = 0.0;
        for (std::size_t i = 0; i < terms.size(); ++i) {
            brightness += terms[i] * std::pow(x, powers.at(2 * i + ofX)) *
                          std::pow(y, powers.at(2 * i + 1 - ofX));
        }
        return factor * (sample - model.at(1)) / brightness;
    });
}

/// The value at a pixel of a grid whose even and odd rows are two fields, each with its corners on
/// the image's corners, by linear interpolation between grid points.
double valueAt(const sequoia::ParameterMatrix& grid, Eigen::Index row, Eigen::Index col) {
    const auto along = [](Eigen::Index i, Eigen::Index pixels, Eigen::Index points) {
        const double position = static_cast<double>(i) / static_cast<double>(pixels - 1) *
                                static_cast<double>(points - 1);
        const auto first = std::min(static_cast<Eigen::Index>(position), points - 2);
        return std::pair(first, position - static_cast<double>(first));
    };
    const auto [j, t] = along(row / 2, 2 * grid.rows(), grid.rows() / 2);
    const auto [i, s] = along(col, 4 * grid.cols(), grid.cols());
    const Eigen::Index upper = 2 * j + row % 2;
    return (1.0 - t) * ((1.0 - s) * grid(upper, i) + s * grid(upper, i + 1)) +
           t * ((1.0 - s) * grid(upper + 2, i) + s * grid(upper + 2, i + 1));
}

class UniformSequoiaFlight : public RenderedFlight {
protected:
    UniformSequoiaFlight() : RenderedFlight(smallFlight(CameraModel::SequoiaV1)) {}
};

class MeasuredSequoiaFlight : public RenderedFlight {
protected:
    MeasuredSequoiaFlight() : RenderedFlight(smallFlight(CameraModel::SequoiaV2)) {
        std::tie(serialNumber, models) =
            sequoia::readModel(QString::fromStdString(modelFile.string()));
    }

    /// Inverts image by image, as the library does.
    BandMatrix correctedByLibrary(const fs::path& file, bool withModel) const {
        const InputImage image = exif::inputImage(file, exif::readMetadata(file));
        BandImage bands = image::Raster::open(file).read();
        radiometry::correct(image,
                            exif::cameraParams(image.exif),
                            CameraExternals(),
                            {},
                            Eigen::ArrayXd(),
                            {radiometry::CorrectionType::CameraOnly},
                            geo::ProjectCoordinateSystems(),
                            withModel ? &models.at(image.exif.bandNames.at(0)) : nullptr,
                            bands,
                            {0, 0});
        return bands.at(0);
    }

    fs::path calibration = flight / SequoiaCamera::kCalibrationFolder;
    fs::path modelFile = calibration / (std::string(SequoiaCamera::kSerialNumber) + ".tif");
    QString serialNumber;
    sequoia::BandModels models;
};

TEST_F(UniformSequoiaFlight, theSensorModelGivesTheTruthBackWithinTheNoise) {
    expectTruth(inverted([](const fs::path& file) { return invertBySensorModel(file, {}); }),
                4,
                kRadianceScale);
}

TEST_F(UniformSequoiaFlight, whatACorrectionLeftInShows) {
    const auto swapped = inverted([](const fs::path& file) {
        return invertBySensorModel(file, {true, false});
    });
    const auto dropped = inverted([](const fs::path& file) {
        return invertBySensorModel(file, {false, true});
    });
    for (std::size_t b = 0; b < 4; ++b) {
        EXPECT_GT(swapped[b].rmsRatio(), 1.1) << swapped[b].band;
        EXPECT_GT(std::abs(dropped[b].worstCaptureBias), 0.5) << dropped[b].band;
    }
}

TEST_F(UniformSequoiaFlight, whatWasPutInTheFilesIsReadBack) {
    ASSERT_EQ(manifest.at("files").size(), 16U);
    EXPECT_EQ(manifest.at("files").at(6).at("file"), "IMG_240621_190000_0001_REG.TIF");
    std::map<int, std::size_t> speeds;
    double previousTemperature = 0.0;
    for (const auto& record : manifest.at("files")) {
        const std::string file = record.at("file");
        SCOPED_TRACE(file);
        const exif::ImageMetadata metadata = exif::readMetadata(flight / kImagesFolder / file);
        const ExifInfo& exif = metadata.exif;
        EXPECT_TRUE(metadata.warnings.empty());
        EXPECT_EQ(exif.make, "Parrot");
        EXPECT_EQ(exif.model, "Sequoia");
        EXPECT_EQ(exif.serialNumber, SequoiaCamera::kSerialNumber);
        EXPECT_EQ(exif.bandNames.at(0).toStdString(), record.at("band"));
        EXPECT_EQ(exif.exposureTime, record.at("exposure_s").get<double>());
        EXPECT_EQ(exif.iso, record.at("iso").get<int>());
        EXPECT_EQ(exif.apertureFNumber, 2.2);
        ++speeds[exif.iso];
        // Counts are whole numbers of some hundreds: 700 per second in 1 W/m2/nm.
        ASSERT_EQ(exif.sunIrradiance.size(), 1U);
        EXPECT_NEAR(
            exif.sunIrradiance[0] / (700.0 * record.at("irradiance").get<double>()), 1.0, 2e-3);
        EXPECT_EQ(exif.sunSensorYawPitchRoll, Eigen::Vector3d(3.5, 0.0, 0.0));
        if (record.at("band") == "Green") {
            EXPECT_GT(exif.sensorTemperature.value(), previousTemperature);
            previousTemperature = *exif.sensorTemperature;
        }
        const BandMatrix samples = image::Raster::open(flight / kImagesFolder / file).read().at(0);
        EXPECT_TRUE((samples.array() == (samples.array() / 64.0F).floor() * 64.0F).all());
        EXPECT_EQ(samples.maxCoeff(), 65472.0F); // a glint
        EXPECT_GT(record.at("saturated_pixels"), 0);
    }
    EXPECT_EQ(speeds, (std::map<int, std::size_t>{{100, 4}, {206, 4}, {398, 4}, {796, 4}}));
}

TEST_F(MeasuredSequoiaFlight, theModelFileHoldsWhatTheImagesWereRenderedWith) {
    const SequoiaCamera camera({options.width, options.height, options.seed, 1.0},
                               SequoiaCamera::Kind::Measured);
    EXPECT_EQ(serialNumber, SequoiaCamera::kSerialNumber);
    ASSERT_EQ(models.size(), 4U);
    CamerasData cameras;
    std::vector<InputImage> images;
    for (std::size_t b = 0; b < 4; ++b) {
        SCOPED_TRACE(camera.bands()[b].name);
        const SequoiaModel& truth = camera.models()[b];
        const sequoia::ModelParameter& read =
            models.at(QString::fromStdString(camera.bands()[b].name));
        constexpr double kFloat = 1.2e-7; // relative: two roundings to float
        EXPECT_NEAR(read.darkCurrent.darkOffset, truth.darkOffset, kFloat * truth.darkOffset);
        EXPECT_NEAR(read.darkCurrent.temperatureCoefficient, truth.temperatureCoefficient, 1e-8);
        EXPECT_NEAR(read.cmos.gain, truth.gain, kFloat * truth.gain);
        EXPECT_TRUE((read.darkCurrent.dark.array() == truth.dark.cast<double>().array()).all());
        EXPECT_TRUE(read.cmos.deltaTau.isApprox(truth.deltaTauGrid, kFloat));
        EXPECT_TRUE(read.cmos.vignetting.isApprox(truth.vignettingGrid, kFloat));

        const fs::path file = flight / kImagesFolder / camera.fileName(0, b);
        images.push_back(exif::inputImage(file, exif::readMetadata(file)));
        cameras[images.back().cameraId].make = images.back().exif.make;
        cameras[images.back().cameraId].model = images.back().exif.model;
    }
    // The library writes the same file again, with the same filler.
    sequoia::writeModel(QString::fromStdString(folder.file("again.tif")), serialNumber, models);
    const BandImage ours = image::Raster::open(modelFile).read();
    const BandImage again = image::Raster::open(folder.file("again.tif")).read();
    ASSERT_EQ(ours.size(), again.size());
    for (std::size_t i = 0; i < ours.size(); ++i) {
        EXPECT_LT((ours[i] - again[i]).cwiseAbs().maxCoeff(), 2e-7F) << i; // values are below 2
    }
    const test::LogCapture log(logging::kWarning);
    const auto loaded = sequoia::loadFactoryCalibrationByCamera(
        {{serialNumber, QString::fromStdString(modelFile.string())}}, cameras, images);
    EXPECT_EQ(log.all(), "");
    EXPECT_EQ(loaded.size(), 4U);
    for (std::size_t b = 0; b < 4; ++b) {
        // The profile beside the file states it without rounding to float.
        EXPECT_EQ(loaded.at(images[b].cameraId).darkCurrent.temperatureCoefficient,
                  camera.models()[b].temperatureCoefficient);
    }
}

TEST_F(MeasuredSequoiaFlight, theModelGivesTheTruthBackWithinTheNoise) {
    expectTruth(
        inverted([this](const fs::path& file) {
            const exif::Tags tags = exif::readTags(file).tags;
            const double fNumber = tags.exifNumber("Exif.Photo.FNumber").value();
            const double t = tags.exifNumber("Exif.Photo.ExposureTime").value();
            const double iso = tags.exifNumber("Exif.Photo.ISOSpeedRatings").value();
            const double temperature = tags.xmpNumber("Camera", "SensorTemperature").value();
            const sequoia::ModelParameter& model =
                models.at(QString::fromStdString(tags.xmpText("Camera", "BandName")));
            const sequoia::DarkCurrentParameter& dark = model.darkCurrent;
            const sequoia::CMOSParameter& cmos = model.cmos;
            const double thermal = iso * std::exp(dark.temperatureCoefficient * temperature);
            return invertPixels(file, [&](Eigen::Index r, Eigen::Index c, double sample) {
                const double seconds = t + valueAt(cmos.deltaTau, r, c);
                return (sample - dark.darkOffset - thermal * dark.dark(r, c)) * fNumber * fNumber /
                       (valueAt(cmos.vignetting, r, c) * seconds * iso * cmos.gain);
            });
        }),
        4,
        kRadianceScale);
}

TEST_F(MeasuredSequoiaFlight, theLibraryFindsTheTruthWithTheModelAndMissesItWithout) {
    expectTruth(inverted([this](const fs::path& file) { return correctedByLibrary(file, true); }),
                4,
                kRadianceScale);
    for (const BandResult& result :
         inverted([this](const fs::path& file) { return correctedByLibrary(file, false); })) {
        SCOPED_TRACE(result.band);
        EXPECT_GT(result.rmsRatio(), 2.0);
        EXPECT_GT(std::abs(result.worstCaptureBias), 3.0);
        EXPECT_GT(result.worstLevelBias.value_or(0.0), 5.0);
        EXPECT_LT(result.worstLevel, 0.07); // heat is felt where it is dark
    }
}

TEST(SimulateSequoia, imagesThatNoGridFitsAreRefusedBeforeAnythingIsMade) {
    const test::TemporaryFolder folder;
    FlightOptions options;
    options.camera = CameraModel::SequoiaV2;
    options.height = 484;
    EXPECT_EQ(
        test::messageOf<std::invalid_argument>([&] { renderFlight(folder.path() / "a", options); }),
        "images with a factory model must have a multiple of 4 columns and of 8 rows");
    EXPECT_FALSE(fs::exists(folder.path() / "a"));
}

} // namespace
} // namespace tessik::simulate
