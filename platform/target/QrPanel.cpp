#include "platform/target/CodeReader.h"
#include "platform/target/Detectors.h"
#include "platform/target/PanelCode.h"
#include "platform/target/PanelGeometry.h"
#include "platform/target/PanelSurface.h"
#include "platform/target/ShownText.h"

#include <set>

namespace tessik::target {
namespace {

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

void addPanel(const Code& code,
              const InputImage& image,
              const BandMatrix& band,
              double dark,
              Detection& detection) {
    const std::optional<PanelCode> panel = parsePanelCode(code.text);
    if (!panel) {
        detection.remarks.push_back("a QR code that is no panel's: " + shownText(code.text));
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
    target.region = surfaceRegion(panelGeometry(panel->version), code.corners, band, dark);
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
