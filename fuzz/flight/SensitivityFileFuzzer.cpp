#include "flight/target/SensitivityFile.h"

#include "Input.h"
#include "flight/input/Pixels.h"

#include <cmath>

namespace {

using namespace tessik;

bool isRefused(const InputImage& image,
               radiometry::CorrectionType type,
               const flight::SensitivityFile& file) {
    try {
        return flight::sensitivityFor(image, type, file).empty();
    } catch (const flight::Refusal&) {
        return true;
    }
}

/// A camera's sensitivity is of the images it was measured on, and of no others.
void requireSound(const flight::SensitivityFile& file) {
    for (const flight::CameraSensitivity& camera : file.cameras) {
        for (const double value : camera.sensitivity) {
            fuzz::require(std::isfinite(value) && value > 0.0, "a sensitivity can be divided by");
        }
        InputImage image;
        image.cameraId = camera.cameraId;
        image.exif.bandCount = camera.sensitivity.size();
        fuzz::require(flight::sensitivityFor(image, camera.type, file) == camera.sensitivity,
                      "a camera is there once");
        const auto other = camera.type == radiometry::CorrectionType::NoCorrection
                               ? radiometry::CorrectionType::CameraAndSunIrradiance
                               : radiometry::CorrectionType::NoCorrection;
        fuzz::require(isRefused(image, other, file), "it holds for one correction type");
        ++image.exif.bandCount;
        fuzz::require(isRefused(image, camera.type, file), "it holds for one number of bands");
    }
}

} // namespace

// The bytes are a sensitivity file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::File file(".json");
    flight::SensitivityFile sensitivities;
    try {
        sensitivities = flight::readSensitivityFile(file.write(data, size));
    } catch (const std::runtime_error& refusal) {
        fuzz::require(std::string_view(refusal.what()).rfind(file.path(), 0) == 0,
                      "a refusal names the file");
        return 0;
    }
    requireSound(sensitivities);
    flight::writeSensitivityFile(file.path(), sensitivities);
    const std::string written = file.read();
    flight::writeSensitivityFile(file.path(), flight::readSensitivityFile(file.path()));
    fuzz::require(file.read() == written, "what is written reads the same");
    return 0;
}
