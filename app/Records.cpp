#include "Records.h"

#include "Output.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <stdexcept>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// What is behind the last line's end was being written when its run was killed.
void cutUnfinishedLine(const fs::path& file) {
    std::error_code ignored;
    const auto size = fs::file_size(file, ignored);
    if (ignored || size == 0) {
        return;
    }
    std::ifstream stream(file, std::ios::binary);
    std::uintmax_t end = 0;
    std::string line;
    while (std::getline(stream, line) && !stream.eof()) {
        end += line.size() + 1;
    }
    stream.close();
    if (end < size) {
        fs::resize_file(file, end, ignored);
    }
}

Json known(const std::optional<double>& number) {
    return number && std::isfinite(*number) ? Json(*number) : Json();
}

Json listOrNull(const std::vector<double>& numbers) {
    return numbers.empty() ? Json() : Json(numbers);
}

/// Each step that acted, with what it did.
Json correctorsJson(const radiometry::Accounts& accounts) {
    Json list = Json::array();
    for (const radiometry::Account& account : accounts) {
        Json values = Json::object();
        for (const radiometry::Account::Value& value : account.values) {
            values[value.name] = {{"unit", value.unit}, {"numbers", value.numbers}};
        }
        list.push_back({{"name", account.name}, {"values", std::move(values)}});
    }
    return list;
}

Json doneJson(const Record& record) {
    const InputImage& image = record.image;
    const auto& position = image.geo.position;
    const auto coordinate = [&position](double GeoPosition::*member) {
        return position ? known((*position).*member) : Json();
    };
    return {{"file", image.path.toStdString()},
            {"output", record.output},
            {"camera", std::to_string(image.cameraId)},
            {"status", "done"},
            {"reason", Json()},
            {"library_version", RADIOMETRY_VERSION},
            {"correction_type", record.correctionType},
            {"unit", image.exif.isThermal ? Json(kCelsius) : Json()},
            {"capture_time_unix", image.geo.captureTime},
            {"latitude_deg", coordinate(&GeoPosition::latitude)},
            {"longitude_deg", coordinate(&GeoPosition::longitude)},
            {"altitude_m", coordinate(&GeoPosition::height)},
            {"exposure_s", image.exif.exposureTime},
            {"iso", image.exif.iso},
            {"f_number", image.exif.apertureFNumber},
            {"sun_irradiance", listOrNull(image.exif.sunIrradiance)},
            {"irradiance_corrected", listOrNull(record.applied.levelIrradiance())},
            {"sun_elevation_deg", known(record.applied.sun.elevation)},
            {"sun_azimuth_deg", known(record.applied.sun.azimuth)},
            {"sensor_tilt_deg", known(record.applied.sun.sensorTilt)},
            {"correctors", correctorsJson(record.applied.accounts)},
            {"masked_pixels", record.applied.maskedPixels()},
            {"pixels", record.applied.pixels()},
            {"mean", record.applied.means()},
            {"sensitivity", listOrNull(record.sensitivity)}};
}

std::string lineOf(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

RecordFile::RecordFile(const fs::path& file, bool startAnew) : m_path(file.string()) {
    if (!startAnew) {
        cutUnfinishedLine(file);
        std::ifstream stream(file, std::ios::binary);
        for (std::string line; std::getline(stream, line);) {
            const Json json = Json::parse(line, nullptr, false);
            if (json.is_object()) {
                m_known.insert(json.value("output", ""));
            }
        }
    }
    m_stream.open(file, startAnew ? std::ios::binary : std::ios::binary | std::ios::app);
    if (!m_stream) {
        throw std::runtime_error(m_path + ": cannot be written");
    }
}

void RecordFile::writeLine(std::string line) {
    const std::lock_guard lock(m_mutex);
    m_stream.write(line.data(), static_cast<std::streamsize>(line.size()));
    m_stream.flush();
    if (!m_stream) {
        m_stream.clear();
        throw std::runtime_error("the record " + m_path + " cannot be written");
    }
}

void RecordFile::addDone(const Record& record) {
    writeLine(lineOf(doneJson(record)));
}

void RecordFile::addFailed(const std::string& path,
                           const std::string& output,
                           const std::string& reason) {
    writeLine(
        lineOf({{"file", path}, {"output", output}, {"status", "failed"}, {"reason", reason}}));
}

void RecordFile::addKept(const std::string& path, const std::string& output) {
    if (m_known.count(output) == 0) {
        writeLine(
            lineOf({{"file", path}, {"output", output}, {"status", "kept"}, {"reason", Json()}}));
    }
}

} // namespace tessik::app
