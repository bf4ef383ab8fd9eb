#include "radiometry/vignetting/VignettingModel.h"

#include "platform/camera/CameraParams.h"

#include <ostream>

namespace tessik::radiometry {

std::ostream& operator<<(std::ostream& os, const IVignettingModel& model) {
    model.print(os);
    return os;
}

std::unique_ptr<IVignettingModel> createVignettingModel(const VignettingData& data,
                                                        const CameraParams& camera) {
    // Promised: docs/contract.md, zero-center.
    switch (data.type) {
    case VignettingType::RadialPolynomial:
        return std::make_unique<VignettingModelRadialPolynomial>(
            data.coefficients.cols() > 0 ? Eigen::VectorXd(data.coefficients.col(0))
                                         : Eigen::VectorXd(),
            camera.width,
            camera.height,
            data.centerX != 0.0 ? data.centerX : camera.principalPointX,
            data.centerY != 0.0 ? data.centerY : camera.principalPointY);
    case VignettingType::Polynomial2D:
        return std::make_unique<VignettingModel2DPolynomial>(
            data.coefficients, camera.width, camera.height);
    case VignettingType::Sequoia:
        return std::make_unique<VignettingModelSequoia>(
            data.coefficients, camera.width, camera.height);
    case VignettingType::None:
        break;
    }
    return std::make_unique<VignettingModelNone>(camera.width, camera.height);
}

struct VignettingModelNone::Data {
    Eigen::Index width;
    Eigen::Index height;
};

VignettingModelNone::VignettingModelNone(std::uint64_t width, std::uint64_t height)
    : m_data(std::make_unique<Data>(
          Data{static_cast<Eigen::Index>(width), static_cast<Eigen::Index>(height)})) {}

VignettingModelNone::~VignettingModelNone() = default;

BandMatrix VignettingModelNone::map() const {
    return BandMatrix::Ones(m_data->height, m_data->width);
}

void VignettingModelNone::print(std::ostream& os) const {
    os << "None";
}

} // namespace tessik::radiometry
