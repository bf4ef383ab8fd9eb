#include "flight/run/Records.h"

#include "flight/json/Json.h"
#include "flight/plan/Plan.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;

constexpr auto kPrefix = "corrections";
constexpr auto kExtension = ".jsonl";

double numberIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<double>() : kAbsent;
}

float floatIn(const Json& object, const char* key) {
    return static_cast<float>(numberIn(object, key));
}

std::string textIn(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::vector<float> floatsIn(const Json& object, const char* key) {
    std::vector<float> values;
    if (const auto found = object.find(key); found != object.end() && found->is_array()) {
        for (const Json& value : *found) {
            values.push_back(static_cast<float>(value.is_number() ? value.get<double>() : kAbsent));
        }
    }
    return values;
}

Status statusIn(const Json& line) {
    const std::string status = textIn(line, "status");
    return status == "done" ? Status::Done : status == "kept" ? Status::Kept : Status::Failed;
}

/// Calls work with each line of a file, in order, parsed; what is not a JSON object is discarded.
template <typename Work>
void forEachLine(const fs::path& file, const Work& work) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error(file.string() + ": cannot be read");
    }
    for (std::string line; std::getline(stream, line);) {
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            work(line, Json::parse(line, nullptr, false));
        }
    }
    if (stream.bad()) {
        throw std::runtime_error(file.string() + ": cannot be read to its end");
    }
}

/// False where a killed run left half a line.
bool endsWithLine(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    if (stream.tellg() <= 0) {
        return true;
    }
    stream.seekg(-1, std::ios::end);
    return stream.get() == '\n';
}

/// Rewrites a file with the last line on each image only, and without those of outputs that are not
/// there. @return the outputs that have a line, and what it says
std::unordered_map<std::string, Status> tidyRecords(const fs::path& file) {
    std::unordered_map<std::string, std::size_t> last;
    std::unordered_map<std::string, Status> outputs;
    std::size_t count = 0;
    forEachLine(file, [&](const std::string& /*line*/, const Json& json) {
        const std::string output = json.is_object() ? textIn(json, "output") : "";
        if (!output.empty()) {
            std::error_code ignored;
            last.erase(output);
            outputs.erase(output);
            if (statusIn(json) == Status::Failed ||
                fs::exists(file.parent_path() / output, ignored)) {
                last[output] = count;
                outputs[output] = statusIn(json);
            }
        }
        ++count;
    });
    if (last.size() == count && endsWithLine(file)) {
        return outputs;
    }
    std::string kept;
    std::size_t index = 0;
    forEachLine(file, [&](const std::string& line, const Json& json) {
        const auto found = json.is_object() ? last.find(textIn(json, "output")) : last.end();
        if (found != last.end() && found->second == index) {
            kept.append(line).append("\n");
        }
        ++index;
    });
    writeWhole(file.string(), kept);
    return outputs;
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

Json uncertaintyJson(const std::vector<BandUncertainty>& bands) {
    Json list = Json::array();
    for (const BandUncertainty& band : bands) {
        list.push_back(
            {{"systematic", orNull(std::optional(band.of(UncertaintyTerm::Kind::Systematic)))},
             {"random", orNull(std::optional(band.of(UncertaintyTerm::Kind::Random)))}});
    }
    return list;
}

/// The light that the pixels were divided by, where it is not the reading as it stands in the file.
std::vector<double> lightUsed(const Record& record) {
    std::vector<double> level = record.applied.levelIrradiance();
    const std::vector<double>& used = record.image.exif.sunIrradiance;
    return level.empty() && used != record.reading ? used : level;
}

Json doneJson(const Record& record) {
    const InputImage& image = record.image;
    const auto& position = image.geo.position;
    const auto coordinate = [&position](double GeoPosition::*member) {
        return position ? orNull(std::optional((*position).*member)) : Json();
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
            {"sun_irradiance", orNull(record.reading)},
            {"irradiance_corrected", orNull(lightUsed(record))},
            {"sun_elevation_deg", orNull(record.applied.sun.elevation)},
            {"sun_azimuth_deg", orNull(record.applied.sun.azimuth)},
            {"sensor_tilt_deg", orNull(record.applied.sun.sensorTilt)},
            {"correctors", correctorsJson(record.applied.accounts)},
            {"masked_pixels", record.applied.maskedPixels()},
            {"pixels", record.applied.pixels()},
            {"mean", record.applied.means()},
            {"sensitivity", orNull(record.sensitivity)},
            {"relative_uncertainty", uncertaintyJson(record.uncertainty)}};
}

std::string lineOf(const Json& json) {
    return textOf(json) + "\n";
}

} // namespace

RecordFile::RecordFile(const fs::path& file, bool startAgain) : m_file(file) {
    std::error_code ignored;
    if (!startAgain && fs::exists(file, ignored)) {
        m_known = tidyRecords(file);
    }
    m_stream.open(file, startAgain ? std::ios::binary : std::ios::binary | std::ios::app);
    if (!m_stream) {
        throw std::runtime_error(m_file.string() + ": cannot be written");
    }
}

RecordFile::~RecordFile() {
    m_stream.close();
    if (m_hasRepeated) {
        try {
            (void)tidyRecords(m_file);
        } catch (const std::exception&) {
            return; // of two lines on an image, readers take the last one
        }
    }
}

void RecordFile::writeLine(const std::string& output, Status status, std::string line) {
    const std::lock_guard lock(m_mutex);
    m_stream.write(line.data(), static_cast<std::streamsize>(line.size()));
    m_stream.flush();
    if (!m_stream) {
        m_stream.clear();
        throw std::runtime_error("the record " + m_file.string() + " cannot be written");
    }
    m_hasRepeated = !m_known.insert_or_assign(output, status).second || m_hasRepeated;
}

void RecordFile::addDone(const Record& record) {
    writeLine(record.output, Status::Done, lineOf(doneJson(record)));
}

void RecordFile::addFailed(const std::string& path,
                           const std::string& output,
                           const std::string& reason) {
    writeLine(
        output,
        Status::Failed,
        lineOf({{"file", path}, {"output", output}, {"status", "failed"}, {"reason", reason}}));
}

void RecordFile::addKept(const std::string& path, const std::string& output) {
    {
        const std::lock_guard lock(m_mutex);
        const auto known = m_known.find(output);
        if (known != m_known.end() && known->second != Status::Failed) {
            return;
        }
    }
    writeLine(output,
              Status::Kept,
              lineOf({{"file", path}, {"output", output}, {"status", "kept"}, {"reason", Json()}}));
}

std::string recordFileName(int part, int partCount) {
    const std::string which =
        partCount == 1 ? "" : "-" + std::to_string(part) + "-of-" + std::to_string(partCount);
    return kPrefix + which + kExtension;
}

std::vector<fs::path> recordFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code failure;
    for (const auto& entry : fs::directory_iterator(folder, failure)) {
        const fs::path& path = entry.path();
        if (path.extension() == kExtension && path.filename().string().rfind(kPrefix, 0) == 0) {
            files.push_back(path);
        }
    }
    std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
        std::error_code ignored;
        return fs::last_write_time(a, ignored) < fs::last_write_time(b, ignored);
    });
    return files;
}

std::size_t readRecords(const fs::path& file, const std::function<void(ReadRecord)>& take) {
    std::size_t damaged = 0;
    // A run that was stopped may leave half a line.
    forEachLine(file, [&](const std::string& /*text*/, const Json& line) {
        if (!line.is_object() || textIn(line, "file").empty()) {
            ++damaged;
            return;
        }
        ReadRecord record;
        record.path = textIn(line, "file");
        record.status = statusIn(line);
        record.failure = textIn(line, "reason");
        const double time = numberIn(line, "capture_time_unix");
        record.timeUnix = time > 0.0 ? time : kAbsent;
        record.latitudeDeg = numberIn(line, "latitude_deg");
        record.longitudeDeg = numberIn(line, "longitude_deg");
        record.maskedPixels = numberIn(line, "masked_pixels");
        record.pixels = numberIn(line, "pixels");
        record.exposureSeconds = floatIn(line, "exposure_s");
        record.iso = floatIn(line, "iso");
        record.fNumber = floatIn(line, "f_number");
        record.sunElevationDeg = floatIn(line, "sun_elevation_deg");
        record.sensorTiltDeg = floatIn(line, "sensor_tilt_deg");
        record.irradiance = floatsIn(line, "sun_irradiance");
        record.irradianceCorrected = floatsIn(line, "irradiance_corrected");
        const auto correctors = line.find("correctors");
        if (correctors != line.end() && correctors->is_array()) {
            for (const Json& corrector : *correctors) {
                record.steps.push_back(corrector.is_object() ? textIn(corrector, "name") : "");
            }
        }
        take(std::move(record));
    });
    return damaged;
}

} // namespace tessik::flight
