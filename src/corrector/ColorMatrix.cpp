#include "radiometry/corrector/ColorMatrix.h"

#include "core/Fail.h"
#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/core/Consistency.h"

#include <limits>
#include <string>

namespace tessik::radiometry::corrector {
namespace {

constexpr auto kColorContext = "Correcting for color matrix";

} // namespace

struct ColorMatrix::Data {
    Eigen::MatrixXd matrix;
    bool clampToZero = false;
};

ColorMatrix::ColorMatrix() : m_data(std::make_unique<Data>()) {}
ColorMatrix::~ColorMatrix() = default;

void ColorMatrix::useData(const datasource::ImageMetadata& source) {
    if (exif::validColorConversionMatrix(source.exif())) {
        m_data->matrix = source.exif().colorConversionMatrix;
        m_data->clampToZero = minMaxForPixelType(source.exif().pixelType).first == 0.0;
    }
}

bool ColorMatrix::isApplicable() const {
    return m_data->matrix.size() > 0;
}

void ColorMatrix::act(BandImage& bands,
                      const Eigen::Vector2i& /*blockOffset*/,
                      Account* account) const {
    verifyConsistentNumberOfBands(
        bands.size(), static_cast<std::size_t>(m_data->matrix.rows()), kColorContext);
    for (const BandMatrix& band : bands) {
        if (band.rows() != bands.front().rows() || band.cols() != bands.front().cols()) {
            fail(kColorContext, ": bands differ in size");
        }
    }
    TESSIK_LOG(logging::kInfo) << "Color conversion matrix:\n" << m_data->matrix;
    for (Eigen::Index b = 0; b < m_data->matrix.cols(); ++b) {
        const std::string name = "share_of_band_" + std::to_string(b);
        tell(account, name.c_str(), "", m_data->matrix.col(b));
    }
    Eigen::VectorXd in(m_data->matrix.cols());
    Eigen::VectorXd out(m_data->matrix.rows());
    const Eigen::Index size = bands.front().size();
    for (Eigen::Index p = 0; p < size; ++p) {
        for (std::size_t b = 0; b < bands.size(); ++b) {
            in(static_cast<Eigen::Index>(b)) = static_cast<double>(bands[b].data()[p]);
        }
        if (in.hasNaN()) {
            out.setConstant(std::numeric_limits<double>::quiet_NaN());
        } else {
            out.noalias() = m_data->matrix * in;
            // Promised: docs/contract.md, clean-inputs.
            if (m_data->clampToZero && in.minCoeff() >= 0.0) {
                out = out.cwiseMax(0.0);
            }
        }
        for (std::size_t b = 0; b < bands.size(); ++b) {
            bands[b].data()[p] = static_cast<float>(out(static_cast<Eigen::Index>(b)));
        }
    }
}

} // namespace tessik::radiometry::corrector
