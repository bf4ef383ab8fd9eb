#include "KnownReflectance.h"

#include "ImageCorrector.h"
#include "platform/exif/Tags.h"
#include "platform/text/Text.h"
#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>

namespace tessik::app {
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

} // namespace

std::string bandName(const InputImage& image, std::size_t band) {
    const ExifInfo& exif = image.exif;
    if (band < exif.bandNames.size() && !exif.bandNames[band].isEmpty()) {
        return exif.bandNames[band].toStdString();
    }
    if (band < exif.bands.size() && exif.bands[band].wavelengthNm > 0.0) {
        return (QString::number(exif.bands[band].wavelengthNm) + " nm").toStdString();
    }
    return "band " + std::to_string(band);
}

void KnownReflectance::verify(const std::vector<InputImage>& images) const {
    verifyNames(m_options.reflectance, images);
    if (!m_options.target) {
        return;
    }
    std::set<std::uint64_t> cameras;
    for (const InputImage& image : images) {
        if (image.enabled && cameras.insert(image.cameraId).second) {
            (void)storedFor(*m_options.target, image);
        }
    }
}

std::vector<double> KnownReflectance::of(const InputImage& image,
                                         const target::DetectedTarget& found) const {
    if (m_options.target) {
        const TargetName& named = *m_options.target;
        if (!found.id.isEmpty() && (found.type != named.type || found.id != named.id)) {
            throw Refusal("it is " + TargetName{found.type, found.id}.text() + ", not " +
                          named.text());
        }
        return storedFor(named, image);
    }
    std::vector<double> values(image.exif.bandCount, kNotKnown);
    for (std::size_t b = 0; b < values.size(); ++b) {
        for (const auto& [name, value] : m_options.reflectance) {
            if (isBand(name, image, b)) {
                values[b] = value;
            }
        }
    }
    return values;
}

} // namespace tessik::app
