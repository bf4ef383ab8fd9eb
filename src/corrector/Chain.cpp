#include "Kernels.h"
#include "platform/exif/ExifInfo.h"
#include "platform/exif/Predicates.h"
#include "radiometry/Gamma.h"
#include "radiometry/corrector/AirinovMultispec4COpticalCameraV2_32.h"
#include "radiometry/corrector/BadExposureMasking.h"
#include "radiometry/corrector/BadPixelMasking.h"
#include "radiometry/corrector/BasicOpticalCamera.h"
#include "radiometry/corrector/CalibrationTarget.h"
#include "radiometry/corrector/ColorMatrix.h"
#include "radiometry/corrector/ConvertNanToNodata.h"
#include "radiometry/corrector/DarkCurrent.h"
#include "radiometry/corrector/GammaRelinearisation.h"
#include "radiometry/corrector/IntensityShift.h"
#include "radiometry/corrector/MicaSenseRedEdgeOpticalCamera.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV1.h"
#include "radiometry/corrector/ParrotSequoiaOpticalCameraV2.h"
#include "radiometry/corrector/SunSensor.h"
#include "radiometry/corrector/Vignetting.h"

#include <algorithm>

namespace tessik::radiometry::corrector {
namespace {

/// From the 8 bits that some Sequoia images hold to the 16 that their calibration speaks of.
constexpr float kSequoiaShift = 256.0F;

void appendOpticalCamera(const ExifInfo& exif, Chain& chain) {
    if (micasense::isMicaSense(exif) && micasense::hasValid3kModel(exif.micaSense3kModel)) {
        chain.push_back(std::make_unique<MicaSenseRedEdgeOpticalCamera>());
    } else if (exif.isAirinovMultispec4C) {
        chain.push_back(std::make_unique<AirinovMultispec4COpticalCameraV2_32>());
    } else if (tessik::sequoia::isSequoia(exif)) {
        // One acts without the factory's model of the band, the other with it.
        chain.push_back(std::make_unique<ParrotSequoiaOpticalCameraV1>());
        chain.push_back(std::make_unique<ParrotSequoiaOpticalCameraV2>());
    } else {
        chain.push_back(std::make_unique<BasicOpticalCamera>());
    }
}

/// A few rows at a time, so that what one step has written the next one finds in the cache.
void runTogether(const std::vector<RowWork>& works, BandImage& bands) {
    constexpr Eigen::Index kTileSamples = 4096; // 16 KiB a band
    if (works.empty() || bands.empty()) {
        return;
    }
    const Eigen::Index rows = bands.front().rows();
    const Eigen::Index step =
        std::max<Eigen::Index>(1, kTileSamples / std::max<Eigen::Index>(1, bands.front().cols()));
    for (Eigen::Index first = 0; first < rows; first += step) {
        for (const RowWork& work : works) {
            work.run(bands, first, std::min(first + step, rows));
        }
    }
    for (const RowWork& work : works) {
        if (work.finish) {
            work.finish();
        }
    }
}

} // namespace

Chain create(const ExifInfo& exif) {
    Chain chain;
    if (tessik::sequoia::isSequoia(exif) && exif.pixelType == DataType::UInt8 &&
        !isGammaTransformationApplied(exif)) {
        chain.push_back(std::make_unique<IntensityShift>(kSequoiaShift));
    }
    chain.push_back(std::make_unique<GammaRelinearisation>());
    chain.push_back(std::make_unique<BadPixelMasking>());
    chain.push_back(std::make_unique<BadExposureMasking>());
    chain.push_back(std::make_unique<DarkCurrent>());
    chain.push_back(std::make_unique<Vignetting>());
    chain.push_back(std::make_unique<ColorMatrix>());
    appendOpticalCamera(exif, chain);
    if (!exif.isAirinovMultispec4C) {
        chain.push_back(std::make_unique<SunSensor>());
    }
    chain.push_back(std::make_unique<CalibrationTarget>());
    chain.push_back(std::make_unique<ConvertNanToNodata>());
    return chain;
}

void feed(ICorrector& corrector, const std::vector<datasource::DataSourcePointer>& dataSources) {
    for (const datasource::DataSourcePointer& source : dataSources) {
        source->accept(corrector);
    }
}

void apply(const Chain& correctors,
           const std::vector<datasource::DataSourcePointer>& dataSources,
           BandImage& bands,
           const Eigen::Vector2i& blockOffset) {
    verifyOneSize(bands);
    std::vector<RowWork> works;
    for (const std::unique_ptr<ICorrector>& corrector : correctors) {
        feed(*corrector, dataSources);
        if (!corrector->wouldAct()) {
            continue;
        }
        RowWork work = corrector->prepareRows(bands, blockOffset);
        if (work.run) {
            works.push_back(std::move(work));
            continue;
        }
        runTogether(works, bands);
        works.clear();
        corrector->correct(bands, blockOffset);
    }
    runTogether(works, bands);
}

} // namespace tessik::radiometry::corrector
