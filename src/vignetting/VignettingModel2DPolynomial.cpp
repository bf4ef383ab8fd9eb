#include "radiometry/vignetting/VignettingModel.h"

#include <ostream>

namespace tessik::radiometry {

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

} // namespace tessik::radiometry
