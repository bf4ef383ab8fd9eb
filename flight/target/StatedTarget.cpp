#include "flight/target/StatedTarget.h"

#include "flight/input/Pixels.h"
#include "platform/exif/Tags.h"
#include "platform/text/Text.h"
#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include <cmath>
#include <limits>
#include <set>
#include <sstream>
#include <stdexcept>

namespace tessik::flight {
namespace {

constexpr double kNotKnown = std::numeric_limits<double>::quiet_NaN();

/// Wavelengths are written rounded: 717 for 717.2.
constexpr double kWavelengthTolerance = 1.0;

bool isBand(const std::string& name, const InputImage& image, std::size_t band) {
    const ExifInfo& exif = image.exif;
    if (band < exif.bandNames.size() &&
        exif.bandNames[band].compare(QString::fromStdString(name), Qt::CaseInsensitive) == 0) {
        return true;
    }
    const auto wavelength = exif::parseNumber(name);
    return wavelength && band < exif.bands.size() &&
           std::abs(exif.bands[band].wavelengthNm - *wavelength) <= kWavelengthTolerance;
}

bool hasBand(const std::string& name, const InputImage& image) {
    for (std::size_t b = 0; b < image.exif.bandCount; ++b) {
        if (isBand(name, image, b)) {
            return true;
        }
    }
    return false;
}

void verifyNames(const std::vector<BandReflectance>& reflectance,
                 const std::vector<InputImage>& images) {
    for (const auto& [name, value] : reflectance) {
        std::set<std::string> known;
        bool isFound = false;
        for (const InputImage& image : images) {
            isFound = isFound || (image.enabled && hasBand(name, image));
            for (std::size_t b = 0; image.enabled && b < image.exif.bandCount; ++b) {
                known.insert(bandName(image, b));
            }
        }
        if (!isFound) {
            std::string list;
            for (const std::string& band : known) {
                list.append(list.empty() ? "" : ", ").append(band);
            }
            throw std::runtime_error(
                text::compose("--reflectance: no image has a band ", name, "; there are: ", list)
                    .toStdString());
        }
    }
}

std::vector<double> storedFor(const TargetName& target, const InputImage& image) {
    if (image.exif.bands.size() != image.exif.bandCount) {
        throw Refusal("the metadata do not state the wavelength of each band, by which "
                      "reflectances are stored");
    }
    std::vector<double> values;
    for (const BandInfo& band : image.exif.bands) {
        const auto stored =
            radiometry::getCalibrationTargetReflectanceFromDb({target.type, target.id, band});
        if (!stored) {
            const QString key = QString::number(band.wavelengthNm, 'f', 1) + "_" +
                                QString::number(band.fwhmNm, 'f', 1);
            throw Refusal(target.text() + ": no reflectance is stored for " + key.toStdString() +
                          "; store it with: radiometry targets set " + target.text() + " " +
                          key.toStdString() + "=VALUE");
        }
        values.push_back(static_cast<double>(*stored));
    }
    return values;
}

/// The region that the user states, in every image.
class StatedRegion final : public target::ITargetDetector {
public:
    explicit StatedRegion(const StatedTarget& stated) {
        m_target.detector = QStringLiteral("stated region");
        m_target.region = stated.region;
        if (stated.name) {
            m_target.type = stated.name->type;
            m_target.id = stated.name->id;
        }
    }

    /// @throws std::runtime_error when it leaves the image
    [[nodiscard]] target::Detection find(const InputImage& /*image*/,
                                         const BandImage& raw) const override {
        const Eigen::Index width = raw.front().cols();
        const Eigen::Index height = raw.front().rows();
        for (const image::Point& corner : m_target.region) {
            if (corner.x() < 0 || corner.y() < 0 || corner.x() >= width || corner.y() >= height) {
                throw std::runtime_error(text::compose("--region: the corner ",
                                                       corner.x(),
                                                       ",",
                                                       corner.y(),
                                                       " does not lie in the image of ",
                                                       static_cast<qint64>(width),
                                                       " x ",
                                                       static_cast<qint64>(height),
                                                       " pixels")
                                             .toStdString());
            }
        }
        return {{m_target}, {}};
    }

private:
    target::DetectedTarget m_target;
};

} // namespace

std::optional<BandReflectance> parseBandReflectance(const std::string& text) {
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos || equals == 0) {
        return std::nullopt;
    }
    const auto value = parseReflectance(text.substr(equals + 1));
    return value ? std::optional(BandReflectance(text.substr(0, equals), *value)) : std::nullopt;
}

image::Ring parseRegion(const std::string& text) {
    image::Ring ring;
    std::istringstream corners(text);
    for (std::string corner; corners >> corner;) {
        const std::vector<double> position = exif::parseNumbers({corner});
        if (position.size() != 2 || !(std::abs(position[0]) < 1e9) ||
            !(std::abs(position[1]) < 1e9)) {
            return {};
        }
        ring.emplace_back(static_cast<int>(std::lround(position[0])),
                          static_cast<int>(std::lround(position[1])));
    }
    if (ring.size() < 3) {
        return {};
    }
    ring.push_back(ring.front());
    return ring;
}

void verify(const StatedTarget& stated, const std::vector<InputImage>& images) {
    verifyNames(stated.reflectance, images);
    if (!stated.name) {
        return;
    }
    std::set<std::uint64_t> cameras;
    for (const InputImage& image : images) {
        if (image.enabled && cameras.insert(image.cameraId).second) {
            (void)storedFor(*stated.name, image);
        }
    }
}

std::vector<double> reflectanceOf(const StatedTarget& stated,
                                  const InputImage& image,
                                  const target::DetectedTarget& found) {
    if (stated.name) {
        const TargetName& named = *stated.name;
        if (!found.id.isEmpty() && (found.type != named.type || found.id != named.id)) {
            throw Refusal("it is " + TargetName{found.type, found.id}.text() + ", not " +
                          named.text());
        }
        return storedFor(named, image);
    }
    std::vector<double> values(image.exif.bandCount, kNotKnown);
    for (std::size_t b = 0; b < values.size(); ++b) {
        for (const auto& [name, value] : stated.reflectance) {
            if (isBand(name, image, b)) {
                values[b] = value;
            }
        }
    }
    return values;
}

std::unique_ptr<target::ITargetDetector> detectorOf(const StatedTarget& stated) {
    return std::make_unique<StatedRegion>(stated);
}

} // namespace tessik::flight
