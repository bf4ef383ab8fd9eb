#include "simulate/Scene.h"

#include "platform/math/Angle.h"
#include "simulate/Random.h"
#include "simulate/Spectrum.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::simulate {
namespace {

constexpr double kFieldM = 4.0;
/// With the fading light around it, a glint saturates 0.3 to 0.5 m2: 0.05 % of the pixels and more,
/// so that a sensor's limit stands out from a histogram.
constexpr double kGlintRadiusM = 0.25;
constexpr double kGlareRadiusM = 1.0; ///< beyond, it is below 1e-3
/// Of the edge across a field, east per north: about 5 degrees from the pixel columns.
constexpr double kEdgeSlope = 0.0875;
constexpr double kRampStart = 0.05;
constexpr double kRampEnd = 0.60;

constexpr std::size_t kMaterialCount = 12;

/// Plausible reflectances of what an aerial image shows, at the tabulated wavelengths.
constexpr std::array<Spectrum, kMaterialCount> kMaterials = {{
    {0.020, 0.020, 0.020, 0.020, 0.025}, // black sheet
    {0.040, 0.035, 0.025, 0.022, 0.020}, // water
    {0.030, 0.070, 0.040, 0.250, 0.450}, // canopy
    {0.045, 0.090, 0.055, 0.320, 0.550}, // crop
    {0.060, 0.085, 0.110, 0.130, 0.180}, // wet soil
    {0.110, 0.160, 0.220, 0.260, 0.320}, // dry soil
    {0.080, 0.095, 0.090, 0.095, 0.100}, // asphalt
    {0.210, 0.240, 0.270, 0.300, 0.340}, // gravel
    {0.330, 0.370, 0.400, 0.415, 0.430}, // concrete
    {0.300, 0.380, 0.470, 0.520, 0.620}, // sand
    {0.550, 0.560, 0.580, 0.600, 0.650}, // metal roof
    {0.800, 0.800, 0.800, 0.800, 0.800}, // white sheet
}};

enum class FieldKind { Plain, Edge, Ramp };

struct Field {
    FieldKind kind = FieldKind::Plain;
    bool hasGlint = false;
    float first = 0.0F;
    float second = 0.0F; ///< beyond the edge
};

/// Remainder that is never negative.
std::int64_t modulo(std::int64_t value, std::int64_t divisor) {
    return ((value % divisor) + divisor) % divisor;
}

/// Edges, ramps and glints recur at short distances, so that every image has some.
Field fieldAt(std::uint64_t seed,
              std::int64_t column,
              std::int64_t row,
              const std::array<float, kMaterialCount>& levels) {
    const std::uint64_t lot =
        mixed({seed, static_cast<std::uint64_t>(column), static_cast<std::uint64_t>(row)});
    Field field;
    field.first = levels[lot % kMaterialCount];
    field.second = levels[(lot + 1 + (lot >> 32U) % (kMaterialCount - 1)) % kMaterialCount];
    const std::int64_t place = modulo(column + 5 * row, 16);
    field.kind = place == 0 ? FieldKind::Ramp : place == 8 ? FieldKind::Edge : FieldKind::Plain;
    field.hasGlint = modulo(column + 7 * row, 40) == 3;
    return field;
}

/// What a glint adds to the ground. Beyond its core it fades with the eighth power of the distance.
/// @param squared the distance from the glint's centre, m2
double glint(double squared) {
    const double share =
        kGlintRadiusM * kGlintRadiusM / std::max(squared, kGlintRadiusM * kGlintRadiusM);
    return Scene::kGlint * (share * share) * (share * share);
}

/// @param east, north from the field's centre, m
float groundIn(const Field& field, double east, double north) {
    switch (field.kind) {
    case FieldKind::Edge:
        return east < kEdgeSlope * north ? field.first : field.second;
    case FieldKind::Ramp:
        return static_cast<float>(kRampStart + (kRampEnd - kRampStart) * (east / kFieldM + 0.5));
    case FieldKind::Plain:
        break;
    }
    return field.first;
}

/// @param east, north from the field's centre, m
float reflectanceIn(const Field& field, double east, double north) {
    const float ground = groundIn(field, east, north);
    const double squared = east * east + north * north;
    return field.hasGlint && squared < kGlareRadiusM * kGlareRadiusM
               ? static_cast<float>(static_cast<double>(ground) + glint(squared))
               : ground;
}

} // namespace

BandMatrix Scene::reflectance(double wavelengthNm, const View& view) const {
    std::array<float, kMaterialCount> levels{};
    for (std::size_t i = 0; i < kMaterialCount; ++i) {
        levels[i] = static_cast<float>(valueAt(kMaterials[i], wavelengthNm));
    }
    BandMatrix image(view.height, view.width);
    const double left = 0.5 * static_cast<double>(view.width) - 0.5;
    const double top = 0.5 * static_cast<double>(view.height) - 0.5;
    const double cosine = std::cos(view.topDegrees * kDegree);
    const double sine = std::sin(view.topDegrees * kDegree);
    Field field;
    double column = std::numeric_limits<double>::quiet_NaN();
    double row = column;
    for (Eigen::Index y = 0; y < view.height; ++y) {
        const double up = (top - static_cast<double>(y)) * view.pixelM;
        for (Eigen::Index x = 0; x < view.width; ++x) {
            const double right = (static_cast<double>(x) - left) * view.pixelM;
            const double east = view.eastM + (right * cosine + up * sine);
            const double north = view.northM + (up * cosine - right * sine);
            const double newColumn = std::floor(east / kFieldM);
            const double newRow = std::floor(north / kFieldM);
            if (newColumn != column || newRow != row) {
                column = newColumn;
                row = newRow;
                field = fieldAt(m_seed,
                                static_cast<std::int64_t>(column),
                                static_cast<std::int64_t>(row),
                                levels);
            }
            image(y, x) = reflectanceIn(
                field, east - (column + 0.5) * kFieldM, north - (row + 0.5) * kFieldM);
        }
    }
    return image;
}

} // namespace tessik::simulate
