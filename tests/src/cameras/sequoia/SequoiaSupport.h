#pragma once

/// @file
/// Metadata and models of Sequoia bands.

#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/datasource/DataSources.h"
#include "support/Support.h"

#include <memory>
#include <vector>

namespace tessik::test {

/// A matrix of distinct values, first, first + step, ... row after row.
inline radiometry::sequoia::ParameterMatrix
grid(Eigen::Index rows, Eigen::Index cols, double first, double step) {
    radiometry::sequoia::ParameterMatrix result(rows, cols);
    for (Eigen::Index i = 0; i < result.size(); ++i) {
        result.data()[i] = first + static_cast<double>(i) * step;
    }
    return result;
}

/// Metadata of one Sequoia band that lack nothing that its correctors ask for.
inline ExifInfo sequoiaExif(std::uint64_t width, std::uint64_t height, const char* band = "Red") {
    ExifInfo exif = plainExif(width, height);
    exif.make = QStringLiteral("Parrot");
    exif.model = QStringLiteral("Sequoia");
    exif.serialNumber = QStringLiteral("PI040378AA6C000181");
    exif.bandNames = {QString::fromLatin1(band)};
    exif.sensitivity = {2.0};
    exif.cmosCorrection = {0.5};
    exif.exposureTime = 0.002;
    exif.iso = 200;
    exif.apertureFNumber = 2.2;
    exif.sensorTemperature = 40.0;
    return exif;
}

/// What one Sequoia corrector is fed with. Without a CMOS record, an image without factory model.
struct SequoiaSources {
    explicit SequoiaSources(
        const ExifInfo& metadata,
        const radiometry::sequoia::CMOSParameter* cmos,
        radiometry::CorrectionType type = radiometry::CorrectionType::CameraOnly)
        : exif(metadata) {
        list = {std::make_shared<radiometry::datasource::ImageMetadata>("image.tif", exif, geo),
                std::make_shared<radiometry::datasource::UserSettings>(radiometry::Settings{type})};
        if (cmos != nullptr) {
            list.push_back(std::make_shared<radiometry::datasource::ParrotSequoiaCMOS>(*cmos));
        }
    }

    ExifInfo exif;
    GeoData geo;
    std::vector<radiometry::datasource::DataSourcePointer> list;
};

/// Feeds a corrector. @return whether it would act
template <typename Corrector>
bool wouldAct(const SequoiaSources& sources) {
    Corrector corrector;
    radiometry::corrector::feed(corrector, sources.list);
    return isApplicable(corrector);
}

/// Feeds a corrector and lets it act on one band. @return the band
template <typename Corrector>
BandMatrix
corrected(const SequoiaSources& sources, BandMatrix band, const Eigen::Vector2i& offset = {0, 0}) {
    Corrector corrector;
    radiometry::corrector::feed(corrector, sources.list);
    BandImage bands = {std::move(band)};
    corrector.correct(bands, offset);
    return bands.front();
}

} // namespace tessik::test
