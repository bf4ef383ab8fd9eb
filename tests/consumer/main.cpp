#include <platform/camera/CameraExternals.h>
#include <platform/camera/InputImage.h>
#include <platform/geo/ProjectCoordinateSystems.h>
#include <radiometry/Correct.h>

#include <cstdio>

using namespace tessik;

// A camera with f/2, 1/100 s, ISO 100, sensitivity 0.5 and dark level 100: the factor is
// 2 * 2 / (0.01 * 0.5 * 100) = 8. Samples of 100 or less are dark, 65535 is saturated.
int main() {
    constexpr int kRows = 2;
    constexpr int kCols = 3;
    InputImage image;
    image.exif.imageWidth = kCols;
    image.exif.imageHeight = kRows;
    image.exif.bandCount = 1;
    image.exif.pixelType = DataType::UInt16;
    image.exif.apertureFNumber = 2.0;
    image.exif.exposureTime = 0.01;
    image.exif.iso = 100;
    image.exif.sensitivity = {0.5};
    image.exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 100.0)};

    BandImage bands(1, BandMatrix(kRows, kCols));
    bands[0] << 100, 101, 1100, 65535, 65534, 350;
    BandMatrix expected(kRows, kCols);
    expected << -10000, 8, 8000, -10000, 523472, 2000;

    radiometry::correct(image,
                        exif::cameraParams(image.exif),
                        GlobalShutter(),
                        {},
                        Eigen::ArrayXd(),
                        {radiometry::CorrectionType::CameraOnly},
                        geo::ProjectCoordinateSystems(),
                        nullptr,
                        bands,
                        {0, 0});
    for (int i = 0; i < expected.size(); ++i) {
        if (bands[0].data()[i] != expected.data()[i]) {
            std::printf("pixel %d: %g, expected %g\n",
                        i,
                        static_cast<double>(bands[0].data()[i]),
                        static_cast<double>(expected.data()[i]));
            return 1;
        }
    }
    std::printf("consumer: good\n");
    return 0;
}
