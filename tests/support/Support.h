#pragma once

#include "platform/camera/CameraParams.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/log/Log.h"
#include "radiometry/core/Types.h"
#include "radiometry/corrector/ICorrector.h"
#include "radiometry/datasource/DataSources.h"

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// What several tests need: metadata, bands, a log that can be read, files.
namespace tessik::test {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// Metadata of a 16-bit camera with this many bands, and nothing else stated.
ExifInfo plainExif(std::uint64_t width, std::uint64_t height, std::uint64_t bandCount = 1);

/// A band of rows x columns, from its values row after row.
BandMatrix band(Eigen::Index rows, Eigen::Index cols, std::initializer_list<float> values);

/// A band of distinct values, first, first + 1, ... row after row.
BandMatrix ramp(Eigen::Index rows, Eigen::Index cols, float first = 1.0F);

/// All sources that an image has, made from metadata alone; keeps what they refer to alive.
struct ImageSetup {
    explicit ImageSetup(ExifInfo metadata);

    InputImage image;
    CameraParams camera;
    /// Sources for the settings, as datasource::create makes them.
    [[nodiscard]] std::vector<radiometry::datasource::DataSourcePointer>
    sources(radiometry::CorrectionType type, const std::vector<double>& sensitivity = {}) const;
};

/// Asks a corrector as a chain does.
bool isApplicable(const radiometry::corrector::ICorrector& corrector);

/// Feeds a corrector and lets it act if it is applicable. @return whether it was applicable
bool run(radiometry::corrector::ICorrector& corrector,
         const std::vector<radiometry::datasource::DataSourcePointer>& sources,
         BandImage& bands,
         const Eigen::Vector2i& blockOffset = {0, 0});

/// Message of the error that a call throws; "no error" when it throws none.
template <typename Error, typename Call>
std::string messageOf(Call&& call) {
    try {
        call();
    } catch (const Error& failure) {
        return failure.what();
    }
    return "no error";
}

/// Collects what is logged while it lives, from a level up.
class LogCapture {
public:
    explicit LogCapture(int level = logging::kInfo);
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    [[nodiscard]] std::vector<logging::Record> records() const;
    /// How many messages of this very text and level there are.
    [[nodiscard]] int count(int level, const std::string& text) const;
    /// All texts, a line each.
    [[nodiscard]] std::string all() const;

private:
    mutable std::mutex m_mutex;
    std::vector<logging::Record> m_records;
    int m_oldLevel;
};

/// A folder of its own, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::string file(const std::string& name) const {
        return (m_path / name).string();
    }

private:
    std::filesystem::path m_path;
};

/// Folder of real sample images, where there is one: RADIOMETRY_SAMPLES, else beside the sources.
std::optional<std::filesystem::path> samplesFolder();

/// The bytes of a file.
inline std::string readAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace tessik::test
