#include "radiometry/VignettingModel.h"

#include <array>
#include <cmath>
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
    BandMatrix result(data.height, data.width);
    // A chunk of a row at a time: radii and sums stay in the first-level cache while the
    // coefficients are walked, and every inner loop is free of dependencies.
    constexpr Eigen::Index kChunk = 256;
    std::array<double, kChunk> radius{};
    std::array<double, kChunk> sum{};
    for (Eigen::Index r = 0; r < data.height; ++r) {
        const double dy = static_cast<double>(r) - data.centerY;
        const double dy2 = dy * dy;
        for (Eigen::Index begin = 0; begin < data.width; begin += kChunk) {
            const auto count = static_cast<int>(std::min(kChunk, data.width - begin));
            const double left = static_cast<double>(begin) - data.centerX;
            for (int i = 0; i < count; ++i) {
                const double dx = left + static_cast<double>(i);
                radius[static_cast<std::size_t>(i)] = std::sqrt(dx * dx + dy2);
                sum[static_cast<std::size_t>(i)] = k(k.size() - 1);
            }
            for (Eigen::Index power = k.size() - 2; power >= 0; --power) {
                const double coefficient = k(power);
                for (int i = 0; i < count; ++i) {
                    sum[static_cast<std::size_t>(i)] =
                        sum[static_cast<std::size_t>(i)] * radius[static_cast<std::size_t>(i)] +
                        coefficient;
                }
            }
            float* out = &result(r, begin);
            for (int i = 0; i < count; ++i) {
                out[i] = static_cast<float>(sum[static_cast<std::size_t>(i)]);
            }
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
