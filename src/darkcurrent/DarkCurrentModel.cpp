#include "radiometry/darkcurrent/DarkCurrentModel.h"

#include "platform/camera/ExifInfo.h"
#include "platform/log/Log.h"
#include "radiometry/cameras/sequoia/ModelParameter.h"
#include "radiometry/cameras/sequoia/Physics.h"

#include <algorithm>
#include <limits>
#include <ostream>

namespace tessik::radiometry {
namespace {

/// The test is absolute: dark levels are whole DN, or very nearly.
/// Promised: docs/contract.md, first-entry.
bool isConstant(const Eigen::MatrixXd& level) {
    return level.size() == 1 ||
           ((level.array() - level(0, 0)).abs() < std::numeric_limits<double>::epsilon()).all();
}

BandMatrix repeated(const Eigen::MatrixXd& pattern, Eigen::Index height, Eigen::Index width) {
    const BandMatrix tile = pattern.cast<float>();
    return tile.replicate(height / tile.rows(), width / tile.cols());
}

} // namespace

std::ostream& operator<<(std::ostream& os, const IDarkCurrentModel& model) {
    model.print(os);
    return os;
}

std::unique_ptr<IDarkCurrentModel> createDarkCurrentModel(const ExifInfo& exif,
                                                          const sequoia::ModelParameter* model) {
    if (model != nullptr) {
        return std::make_unique<DarkCurrentModelSequoia>(exif, model->darkCurrent);
    }
    return std::make_unique<DarkCurrentModelBase>(exif);
}

struct DarkCurrentModelBase::Data {
    const ExifInfo& exif;
};

DarkCurrentModelBase::DarkCurrentModelBase(const ExifInfo& exif)
    : m_data(std::make_unique<Data>(Data{exif})) {}

DarkCurrentModelBase::~DarkCurrentModelBase() = default;

BandImage DarkCurrentModelBase::map() const {
    const ExifInfo& exif = m_data->exif;
    const std::vector<Eigen::MatrixXd>& levels = exif.darkLevels;
    if (levels.empty()) {
        return {};
    }
    const bool hasEmptyEntry =
        std::any_of(levels.begin(), levels.end(), [](const Eigen::MatrixXd& level) {
            return level.size() == 0;
        });
    if (levels.size() != exif.bandCount || hasEmptyEntry) {
        // Promised: docs/contract.md, entries.
        TESSIK_LOG(logging::kWarning)
            << "Inconsistent meta-data: " << exif.bandCount << " bands but dark current has "
            << levels.size() << "entries";
        return {};
    }
    const auto height = static_cast<Eigen::Index>(exif.imageHeight);
    const auto width = static_cast<Eigen::Index>(exif.imageWidth);
    const bool constant = isConstant(levels.front());
    BandImage maps;
    maps.reserve(levels.size());
    for (const Eigen::MatrixXd& level : levels) {
        maps.push_back(constant
                           ? BandMatrix::Constant(height, width, static_cast<float>(level(0, 0)))
                           : repeated(level, height, width));
    }
    return maps;
}

void DarkCurrentModelBase::print(std::ostream& os) const {
    const Eigen::IOFormat format(
        Eigen::StreamPrecision, Eigen::DontAlignCols, " ", " ", "", "", "[", "] ");
    os << "Exif: ";
    for (const Eigen::MatrixXd& level : m_data->exif.darkLevels) {
        os << level.format(format);
    }
}

struct DarkCurrentModelSequoia::Data {
    const ExifInfo& exif;
    const sequoia::DarkCurrentParameter& parameter;
};

DarkCurrentModelSequoia::DarkCurrentModelSequoia(const ExifInfo& exif,
                                                 const sequoia::DarkCurrentParameter& parameter)
    : m_data(std::make_unique<Data>(Data{exif, parameter})) {}

DarkCurrentModelSequoia::~DarkCurrentModelSequoia() = default;

BandImage DarkCurrentModelSequoia::map() const {
    const ExifInfo& exif = m_data->exif;
    if (exif.iso < 1) {
        TESSIK_LOG(logging::kWarning) << "Invalid ISO read from exif";
    }
    const double temperature = exif.sensorTemperature.value();
    return {sequoia::darkCurrent(static_cast<double>(exif.iso), temperature, m_data->parameter)};
}

void DarkCurrentModelSequoia::print(std::ostream& os) const {
    const sequoia::DarkCurrentParameter& p = m_data->parameter;
    os << "Sequoia model: dark offset " << p.darkOffset << " temperature coefficient "
       << p.temperatureCoefficient << " dark pattern " << p.dark.rows() << "x" << p.dark.cols();
}

} // namespace tessik::radiometry
