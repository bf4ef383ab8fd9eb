#include "TargetPictures.h"

#include "Console.h"
#include "platform/image/Raster.h"
#include "platform/target/TargetPicture.h"
#include "platform/text/Text.h"

#include <set>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;
using radiometry::MeasuredTarget;

std::vector<std::string> captionOf(const MeasuredTarget& found) {
    std::vector<std::string> lines = {
        text::compose(fs::path(found.imagePath.toStdString()).filename().string(),
                      ": ",
                      found.detector,
                      " ",
                      found.target.id)
            .toStdString()};
    for (std::size_t b = 0; b < found.mean.size(); ++b) {
        lines.push_back(text::compose("band ",
                                      b,
                                      ": reflectance ",
                                      found.target.reflectanceFactors[b],
                                      ", mean ",
                                      found.mean[b],
                                      ", standard deviation ",
                                      found.standardDeviation[b],
                                      ", sensitivity ",
                                      found.target.sensitivity[b])
                            .toStdString());
    }
    if (!found.remark.isEmpty()) {
        lines.push_back(((found.isUsed ? "" : "not used: ") + found.remark).toStdString());
    }
    return lines;
}

/// Images of one name from several folders, or targets of one image, get a number.
std::string freeName(const std::string& stem, std::set<std::string>& taken) {
    std::string name = stem + ".png";
    for (int number = 2; !taken.insert(name).second; ++number) {
        name = stem + "-" + std::to_string(number) + ".png";
    }
    return name;
}

} // namespace

std::vector<std::string> drawTargets(const std::vector<MeasuredTarget>& targets,
                                     const fs::path& folder) {
    std::vector<std::string> pictures(targets.size());
    if (folder.empty() || targets.empty()) {
        return pictures;
    }
    fs::create_directories(folder);
    std::set<std::string> taken;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const MeasuredTarget& found = targets[i];
        const std::string image = found.imagePath.toStdString();
        const fs::path picture = folder / freeName(fs::path(image).stem().string(), taken);
        try {
            const BandImage raw = image::Raster::open(image).read();
            target::writeTargetPicture(picture.string(),
                                       raw.at(0),
                                       {found.detector,
                                        found.target.type,
                                        found.target.id,
                                        found.target.region,
                                        found.code,
                                        {}},
                                       captionOf(found));
            pictures[i] = picture.string();
        } catch (const std::exception& failure) {
            sayWarning(image, std::string("no picture of the target: ") + failure.what());
        }
    }
    return pictures;
}

} // namespace tessik::app
