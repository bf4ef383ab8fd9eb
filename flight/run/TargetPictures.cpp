#include "flight/run/TargetPictures.h"

#include "platform/image/Raster.h"
#include "platform/panel/TargetPicture.h"

#include <cmath>
#include <set>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using radiometry::MeasuredTarget;

std::string number(double value, char format, int digits) {
    return QString::number(value, format, digits).toStdString();
}

std::vector<std::string> captionOf(const MeasuredTarget& measured) {
    const radiometry::CalibrationTarget& target = measured.target;
    std::vector<std::string> lines = {
        fs::path(measured.imagePath.toStdString()).filename().string() + ", " +
        measured.detector.toStdString() +
        (target.id.isEmpty() ? "" : ", serial " + target.id.toStdString())};
    for (std::size_t b = 0; b < measured.mean.size(); ++b) {
        lines.push_back("reflectance " + number(target.reflectanceFactors[b], 'f', 4));
        lines.push_back("mean " + number(measured.mean[b], 'g', 5) + ", spread " +
                        number(100.0 * measured.standardDeviation[b] / measured.mean[b], 'f', 2) +
                        " %, invalid " + number(100.0 * measured.invalidShare[b], 'f', 2) + " %");
    }
    lines.push_back(measured.isUsed ? "used" : "not used: " + measured.remark.toStdString());
    return lines;
}

/// Named by the image; images of one name in different folders get a number.
std::string nameOf(const MeasuredTarget& measured, std::set<std::string>& names) {
    const std::string stem = fs::path(measured.imagePath.toStdString()).stem().string();
    std::string name = stem + ".png";
    for (int i = 2; !names.insert(name).second; ++i) {
        name = stem + "-" + std::to_string(i) + ".png";
    }
    return name;
}

} // namespace

void drawTargets(const fs::path& folder,
                 const fs::path& relativeTo,
                 std::vector<TargetRecord>& records,
                 Observer& observer) {
    std::set<std::string> names;
    for (TargetRecord& record : records) {
        const MeasuredTarget& measured = record.target;
        const std::string path = measured.imagePath.toStdString();
        try {
            fs::create_directories(folder);
            const fs::path file = folder / nameOf(measured, names);
            target::DetectedTarget outline;
            outline.region = measured.target.region;
            outline.code = measured.code;
            const BandImage bands = image::Raster::open(path).read();
            target::writeTargetPicture(file.string(), bands.front(), outline, captionOf(measured));
            record.picture = file.lexically_relative(relativeTo).string();
        } catch (const std::exception& failure) {
            observer.warning({path, std::string("no picture of the target: ") + failure.what()});
        }
    }
}

} // namespace tessik::flight
