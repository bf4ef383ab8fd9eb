#include "cameras/sequoia/RowFields.h"
#include "radiometry/core/Consistency.h"
#include "radiometry/vignetting/VignettingModel.h"

#include <ostream>

namespace tessik::radiometry {

struct VignettingModelSequoia::Data {
    const Eigen::MatrixXd& coefficients;
    Eigen::Index width;
    Eigen::Index height;
};

VignettingModelSequoia::VignettingModelSequoia(const Eigen::MatrixXd& coefficients,
                                               std::uint64_t width,
                                               std::uint64_t height)
    : m_data(std::make_unique<Data>(Data{
          coefficients, static_cast<Eigen::Index>(width), static_cast<Eigen::Index>(height)})) {}

VignettingModelSequoia::~VignettingModelSequoia() = default;

BandMatrix VignettingModelSequoia::map() const {
    const Eigen::MatrixXd& grid = m_data->coefficients;
    verifyConsistentMatrixBlocks(m_data->height,
                                 m_data->width,
                                 grid.rows(),
                                 grid.cols(),
                                 QStringLiteral("Sequoia vignetting model"));
    return zoomRowFields(grid, static_cast<int>(m_data->width / grid.cols()));
}

void VignettingModelSequoia::print(std::ostream& os) const {
    os << "Sequoia V2 model";
}

} // namespace tessik::radiometry
