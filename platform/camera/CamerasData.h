#pragma once

#include "platform/camera/BandInfo.h"
#include "platform/camera/CameraParams.h"

#include <QtCore/QString>

#include <cstdint>
#include <map>

namespace tessik {

/// One camera of a project.
struct CameraData {
    QString uniqueName; ///< for people
    QString make;       ///< empty = not known
    QString model;      ///< empty = not known
    bands_t bands;
    CameraParams params;
};

/// Cameras by identifier, in ascending order.
using CamerasData = std::map<std::uint64_t, CameraData>;

} // namespace tessik
