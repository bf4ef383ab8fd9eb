#include "app/Subcommands.h"
#include "flight/input/Pixels.h"
#include "flight/json/CorrectionWords.h"
#include "flight/run/ImageCorrector.h"
#include "radiometry/config/CorrectionSelection.h"

#include <memory>
#include <string>

namespace tessik::app {
namespace {

using flight::Json;
using flight::orNull;

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
        const std::string name = b < exif.bandNames.size() ? exif.bandNames[b].toStdString() : "";
        bands.push_back(flight::bandJson(b < exif.bandNames.size() ? &name : nullptr,
                                         b < exif.bands.size() ? &exif.bands[b] : nullptr));
    }
    return bands;
}

Json missingOf(const InputImage& image, radiometry::CorrectionType guess) {
    Json missing = Json::object();
    for (const radiometry::CorrectionType type : flight::correctionTypes()) {
        if (type > guess) {
            missing[flight::wordOf(type)] =
                flight::wordsOf(radiometry::isInformationMissingForCorrection(image, type));
        }
    }
    return missing;
}

Json describe(const InputImage& image,
              radiometry::CorrectionType guess,
              flight::ImageCorrector& corrector) {
    const ExifInfo& exif = image.exif;
    const flight::ChainDescription chain = corrector.describeChain(image);
    Json darkLevels = Json::array();
    for (const Eigen::MatrixXd& level : exif.darkLevels) {
        darkLevels.push_back(rowsOf(level));
    }
    Json badPixels = Json::array();
    for (const auto& list : exif.badPixels) {
        badPixels.push_back(list.size());
    }
    const auto& position = image.geo.position;
    return {{"file", image.path.toStdString()},
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
            {"sensor_temperature_c", orNull(exif.sensorTemperature)},
            {"correction_type", flight::wordOf(guess)},
            {"missing", missingOf(image, guess)},
            {"chain", chain.chain},
            {"applicable", chain.applicable}};
}

/// Short aligned lines for people: what is not stated is left out.
void printImage(const Json& image) {
    show("%s\n", image["file"].get<std::string>());
    for (const auto& [key, value] : image.items()) {
        if (key == "file" || value.is_null() || (value.is_structured() && value.empty())) {
            continue;
        }
        if (key == "camera") {
            show("  %-26s %s\n", "camera", value["name"].get<std::string>());
            continue;
        }
        show("  %-26s %s\n",
             key,
             value.is_string() ? value.get<std::string>() : flight::textOf(value));
    }
}

struct Options {
    flight::FlightOptions flight;
    bool json = false;
};

int inspect(const Options& options, Terminal& terminal) {
    bool hasFailed = false;
    flight::Flight flight = readAndSay(options.flight, terminal, hasFailed);
    flight::Decisions decisions;
    flight::ProjectOptions asked;
    asked.sunlight.model = flight::SunlightChoice::Model::None;
    decisions.project = flight::decideProject(flight, asked, terminal);
    flight::ImageCorrector corrector(decisions);
    Json all = Json::array();
    for (InputImage& image : flight.images) {
        if (!image.enabled) {
            continue;
        }
        const std::string path = image.path.toStdString();
        const flight::Listening listening(terminal, path);
        try {
            (void)flight::openPixels(image);
            all.push_back(describe(image, decisions.project.typeOf(image), corrector));
            if (!options.json) {
                printImage(all.back());
            }
        } catch (const std::exception& failure) {
            terminal.failure({path, failure.what()});
            hasFailed = true;
        }
    }
    if (options.json) {
        showJson(all);
    }
    if (!hasFailed) {
        return AllDone;
    }
    return all.empty() ? NothingDone : SomeFailed;
}

} // namespace

Action addInspect(CLI::App& cli) {
    auto options = std::make_shared<Options>();
    CLI::App& command = *cli.add_subcommand(
        "inspect", "Show what is understood of each image, and what would be done");
    addFlight(command, options->flight)->required();
    addJson(command, options->json);
    return [options](Terminal& terminal) { return inspect(*options, terminal); };
}

} // namespace tessik::app
