#include "platform/panel/CodeReader.h"
#include "platform/panel/Detectors.h"
#include "platform/panel/PanelCode.h"
#include "platform/panel/PanelShift.h"
#include "platform/panel/PanelSurface.h"
#include "platform/text/Printable.h"

#include <optional>
#include <set>
#include <utility>

namespace tessik::target {
namespace {

/// Bands of a rig are found to lie up to 0.09 of the image's width apart.
constexpr double kSiblingReach = 0.15;

class QrPanel final : public ITargetDetector {
public:
    [[nodiscard]] Detection find(const InputImage& image, const BandImage& raw) const override;
    [[nodiscard]] Detection findLike(const InputImage& image,
                                     const BandImage& raw,
                                     const SiblingTarget& sibling) const override;
};

/// What a camera adds to all pixels alike; 0 where it is not known. It must not count as light:
/// dark ground would look as even as a panel.
double darkLevelOf(const ExifInfo& exif, std::size_t band) {
    return band < exif.darkLevels.size() && exif.darkLevels[band].size() > 0
               ? exif.darkLevels[band].mean()
               : 0.0;
}

/// What is placed without a code has to look like a panel.
bool isEven(const DetectedTarget& target, const InputImage& image, const BandMatrix& band) {
    constexpr double kMaxSpread = 0.05;
    const image::Box box = image::boundsOf(target.region);
    const image::RegionStats stats =
        image::statsForRegion(image::blockOf(box, band), box, target.region);
    return stats.stdDev <= kMaxSpread * (stats.mean - darkLevelOf(image.exif, 0));
}

/// @param code of the panel, in a band of the image
void addPanel(const Code& code,
              const InputImage& image,
              const BandImage& raw,
              std::size_t b,
              Detection& detection) {
    const std::optional<PanelCode> panel = parsePanelCode(code.text);
    if (!panel) {
        detection.remarks.push_back("a QR code that is no panel's: " + text::quoted(code.text));
        return;
    }
    const auto remark = [&](const std::string& text) {
        detection.remarks.push_back("panel " + panel->serial + " " + text);
    };
    DetectedTarget target;
    target.detector = QStringLiteral("QR panel");
    target.id = QString::fromStdString(panel->serial);
    target.codeText = code.text;
    target.codeCorners = code.corners;
    if (isInside(code.corners, raw[b])) {
        target.code = outline(code.corners);
    }
    if (target.code.empty()) {
        remark("has a code that is not inside the image");
        return;
    }
    target.region = surfaceRegion(
        panelGeometry(panel->version), code.corners, raw[b], darkLevelOf(image.exif, b));
    if (target.region.empty()) {
        remark("does not show its grey surface inside the image");
        return;
    }
    PanelReflectance reflectance = reflectanceOf(*panel, image.exif.bands);
    if (!reflectance.reason.empty()) {
        remark(reflectance.reason);
    }
    target.reflectance = std::move(reflectance.values);
    detection.targets.push_back(std::move(target));
}

/// Where a sibling's panel may lie in a band, which may have another number of pixels.
image::Box placeOf(const SiblingTarget& sibling, const BandMatrix& band) {
    const BandMatrix& seen = sibling.raw.front();
    const Eigen::Array2d last(static_cast<double>(band.cols() - 1),
                              static_cast<double>(band.rows() - 1));
    const Eigen::Array2d scale = (last + 1.0) / Eigen::Array2d(static_cast<double>(seen.cols()),
                                                               static_cast<double>(seen.rows()));
    const double reach = kSiblingReach * static_cast<double>(band.cols());
    Eigen::Array2d low = last;
    Eigen::Array2d high = Eigen::Array2d::Zero();
    for (const image::Ring* ring : {&sibling.target.code, &sibling.target.region}) {
        for (const image::Point& point : *ring) {
            const Eigen::Array2d place = scale * Eigen::Array2d(point.x(), point.y());
            low = low.min(place - reach);
            high = high.max(place + reach);
        }
    }
    const auto point = [&last](const Eigen::Array2d& place) {
        const Eigen::Array2d px = place.max(0.0).min(last);
        return image::Point(static_cast<int>(px.x()), static_cast<int>(px.y()));
    };
    return {point(low), point(high)};
}

/// Where the code cannot be read, the panel may be seen all the same.
void placePanel(const InputImage& image,
                const BandImage& raw,
                const SiblingTarget& sibling,
                Detection& detection) {
    const BandMatrix& band = raw.front();
    const BandMatrix& seen = sibling.raw.front();
    if (raw.size() != 1 || sibling.raw.size() != 1 || band.rows() != seen.rows() ||
        band.cols() != seen.cols()) {
        return;
    }
    const std::optional<Eigen::Vector2d> shift =
        panelShift({seen, sibling.target.codeCorners, sibling.target.region},
                   band,
                   kSiblingReach * static_cast<double>(band.cols()));
    if (!shift) {
        return;
    }
    Code code = {sibling.target.codeText, sibling.target.codeCorners};
    for (Eigen::Vector2d& corner : code.corners) {
        corner += *shift;
    }
    Detection placed;
    addPanel(code, image, raw, 0, placed);
    if (placed.targets.empty() || !isEven(placed.targets[0], image, band)) {
        return;
    }
    DetectedTarget& target = placed.targets[0];
    target.detector = "QR panel, placed by " + sibling.band;
    // It was not read here: no other band shall be placed by it.
    target.codeText.clear();
    target.codeCorners.clear();
    detection = std::move(placed);
}

/// Bands of one image show the same: the first one in which a panel is found decides.
Detection QrPanel::find(const InputImage& image, const BandImage& raw) const {
    Detection detection;
    std::set<std::string> seen;
    for (std::size_t b = 0; b < raw.size(); ++b) {
        for (const Code& code : readCodes(raw[b])) {
            if (seen.insert(code.text).second) {
                addPanel(code, image, raw, b, detection);
            }
        }
        if (!detection.targets.empty()) {
            break;
        }
    }
    return detection;
}

Detection QrPanel::findLike(const InputImage& image,
                            const BandImage& raw,
                            const SiblingTarget& sibling) const {
    Detection detection;
    if (raw.empty() || sibling.raw.empty() || sibling.target.codeCorners.empty()) {
        return detection;
    }
    for (std::size_t b = 0; b < raw.size() && detection.targets.empty(); ++b) {
        const std::optional<Code> code =
            readCode(raw[b], placeOf(sibling, raw[b]), sibling.target.codeText);
        if (code) {
            addPanel(*code, image, raw, b, detection);
        }
    }
    if (detection.targets.empty() && detection.remarks.empty()) {
        placePanel(image, raw, sibling, detection);
    }
    return detection;
}

} // namespace

std::unique_ptr<ITargetDetector> makeQrPanel() {
    return std::make_unique<QrPanel>();
}

} // namespace tessik::target
