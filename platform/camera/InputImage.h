#pragma once

#include "platform/camera/ExifInfo.h"
#include "platform/camera/GeoData.h"

#include <QtCore/QString>

#include <cstdint>

namespace tessik {

/// One image of a project.
struct InputImage {
    QString path;
    ExifInfo exif;
    GeoData geo;
    std::uint64_t cameraId = 0; ///< identifier of the camera that took it
    bool enabled = true;        ///< false = takes no part in the project
};

} // namespace tessik
