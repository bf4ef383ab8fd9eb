#include "platform/geo/CoordSystem.h"

#include "platform/math/Angle.h"

#include <Eigen/Geometry>
#include <proj.h>

#include <cmath>
#include <locale>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tessik::geo {
namespace {

/// Destroys PROJ's objects.
struct Destroyer {
    void operator()(PJ* object) const { proj_destroy(object); }
    void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
};
using Context = std::unique_ptr<PJ_CONTEXT, Destroyer>;
using Object = std::unique_ptr<PJ, Destroyer>;

enum class Axes { Local, Projected, Geographic, Geocentric };

Context makeContext() {
    Context context(proj_context_create());
    proj_log_level(context.get(), PJ_LOG_NONE);
    proj_context_set_enable_network(context.get(), 0);
    return context;
}

[[noreturn]] void refuse(const std::string& definition, const std::string& reason) {
    throw std::runtime_error("Coordinate system '" + definition + "': " + reason);
}

/// What the axes of the horizontal part are.
Axes axesOf(PJ_CONTEXT* context, const PJ* system, const std::string& definition) {
    switch (proj_get_type(system)) {
    case PJ_TYPE_PROJECTED_CRS:
        return Axes::Projected;
    case PJ_TYPE_GEOGRAPHIC_2D_CRS:
    case PJ_TYPE_GEOGRAPHIC_3D_CRS:
        return Axes::Geographic;
    case PJ_TYPE_GEOCENTRIC_CRS:
        return Axes::Geocentric;
    case PJ_TYPE_COMPOUND_CRS:
        return axesOf(context, Object(proj_crs_get_sub_crs(context, system, 0)).get(), definition);
    case PJ_TYPE_BOUND_CRS:
        return axesOf(context, Object(proj_get_source_crs(context, system)).get(), definition);
    default:
        refuse(definition, "neither projected nor geographic nor geocentric");
    }
}

/// The transformation from WGS 84 to a system. Without the grid of a vertical datum PROJ would give
/// up the horizontal datum too, some hundred metres: then heights are left as they are, above the
/// ellipsoid. A datum of which nothing is known comes last, and counts as WGS 84.
Object makeOperation(PJ_CONTEXT* context, const PJ* wgs84, const PJ* system) {
    const char* const known[] = {"ALLOW_BALLPARK=NO", nullptr};
    const auto make = [&](const PJ* target, const char* const* options) {
        return Object(proj_create_crs_to_crs_from_pj(context, wgs84, target, nullptr, options));
    };
    Object operation = make(system, known);
    if (!operation) {
        const Object horizontal(proj_get_type(system) == PJ_TYPE_COMPOUND_CRS
                                    ? proj_crs_get_sub_crs(context, system, 0)
                                    : proj_clone(context, system));
        operation = make(horizontal.get(), known);
        if (!operation) {
            operation = make(horizontal.get(), nullptr);
        }
    }
    return operation ? Object(proj_normalize_for_visualization(context, operation.get())) : nullptr;
}

} // namespace

/// Converts from WGS 84 (longitude and latitude in degrees, height) to a system and back.
class CoordSystem::Definition {
public:
    Definition(Context context, Object fromWgs84, Axes axes)
        : m_context(std::move(context)), m_fromWgs84(std::move(fromWgs84)), m_axes(axes) {}

    [[nodiscard]] Axes axes() const { return m_axes; }

    /// @return false, and the position untouched, when it has no counterpart
    bool transform(PJ_DIRECTION direction, Eigen::Vector3d& position) const {
        if (!position.allFinite()) {
            return false;
        }
        const std::lock_guard lock(m_mutex); // a PROJ object serves one thread at a time
        proj_errno_reset(m_fromWgs84.get());
        const PJ_COORD from = proj_coord(position[0], position[1], position[2], HUGE_VAL);
        const PJ_COORD to = proj_trans(m_fromWgs84.get(), direction, from);
        const Eigen::Vector3d result(to.xyz.x, to.xyz.y, to.xyz.z);
        if (proj_errno(m_fromWgs84.get()) != 0 || !result.allFinite()) {
            return false;
        }
        position = result;
        return true;
    }

private:
    Context m_context;
    Object m_fromWgs84;
    Axes m_axes;
    mutable std::mutex m_mutex;
};

CoordSystem::CoordSystem(std::shared_ptr<const Definition> definition)
    : m_definition(std::move(definition)) {}

CoordSystem CoordSystem::localAt(const GeoPosition& anchor) {
    std::ostringstream place;
    place.imbue(std::locale::classic());
    place.precision(17);
    place << "+ellps=WGS84 +lat_0=" << anchor.latitude << " +lon_0=" << anchor.longitude
          << " +h_0=" << (std::isnan(anchor.height) ? 0.0 : anchor.height);
    if (!std::isfinite(anchor.latitude) || !std::isfinite(anchor.longitude)) {
        refuse("local " + place.str(), "not a position");
    }
    const std::string pipeline = "+proj=pipeline +step +proj=unitconvert +xy_in=deg +xy_out=rad"
                                 " +step +proj=cart +ellps=WGS84 +step +proj=topocentric " +
                                 place.str();
    Context context = makeContext();
    Object fromWgs84(proj_create(context.get(), pipeline.c_str()));
    if (!fromWgs84) {
        refuse("local " + place.str(), "not understood");
    }
    return CoordSystem(
        std::make_shared<Definition>(std::move(context), std::move(fromWgs84), Axes::Local));
}

CoordSystem CoordSystem::fromEpsg(int code) {
    return fromText("EPSG:" + std::to_string(code));
}

CoordSystem CoordSystem::fromText(const std::string& definition) {
    Context context = makeContext();
    const Object system(proj_create(context.get(), definition.c_str()));
    if (!system) {
        refuse(definition, "not understood");
    }
    const Axes axes = axesOf(context.get(), system.get(), definition);
    const Object wgs84(proj_create(context.get(), "EPSG:4979"));
    Object fromWgs84 = makeOperation(context.get(), wgs84.get(), system.get());
    if (!fromWgs84) {
        refuse(definition, "no way from WGS 84");
    }
    return CoordSystem(
        std::make_shared<Definition>(std::move(context), std::move(fromWgs84), axes));
}

bool CoordSystem::toWGS84(const Eigen::Vector3d& position, GeoPosition& result) const {
    Eigen::Vector3d wgs84 = position;
    if (!m_definition || !m_definition->transform(PJ_INV, wgs84)) {
        return false;
    }
    result = {wgs84[1], wgs84[0], wgs84[2]};
    return true;
}

bool CoordSystem::fromWGS84(const GeoPosition& position, Eigen::Vector3d& result) const {
    Eigen::Vector3d system(position.longitude, position.latitude, position.height);
    if (!m_definition || !m_definition->transform(PJ_FWD, system)) {
        return false;
    }
    result = system;
    return true;
}

bool CoordSystem::getTangentAxes(const Eigen::Vector3d& position,
                                 Eigen::Vector3d& a1,
                                 Eigen::Vector3d& a2,
                                 Eigen::Vector3d& a3) const {
    if (!m_definition || m_definition->axes() == Axes::Local) {
        if (!position.allFinite()) {
            return false;
        }
        a1 = Eigen::Vector3d::UnitY();
        a2 = Eigen::Vector3d::UnitX();
        a3 = Eigen::Vector3d::UnitZ();
        return true;
    }
    constexpr double kStep = 1e-4; // degrees, about 10 m: curvature and rounding both vanish
    constexpr double kMetresADegree = 1e5;  // at the equator; a step's size matters little
    constexpr double kLastLatitude = 89.99; // beyond, a step in longitude is too short
    GeoPosition place;
    if (m_definition->axes() == Axes::Geographic || !toWGS84(position, place) ||
        std::abs(place.latitude) > kLastLatitude) {
        return false;
    }
    const auto difference = [&](double north, double east, double up, Eigen::Vector3d& direction) {
        Eigen::Vector3d after;
        Eigen::Vector3d before;
        const bool isKnown =
            fromWGS84({place.latitude + north, place.longitude + east, place.height + up}, after) &&
            fromWGS84({place.latitude - north, place.longitude - east, place.height - up}, before);
        direction = after - before;
        return isKnown;
    };
    Eigen::Vector3d north;
    Eigen::Vector3d east;
    Eigen::Vector3d up;
    const double eastStep = kStep / std::cos(place.latitude / 180.0 * kPi);
    if (!difference(kStep, 0.0, 0.0, north) || !difference(0.0, eastStep, 0.0, east) ||
        !difference(0.0, 0.0, kStep * kMetresADegree, up) || east.cross(north).dot(up) <= 0.0) {
        return false;
    }
    if (m_definition->axes() == Axes::Projected) {
        up = Eigen::Vector3d::UnitZ();
        north[2] = 0.0;
        east[2] = 0.0;
    }
    // North and east are at right angles only where the projection keeps angles. Otherwise the axes
    // are the pair at right angles that is as near to both.
    up.normalize();
    a1 = (north.normalized() + up.cross(east.normalized())).normalized();
    a2 = a1.cross(up);
    a3 = up;
    return true;
}

} // namespace tessik::geo
