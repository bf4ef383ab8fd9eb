// Plain loops: the order of operations decides the last bit, and is meant to be read.
#include "radiometry/cameras/sequoia/Physics.h"

#include <cassert>
#include <cmath>

namespace tessik::radiometry::sequoia {

BandMatrix darkCurrent(double iso, double temperature, const DarkCurrentParameter& p) {
    const double scale = std::exp(temperature * p.temperatureCoefficient) * iso;
    BandMatrix result(p.dark.rows(), p.dark.cols());
    const double* dark = p.dark.data();
    float* out = result.data();
    for (Eigen::Index i = 0; i < result.size(); ++i) {
        out[i] = static_cast<float>(scale * dark[i] + p.darkOffset);
    }
    return result;
}

ParameterMatrix
opticalCorrection(double iso, double fNumber, double exposureTime, const CMOSParameter& p) {
    const double squaredFNumber = fNumber * fNumber;
    ParameterMatrix result(p.deltaTau.rows(), p.deltaTau.cols());
    const double* deltaTau = p.deltaTau.data();
    double* out = result.data();
    for (Eigen::Index i = 0; i < result.size(); ++i) {
        out[i] = squaredFNumber / ((exposureTime + deltaTau[i]) * iso * p.gain);
    }
    return result;
}

BandMatrix cmosResponse(const BandMatrix& image,
                        double iso,
                        double fNumber,
                        double exposureTime,
                        const CMOSParameter& p) {
    const ParameterMatrix factor = opticalCorrection(iso, fNumber, exposureTime, p);
    assert(image.size() == factor.size() && p.vignetting.size() == factor.size());
    BandMatrix result(factor.rows(), factor.cols());
    const float* in = image.data();
    const double* vignetting = p.vignetting.data();
    const double* divisor = factor.data();
    float* out = result.data();
    for (Eigen::Index i = 0; i < result.size(); ++i) {
        out[i] = static_cast<float>(static_cast<double>(in[i]) * vignetting[i] / divisor[i]);
    }
    return result;
}

} // namespace tessik::radiometry::sequoia
