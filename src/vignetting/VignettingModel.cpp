#include "radiometry/vignetting/VignettingModel.h"

#include "cameras/sequoia/RowFields.h"
#include "platform/camera/CameraParams.h"
#include "radiometry/core/Consistency.h"

#include <ostream>

namespace tessik::radiometry {
namespace {

Eigen::VectorXd trimmed(const Eigen::VectorXd& coefficients) {
    if (coefficients.size() == 0) {
        return Eigen::VectorXd::Zero(1);
    }
    Eigen::Index size = coefficients.size();
    while (size > 1 && coefficients(size - 1) == 0.0) {
        --size;
    }
    return coefficients.head(size);
}

/// So many pixels are evaluated together: their radii and sums stay in registers while the
/// coefficients are walked. `map` of bench/ChainBenchmark.cpp measures it.
constexpr int kLanes = 8;

/// The polynomial at neighbouring pixels of a row, from their squared distances along x and y.
template <int Lanes>
void evaluate(const Eigen::VectorXd& k, const double* dx2, double dy2, float* brightness) {
    using Pixels = Eigen::Array<double, Lanes, 1>;
    const Pixels radius = (Eigen::Map<const Pixels>(dx2) + dy2).sqrt();
    Pixels sum = Pixels::Constant(k(k.size() - 1));
    for (Eigen::Index power = k.size() - 2; power >= 0; --power) {
        sum = sum * radius + k(power);
    }
    Eigen::Array<float, Lanes, 1>::Map(brightness) = sum.template cast<float>();
}

} // namespace

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

struct VignettingModelRadialPolynomial::Data {
    Eigen::VectorXd coefficients;
    Eigen::Index width;
    Eigen::Index height;
    double centerX;
    double centerY;
};

VignettingModelRadialPolynomial::VignettingModelRadialPolynomial(
    const Eigen::VectorXd& coefficients,
    std::uint64_t width,
    std::uint64_t height,
    double centerX,
    double centerY)
    : m_data(std::make_unique<Data>(Data{trimmed(coefficients),
                                         static_cast<Eigen::Index>(width),
                                         static_cast<Eigen::Index>(height),
                                         centerX,
                                         centerY})) {}

VignettingModelRadialPolynomial::~VignettingModelRadialPolynomial() = default;

BandMatrix VignettingModelRadialPolynomial::map() const {
    const Data& data = *m_data;
    const Eigen::VectorXd& k = data.coefficients;
    Eigen::ArrayXd dx2(data.width);
    for (Eigen::Index c = 0; c < data.width; ++c) {
        const double dx = static_cast<double>(c) - data.centerX;
        dx2(c) = dx * dx;
    }
    BandMatrix result(data.height, data.width);
    for (Eigen::Index r = 0; r < data.height; ++r) {
        const double dy = static_cast<double>(r) - data.centerY;
        const double dy2 = dy * dy;
        Eigen::Index c = 0;
        for (; c + kLanes <= data.width; c += kLanes) {
            evaluate<kLanes>(k, &dx2(c), dy2, &result(r, c));
        }
        for (; c < data.width; ++c) {
            evaluate<1>(k, &dx2(c), dy2, &result(r, c));
        }
    }
    return result;
}

void VignettingModelRadialPolynomial::print(std::ostream& os) const {
    os << "Radial polynomial: center " << m_data->centerX << "," << m_data->centerY
       << " coefficients polynomial";
    for (const double coefficient : m_data->coefficients) {
        os << " " << coefficient;
    }
}

struct VignettingModel2DPolynomial::Data {
    Eigen::MatrixXd coefficients;
    Eigen::Index width;
    Eigen::Index height;
};

VignettingModel2DPolynomial::VignettingModel2DPolynomial(const Eigen::MatrixXd& coefficients,
                                                         std::uint64_t width,
                                                         std::uint64_t height)
    : m_data(std::make_unique<Data>(Data{
          coefficients, static_cast<Eigen::Index>(width), static_cast<Eigen::Index>(height)})) {}

VignettingModel2DPolynomial::~VignettingModel2DPolynomial() = default;

BandMatrix VignettingModel2DPolynomial::map() const {
    const Eigen::MatrixXd& C = m_data->coefficients;
    BandMatrix result(m_data->height, m_data->width);
    if (C.size() == 0) {
        result.setZero(); // an empty sum
        return result;
    }
    // The polynomials in x are the same for every row: p(j, column), evaluated once.
    const Eigen::ArrayXd x =
        Eigen::ArrayXd::LinSpaced(m_data->width, 0.0, static_cast<double>(m_data->width - 1)) /
        static_cast<double>(m_data->width);
    Eigen::ArrayXXd p(m_data->width, C.cols());
    for (Eigen::Index j = 0; j < C.cols(); ++j) {
        p.col(j).setConstant(C(C.rows() - 1, j));
        for (Eigen::Index i = C.rows() - 2; i >= 0; --i) {
            p.col(j) = p.col(j) * x + C(i, j);
        }
    }
    Eigen::ArrayXd sum(m_data->width);
    for (Eigen::Index r = 0; r < m_data->height; ++r) {
        const double y = static_cast<double>(r) / static_cast<double>(m_data->height);
        sum = p.col(C.cols() - 1);
        for (Eigen::Index j = C.cols() - 2; j >= 0; --j) {
            sum = sum * y + p.col(j);
        }
        result.row(r) = sum.matrix().transpose().cast<float>();
    }
    return result;
}

void VignettingModel2DPolynomial::print(std::ostream& os) const {
    os << "2D polynomial: image size " << m_data->width << "x" << m_data->height
       << " polynomial2d\n"
       << m_data->coefficients;
}

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
