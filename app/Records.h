#pragma once

#include "ImageCorrector.h"
#include "platform/camera/InputImage.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

namespace tessik::app {

/// What was done to one image.
struct Record {
    std::string output; ///< relative to the output folder
    std::string correctionType;
    const InputImage& image;
    const Applied& applied;
    const std::vector<double>& sensitivity;
};

/// The file that says what was done to each image of a folder, a JSON document a line. It grows
/// while the images are corrected; a later line on an image holds in place of an earlier one.
/// Thread safe.
class RecordFile {
public:
    /// Continues the file that is there, or begins one. A last line that a killed run left
    /// unfinished is cut off.
    /// @throws std::runtime_error when the file cannot be written
    RecordFile(const std::filesystem::path& file, bool startAnew);

    /// To be called before the output appears, so that no output is without its record.
    void addDone(const Record& record);
    void addFailed(const std::string& path, const std::string& output, const std::string& reason);
    /// Only where there is no record of it.
    void addKept(const std::string& path, const std::string& output);

private:
    void writeLine(std::string line);

    std::mutex m_mutex;
    std::string m_path;
    std::ofstream m_stream;
    std::unordered_set<std::string> m_known; ///< outputs with a record
};

} // namespace tessik::app
