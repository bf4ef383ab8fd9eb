#pragma once

/// @file
/// Coordinate systems, and their relation to WGS 84.

#include "platform/camera/GeoData.h"
#include "platform/export.h"

#include <Eigen/Core>

#include <memory>
#include <string>

namespace tessik::geo {

/// A three-dimensional coordinate system. x is easting (longitude), y northing (latitude), z height
/// for the systems that have them, whatever order their authority lists them in. Cheap to copy,
/// immutable; all const functions are thread safe.
class TESSIK_PLATFORM_EXPORT CoordSystem {
public:
    /// Local metric axes, x east, y north, z up, anchored nowhere: not convertible to WGS 84.
    CoordSystem() = default;

    /// Local metric axes, x east, y north, z up, in the plane that touches the earth at the anchor,
    /// which is their origin. An anchor without a height lies on the ellipsoid.
    /// @throws std::runtime_error when the anchor is not a place on the earth
    static CoordSystem localAt(const GeoPosition& anchor);

    /// The system of an EPSG code.
    /// @throws std::runtime_error as fromText
    static CoordSystem fromEpsg(int code);

    /// The system of a text: "EPSG:32632", "EPSG:2056+5728" or WKT, projected, geographic (degrees)
    /// or geocentric. Heights are those above the ellipsoid where the system has no vertical datum,
    /// or one whose grid is not installed: nothing is fetched. Without the grid of a horizontal
    /// datum its best transformation is taken, to some metres.
    /// @throws std::runtime_error with the text and the reason
    static CoordSystem fromText(const std::string& definition);

    /// Directions at a position, unit vectors in this system's axes: a1 north, a2 east, a3 up. For
    /// projected systems north is true north, not grid north.
    /// @return false where there are none: geographic systems, whose axes are angles; positions
    /// that cannot be converted; poles; left-handed axes. The vectors are then untouched.
    bool getTangentAxes(const Eigen::Vector3d& position,
                        Eigen::Vector3d& a1,
                        Eigen::Vector3d& a2,
                        Eigen::Vector3d& a3) const;

    /// False for local axes without an anchor.
    [[nodiscard]] bool isConvertibleToWGS84() const { return m_definition != nullptr; }

    /// @return false, and the result untouched, when the position has no counterpart
    bool toWGS84(const Eigen::Vector3d& position, GeoPosition& result) const;

    /// @return false, and the result untouched, when the position has no counterpart; so too when
    /// its height is not stated (NaN)
    bool fromWGS84(const GeoPosition& position, Eigen::Vector3d& result) const;

private:
    class Definition;
    explicit CoordSystem(std::shared_ptr<const Definition> definition);

    std::shared_ptr<const Definition> m_definition; ///< null = local axes without an anchor
};

} // namespace tessik::geo
