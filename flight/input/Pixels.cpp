#include "flight/input/Pixels.h"

#include "platform/text/Text.h"

namespace tessik::flight {

image::Raster openPixels(InputImage& image) {
    image::Raster raster = image::Raster::open(image.path.toStdString());
    ExifInfo& exif = image.exif;
    if (exif.pixelType == DataType::UInt8 && raster.type() == DataType::UInt8) {
        exif.bandCount = raster.bandCount(); // EXIF of a JPEG does not tell grey from colour
    }
    if (raster.width() != exif.imageWidth || raster.height() != exif.imageHeight ||
        raster.bandCount() != exif.bandCount) {
        throw Refusal(text::compose("the pixels are ",
                                    raster.width(),
                                    " x ",
                                    raster.height(),
                                    " in ",
                                    raster.bandCount(),
                                    " bands, the metadata say ",
                                    exif.imageWidth,
                                    " x ",
                                    exif.imageHeight,
                                    " in ",
                                    exif.bandCount)
                          .toStdString());
    }
    if (exif.pixelType == DataType::Unknown) {
        exif.pixelType = raster.type();
    }
    return raster;
}

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

} // namespace tessik::flight
