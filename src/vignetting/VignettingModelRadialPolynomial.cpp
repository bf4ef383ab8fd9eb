#include "radiometry/vignetting/VignettingModel.h"

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

/// Pixels at a time: their radii and sums stay in registers while the coefficients are walked.
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

} // namespace tessik::radiometry
