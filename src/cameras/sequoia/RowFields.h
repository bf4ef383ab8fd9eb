#pragma once

#include "platform/math/Zoom.h"
#include "radiometry/core/Types.h"

namespace tessik::radiometry {

/// Enlarges a matrix whose even and odd rows describe two interleaved row fields of a sensor. The
/// fields are enlarged one by one, so that interpolation never mixes them, and interleaved again.
/// @return (factor * grid rows) x (factor * grid columns)
/// @throws std::runtime_error as zoom
inline BandMatrix zoomRowFields(const math::RowMatrixXd& grid, int factor) {
    const auto field = [&grid](Eigen::Index first) {
        return math::RowMatrixXd(
            grid(Eigen::seq(first, grid.rows() - 1, Eigen::fix<2>), Eigen::all));
    };
    const BandMatrix even = math::zoom(field(0), factor);
    const BandMatrix odd = math::zoom(field(1), factor);
    BandMatrix result(even.rows() + odd.rows(), odd.cols());
    // With an odd number of grid rows the even field is `factor` rows longer; its tail follows at
    // the end.
    for (Eigen::Index r = 0; r < result.rows(); ++r) {
        const Eigen::Index pair = r / 2;
        const bool takeEven = pair >= odd.rows() || r % 2 == 0;
        result.row(r) =
            takeEven ? even.row(pair >= odd.rows() ? r - odd.rows() : pair) : odd.row(pair);
    }
    return result;
}

} // namespace tessik::radiometry
