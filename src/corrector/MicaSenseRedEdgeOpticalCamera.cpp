#include "radiometry/corrector/MicaSenseRedEdgeOpticalCamera.h"

#include "corrector/Rows.h"
#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/config/ExposureMetadata.h"
#include "radiometry/core/Consistency.h"

namespace tessik::radiometry::corrector {

struct MicaSenseRedEdgeOpticalCamera::Data {
    Eigen::ArrayXd sensitivity;
    double apertureFNumber = 1.0;
    double exposure = 1.0;
    double iso = 1.0;
    CorrectionType correctionType = CorrectionType::NoCorrection;
    MicaSenseRedEdge3kModelData model;
    DataType pixelType = DataType::Unknown;
};

MicaSenseRedEdgeOpticalCamera::MicaSenseRedEdgeOpticalCamera() : m_data(std::make_unique<Data>()) {}
MicaSenseRedEdgeOpticalCamera::~MicaSenseRedEdgeOpticalCamera() = default;

void MicaSenseRedEdgeOpticalCamera::useData(const datasource::ImageMetadata& source) {
    const ExifInfo& exif = source.exif();
    m_data->sensitivity = readSensitivity(exif);
    m_data->apertureFNumber = readApertureFNumber(exif);
    m_data->exposure = readExposure(exif);
    m_data->iso = readIso(exif);
    m_data->model = exif.micaSense3kModel;
    m_data->pixelType = exif.pixelType;
}

void MicaSenseRedEdgeOpticalCamera::useData(const datasource::UserSettings& source) {
    m_data->correctionType = source.settings().correctionType;
}

bool MicaSenseRedEdgeOpticalCamera::isApplicable() const {
    return m_data->sensitivity.size() > 0 && micasense::hasValid3kModel(m_data->model) &&
           doAnyCorrection(m_data->correctionType);
}

RowWork MicaSenseRedEdgeOpticalCamera::prepare(const RowTask& task) const {
    verifyConsistentNumberOfBands(task.bands.size(),
                                  static_cast<std::size_t>(m_data->sensitivity.size()),
                                  QStringLiteral("Correcting for optical effects"));
    TESSIK_LOG(logging::kInfo) << "MicaSense 3k coefficients: " << m_data->model.k1 << " "
                               << m_data->model.k2;
    tell(task.account, "k1", "s/row", {m_data->model.k1});
    tell(task.account, "k2", "1/row", {m_data->model.k2});
    const auto factorsOf = [&](auto rowOf) {
        Eigen::ArrayXd factors(static_cast<Eigen::Index>(task.bands.size()));
        for (std::size_t b = 0; b < task.bands.size(); ++b) {
            factors(static_cast<Eigen::Index>(b)) =
                static_cast<double>(rowFactor(b, rowOf(task.bands[b])));
        }
        return factors;
    };
    if (task.account != nullptr) {
        const auto first = [](const BandMatrix& /*band*/) { return Eigen::Index{0}; };
        const auto last = [](const BandMatrix& band) { return band.rows() - 1; };
        tell(task.account, "factor_first_row", "", factorsOf(first));
        tell(task.account, "factor_last_row", "", factorsOf(last));
    }
    return {[this](const Row& row) {
        loops::multiply(row.pixels, row.size, rowFactor(row.band, row.index));
    }};
}

float MicaSenseRedEdgeOpticalCamera::rowFactor(std::size_t band, Eigen::Index r) const {
    const Data& data = *m_data;
    const auto [k1, k2] = data.model;
    const auto row = static_cast<double>(r);
    const double rowExposure = (row * k1 + data.exposure) - (data.exposure * k2) * row;
    const double sensitivity = data.sensitivity(static_cast<Eigen::Index>(band));
    const double range = minMaxForPixelType(data.pixelType).second + 1.0;
    return static_cast<float>(
        opticalCorrection(data.apertureFNumber, rowExposure, data.iso, sensitivity) / range);
}

} // namespace tessik::radiometry::corrector
