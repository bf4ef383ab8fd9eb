#include "support/Support.h"

#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tessik::test {
namespace {

const CameraExternals kExternals;
const geo::ProjectCoordinateSystems kCoordinateSystems;

} // namespace

ExifInfo plainExif(std::uint64_t width, std::uint64_t height, std::uint64_t bandCount) {
    ExifInfo exif;
    exif.imageWidth = width;
    exif.imageHeight = height;
    exif.bandCount = bandCount;
    exif.pixelType = DataType::UInt16;
    return exif;
}

BandMatrix band(Eigen::Index rows, Eigen::Index cols, std::initializer_list<float> values) {
    BandMatrix result(rows, cols);
    std::copy(values.begin(), values.end(), result.data());
    return result;
}

BandMatrix ramp(Eigen::Index rows, Eigen::Index cols, float first) {
    BandMatrix result(rows, cols);
    for (Eigen::Index i = 0; i < result.size(); ++i) {
        result.data()[i] = first + static_cast<float>(i);
    }
    return result;
}

ImageSetup::ImageSetup(ExifInfo metadata) {
    image.path = QStringLiteral("image.tif");
    image.exif = std::move(metadata);
    image.cameraId = exif::cameraId(image.exif);
    camera = exif::cameraParams(image.exif);
}

std::vector<radiometry::datasource::DataSourcePointer>
ImageSetup::sources(radiometry::CorrectionType type, const std::vector<double>& sensitivity) const {
    return radiometry::datasource::create(image,
                                          camera,
                                          kExternals,
                                          kCoordinateSystems,
                                          sensitivity,
                                          Eigen::ArrayXd(),
                                          {type},
                                          nullptr,
                                          {});
}

bool isApplicable(const radiometry::corrector::ICorrector& corrector) {
    struct Opened : radiometry::corrector::ICorrector {
        static auto question() { return &Opened::isApplicable; }
    };
    return (corrector.*Opened::question())();
}

bool run(radiometry::corrector::ICorrector& corrector,
         const std::vector<radiometry::datasource::DataSourcePointer>& sources,
         BandImage& bands,
         const Eigen::Vector2i& blockOffset) {
    radiometry::corrector::feed(corrector, sources);
    corrector.correct(bands, blockOffset);
    return isApplicable(corrector);
}

LogCapture::LogCapture(int level) : m_oldLevel(logging::level()) {
    logging::setSink([this](const logging::Record& record) {
        const std::lock_guard lock(m_mutex);
        m_records.push_back(record);
    });
    logging::setLevel(level);
}

LogCapture::~LogCapture() {
    logging::setLevel(m_oldLevel);
    logging::setSink({});
}

std::vector<logging::Record> LogCapture::records() const {
    const std::lock_guard lock(m_mutex);
    return m_records;
}

int LogCapture::count(int level, const std::string& text) const {
    const std::vector<logging::Record> all = records();
    return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const logging::Record& r) {
        return r.level == level && r.text == text;
    }));
}

std::string LogCapture::all() const {
    std::string text;
    for (const logging::Record& record : records()) {
        text += record.text + "\n";
    }
    return text;
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "radiometry-XXXXXX").string();
    m_path = ::mkdtemp(pattern.data());
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::optional<std::filesystem::path> samplesFolder() {
    const char* named = std::getenv("RADIOMETRY_SAMPLES"); // NOLINT(concurrency-mt-unsafe)
    const std::filesystem::path folder =
        named != nullptr ? std::filesystem::path(named)
                         : std::filesystem::path(RADIOMETRY_SOURCE_DIR) / "../shared/samples";
    return std::filesystem::is_directory(folder) ? std::optional(folder) : std::nullopt;
}

} // namespace tessik::test
