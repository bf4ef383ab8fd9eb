#include "platform/target/CodeReader.h"
#include "platform/target/Detectors.h"
#include "platform/target/PanelCode.h"
#include "platform/target/PanelGeometry.h"
#include "platform/target/Stretch.h"

#include <algorithm>
#include <limits>
#include <set>

namespace tessik::target {
namespace {

/// The surface is grey, of about half the reflectance of the code's white paper. What is darker
/// than this share of the white is the frame or the ground, however even it is.
constexpr double kDimmestShare = 0.2;

class QrPanel final : public ITargetDetector {
public:
    [[nodiscard]] Detection find(const InputImage& image, const BandImage& raw) const override;
};

/// What a camera adds to all pixels alike; 0 where it is not known. It must not count as light:
/// dark ground would look as even as a panel.
double darkLevelOf(const ExifInfo& exif, std::size_t band) {
    return band < exif.darkLevels.size() && exif.darkLevels[band].size() > 0
               ? exif.darkLevels[band].mean()
               : 0.0;
}

/// The brightest tenth of a code is paper.
double whiteOf(const image::Ring& code, const BandMatrix& band) {
    constexpr double kPaper = 0.9;
    return static_cast<double>(rangeOf(blockOf(boundsOf(code), band), {0.0, kPaper}).high);
}

/// The place whose light is most even, among those inside the image. Empty when there is none.
image::Ring chooseRegion(const std::array<PanelSquare, 4>& squares,
                         const BandMatrix& band,
                         double dark,
                         double white) {
    image::Ring chosen;
    double least = std::numeric_limits<double>::infinity();
    for (const PanelSquare& square : squares) {
        if (square.whole.empty() || !isInside(square.whole, band)) {
            continue;
        }
        image::Ring region = outline(square.inner);
        if (region.empty()) {
            continue;
        }
        const image::Box box = boundsOf(region);
        const image::RegionStats stats = image::statsForRegion(blockOf(box, band), box, region);
        const double light = stats.mean - dark;
        if (stats.validCount < 2 || !(light > kDimmestShare * (white - dark))) {
            continue;
        }
        if (const double spread = stats.stdDev / light; spread < least) {
            least = spread;
            chosen = std::move(region);
        }
    }
    return chosen;
}

/// A foreign code may hold anything: a page of text, control characters for the terminal.
std::string shown(const std::string& text) {
    constexpr std::size_t kMost = 40;
    std::string result = text.substr(0, kMost);
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "\"" + result + (text.size() > kMost ? "...\"" : "\"");
}

void addPanel(const Code& code,
              const InputImage& image,
              const BandMatrix& band,
              double dark,
              Detection& detection) {
    const std::optional<PanelCode> panel = parsePanelCode(code.text);
    if (!panel) {
        detection.remarks.push_back("a QR code that is no panel's: " + shown(code.text));
        return;
    }
    const auto remark = [&](const std::string& text) {
        detection.remarks.push_back("panel " + panel->serial + " " + text);
    };
    DetectedTarget target;
    target.detector = QStringLiteral("QR panel");
    target.id = QString::fromStdString(panel->serial);
    if (isInside(code.corners, band)) {
        target.code = outline(code.corners);
    }
    if (target.code.empty()) {
        remark("has a code that is not inside the image");
        return;
    }
    target.region = chooseRegion(panelSquares(panelGeometry(panel->version), code.corners),
                                 band,
                                 dark,
                                 whiteOf(target.code, band));
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

/// Bands of one image show the same: the first one in which a panel is found decides.
Detection QrPanel::find(const InputImage& image, const BandImage& raw) const {
    Detection detection;
    std::set<std::string> seen;
    for (std::size_t b = 0; b < raw.size(); ++b) {
        for (const Code& code : readCodes(raw[b])) {
            if (seen.insert(code.text).second) {
                addPanel(code, image, raw[b], darkLevelOf(image.exif, b), detection);
            }
        }
        if (!detection.targets.empty()) {
            break;
        }
    }
    return detection;
}

} // namespace

std::unique_ptr<ITargetDetector> makeQrPanel() {
    return std::make_unique<QrPanel>();
}

} // namespace tessik::target
