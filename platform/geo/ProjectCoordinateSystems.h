#pragma once

namespace tessik::geo {

/// The coordinate system of a project's output. Default: local metric axes.
struct OutCoordSystem {};

/// How the output coordinate system was fitted to a site. Default: identity.
struct SiteCalibration {};

struct ProjectCoordinateSystems {
    OutCoordSystem output;
    SiteCalibration site;
};

} // namespace tessik::geo
