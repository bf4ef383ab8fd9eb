#include "Inspect.h"

#include "Console.h"
#include "CorrectionWords.h"
#include "Flight.h"
#include "ImageCorrector.h"
#include "JsonReader.h"
#include "platform/camera/ExifInfo.h"
#include "platform/exif/ExifReader.h"
#include "radiometry/config/CorrectionSelection.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;

const char* vignettingName(VignettingType type) {
    switch (type) {
    case VignettingType::RadialPolynomial:
        return "radial polynomial";
    case VignettingType::Polynomial2D:
        return "2d polynomial";
    case VignettingType::Sequoia:
        return "sequoia";
    case VignettingType::None:
        break;
    }
    return "none";
}

Json rowsOf(const Eigen::MatrixXd& matrix) {
    Json rows = Json::array();
    for (Eigen::Index r = 0; r < matrix.rows(); ++r) {
        Json row = Json::array();
        for (Eigen::Index c = 0; c < matrix.cols(); ++c) {
            row.push_back(matrix(r, c));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

Json listOf(const Eigen::MatrixXd& vector) {
    Json list = Json::array();
    for (Eigen::Index i = 0; i < vector.size(); ++i) {
        list.push_back(vector(i));
    }
    return list;
}

Json vignettingOf(const VignettingData& data) {
    const bool isRadial = data.type == VignettingType::RadialPolynomial;
    return {{"type", vignettingName(data.type)},
            {"coefficients", isRadial ? listOf(data.coefficients) : rowsOf(data.coefficients)},
            {"center", isRadial ? Json{data.centerX, data.centerY} : Json()}};
}

Json bandsOf(const ExifInfo& exif) {
    Json bands = Json::array();
    for (std::size_t b = 0; b < exif.bandCount; ++b) {
        const bool hasWavelength = b < exif.bands.size();
        bands.push_back(
            {{"name", b < exif.bandNames.size() ? Json(exif.bandNames[b].toStdString()) : Json()},
             {"wavelength_nm", hasWavelength ? Json(exif.bands[b].wavelengthNm) : Json()},
             {"fwhm_nm", hasWavelength ? Json(exif.bands[b].fwhmNm) : Json()}});
    }
    return bands;
}

Json missingOf(const InputImage& image, radiometry::CorrectionType guess) {
    Json missing = Json::object();
    for (const radiometry::CorrectionType type : correctionTypes()) {
        if (type > guess) {
            missing[wordOf(type)] =
                wordsOf(radiometry::isInformationMissingForCorrection(image, type));
        }
    }
    return missing;
}

Json describe(const InputImage& image,
              radiometry::CorrectionType guess,
              ImageCorrector& corrector) {
    const ExifInfo& exif = image.exif;
    const ChainDescription chain = corrector.describeChain(image);
    Json darkLevels = Json::array();
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        darkLevels.push_back(rowsOf(level));
    }
    Json badPixels = Json::array();
    for (const auto& list : exif.badPixels) {
        badPixels.push_back(list.size());
    }
    const auto& position = image.geo.position;
    return {
        {"file", image.path.toStdString()},
        {"camera",
         {{"id", std::to_string(image.cameraId)},
          {"name", exif::cameraName(exif).toStdString()},
          {"make", exif.make.toStdString()},
          {"model", exif.model.toStdString()},
          {"serial", exif.serialNumber.toStdString()}}},
        {"width", exif.imageWidth},
        {"height", exif.imageHeight},
        {"pixel_type", toString(exif.pixelType)},
        {"bands", bandsOf(exif)},
        {"exposure_s", exif.exposureTime},
        {"iso", exif.iso},
        {"f_number", exif.apertureFNumber},
        {"sensitivity", exif.sensitivity},
        {"dark_levels", darkLevels},
        {"bad_pixels", badPixels},
        {"vignetting", vignettingOf(exif.vignetting)},
        {"gamma", !exif.gamma.empty()},
        {"color_matrix",
         exif.colorConversionMatrix.size() > 0 ? rowsOf(exif.colorConversionMatrix) : Json()},
        {"sun_irradiance", exif::hasSunIrradiance(exif) ? Json(exif.sunIrradiance) : Json()},
        {"sensor_yaw_pitch_roll_deg",
         exif.sunSensorYawPitchRoll ? listOf(*exif.sunSensorYawPitchRoll) : Json()},
        {"capture_time_unix", image.geo.captureTime},
        {"latitude_deg", position ? Json(position->latitude) : Json()},
        {"longitude_deg", position ? Json(position->longitude) : Json()},
        {"altitude_m", position ? Json(position->height) : Json()},
        {"sensor_temperature_c", exif.sensorTemperature ? Json(*exif.sensorTemperature) : Json()},
        {"correction_type", wordOf(guess)},
        {"missing", missingOf(image, guess)},
        {"chain", chain.chain},
        {"applicable", chain.applicable}};
}

/// Short aligned lines for people: what is not stated is left out.
void printImage(const Json& image) {
    show("%s\n", image["file"].get<std::string>().c_str());
    for (const auto& [key, value] : image.items()) {
        if (key == "file" || value.is_null() || (value.is_structured() && value.empty())) {
            continue;
        }
        if (key == "camera") {
            show("  %-26s %s\n", "camera", value["name"].get<std::string>().c_str());
            continue;
        }
        const std::string text = value.is_string()
                                     ? value.get<std::string>()
                                     : value.dump(-1, ' ', false, Json::error_handler_t::replace);
        show("  %-26s %s\n", key.c_str(), text.c_str());
    }
}

/// Each camera with the richest correction that the metadata of its images support.
Project guessedProject(const Flight& flight) {
    Project project;
    for (const auto& [id, camera] : flight.cameras) {
        project.settings[id] = {
            radiometry::guessRadiometricCorrectionTypeFromImage(flight.images, id)};
    }
    return project;
}

} // namespace

int inspect(const InspectOptions& options) {
    Flight flight = readFlight(expandInputs(options.inputs), options.metadata, options.jobs);
    bool hasFailed = sayFailures(flight) > 0;
    const Project project = guessedProject(flight);
    ImageCorrector corrector(project);
    Json all = Json::array();
    for (InputImage& image : flight.images) {
        if (!image.enabled) {
            continue;
        }
        const std::string path = image.path.toStdString();
        const ImageContext context(path);
        try {
            (void)openPixels(image);
            all.push_back(describe(image, project.typeOf(image), corrector));
            if (!options.json) {
                printImage(all.back());
            }
        } catch (const std::exception& failure) {
            sayFailure(path, failure.what());
            hasFailed = true;
        }
    }
    if (options.json) {
        std::puts(jsonText(all, 2).c_str());
    }
    if (!hasFailed) {
        return AllDone;
    }
    return all.empty() ? NothingDone : SomeFailed;
}

} // namespace tessik::app
