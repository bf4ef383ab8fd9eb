#include "simulate/SequoiaModelFile.h"

#include "platform/image/Raster.h"
#include "platform/image/SoftwareTag.h"
#include "simulate/TagText.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace tessik::simulate {
namespace {

BandMatrix parameterRaster(const SequoiaModel& model) {
    BandMatrix raster(model.dark.rows(), model.dark.cols());
    std::mt19937 generator; // NOLINT(cert-msc32-c,cert-msc51-cpp): its standard seed, by the format
    for (Eigen::Index i = 0; i < raster.size(); ++i) {
        constexpr float kCount = 16777216.0F; // of values that 24 bits can have
        const auto upperBits = static_cast<std::uint32_t>(generator()) >> 8U;
        raster.data()[i] = static_cast<float>(upperBits) / kCount;
    }
    const SequoiaModel::Grid& deltaTau = model.deltaTauGrid;
    const Eigen::Index cols = deltaTau.cols();
    const Eigen::Index rows = deltaTau.rows();
    raster(0, 0) = static_cast<float>(model.darkOffset / 1000.0);
    raster(0, 1) = static_cast<float>(model.temperatureCoefficient);
    raster(0, 2) = static_cast<float>(model.gain / 100000.0);
    raster(0, 3) = static_cast<float>(cols) / 100.0F;
    raster(0, 4) = static_cast<float>(rows) / 100.0F;
    raster(0, raster.cols() - 1) = 1.42F;
    for (Eigen::Index r = 0; r < rows; ++r) {
        for (Eigen::Index c = 0; c < cols; ++c) {
            raster(1 + r, c) = static_cast<float>(deltaTau(r, c) / 0.0001);
            raster(1 + r, cols + c) = static_cast<float>(model.vignettingGrid(r, c));
        }
    }
    return raster;
}

} // namespace

void writeModelFile(const std::string& path,
                    const std::string& serialNumber,
                    const std::vector<SequoiaModel>& models) {
    BandImage rasters;
    for (const SequoiaModel& model : models) {
        rasters.push_back(model.dark);
        rasters.push_back(parameterRaster(model));
    }
    image::writeFloatRaster(path, rasters);
    image::writeProcessingSoftware(path, serialNumber);
}

void writeThermalProfile(const std::string& path,
                         const std::string& serialNumber,
                         const std::vector<std::pair<std::string, double>>& coefficients) {
    std::ofstream stream(path);
    stream << "# body " << serialNumber << "; 1 per degree Celsius\n";
    for (const auto& [band, coefficient] : coefficients) {
        stream << band << " = " << number(coefficient) << '\n';
    }
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot be written");
    }
}

} // namespace tessik::simulate
