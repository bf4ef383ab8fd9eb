#pragma once

/// @file
/// The file that says what was done to each image of an output folder, a JSON document a line. It
/// grows while the images are corrected.

#include "flight/run/ImageCorrector.h"
#include "platform/camera/InputImage.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// Numbers that are absent are NaN.
constexpr double kAbsent = std::numeric_limits<double>::quiet_NaN();

enum class Status : std::uint8_t {
    NotReached, ///< planned, and nothing is recorded of it
    Done,
    Kept,
    Failed,
};

/// What was done to one image.
struct Record {
    std::string output; ///< relative to the output folder
    std::string correctionType;
    const InputImage& image;
    const Applied& applied;
    const std::vector<double>& sensitivity;
    const std::vector<double>& reading; ///< of the light sensor, as the file states it
    const std::vector<BandUncertainty>& uncertainty;
};

/// Writes a file of records. Each image is named once, and as done only while its output is there.
/// Thread safe.
class RecordFile {
public:
    /// Continues the file that is there, or begins one. What killed runs left (an unfinished line,
    /// lines of outputs that did not appear, earlier lines on an image) is taken away.
    /// @throws std::runtime_error when the file cannot be written
    RecordFile(const std::filesystem::path& file, bool startAgain);
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;
    /// Takes earlier lines on an image away.
    ~RecordFile();

    /// To be called before the output appears, so that no output is without its record.
    void addDone(const Record& record);
    void addFailed(const std::string& path, const std::string& output, const std::string& reason);
    /// Does nothing where there is a record of it that names no failure.
    void addKept(const std::string& path, const std::string& output);

private:
    void writeLine(const std::string& output, Status status, std::string line);

    std::mutex m_mutex;
    std::filesystem::path m_file;
    std::ofstream m_stream;
    std::unordered_map<std::string, Status> m_known; ///< outputs with a record
    bool m_hasRepeated = false;                      ///< an output has two
};

/// A record as it is read back, without what stands in the plan. Thousands are held at once.
struct ReadRecord {
    std::string path;
    std::string failure;
    Status status = Status::NotReached;
    double timeUnix = kAbsent;
    double latitudeDeg = kAbsent;
    double longitudeDeg = kAbsent;
    double maskedPixels = kAbsent;
    double pixels = kAbsent; ///< of all bands together
    float exposureSeconds = static_cast<float>(kAbsent);
    float iso = static_cast<float>(kAbsent);
    float fNumber = static_cast<float>(kAbsent);
    float sunElevationDeg = static_cast<float>(kAbsent);
    float sensorTiltDeg = static_cast<float>(kAbsent);
    std::vector<float> irradiance;          ///< one a band, or one for all
    std::vector<float> irradianceCorrected; ///< of a level sensor
    std::vector<std::string> steps;         ///< names of the correctors that acted

    [[nodiscard]] bool isCorrected() const {
        return status == Status::Done || status == Status::Kept;
    }
    [[nodiscard]] bool hasPosition() const {
        return !std::isnan(latitudeDeg) && !std::isnan(longitudeDeg);
    }
};

/// The files of records of an output folder (one of a whole run, one a part), the one last written
/// to at the end.
std::vector<std::filesystem::path> recordFiles(const std::filesystem::path& folder);

/// Name of the file of a run of one part of several; of a whole run with 1 and 1.
std::string recordFileName(int part, int partCount);

/// Calls `take` with each record of a file.
/// @return how many lines are not records
/// @throws std::runtime_error when the file cannot be read
std::size_t readRecords(const std::filesystem::path& file,
                        const std::function<void(ReadRecord)>& take);

} // namespace tessik::flight
