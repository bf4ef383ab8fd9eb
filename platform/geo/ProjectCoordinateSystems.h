#pragma once

#include "platform/geo/OutCoordSystem.h"
#include "platform/geo/SiteCalibration.h"

namespace tessik::geo {

/// Default: local axes, not convertible.
struct ProjectCoordinateSystems {
    OutCoordSystem output;
    SiteCalibration site;
};

} // namespace tessik::geo
