#include "simulate/Spectrum.h"

#include <algorithm>

namespace tessik::simulate {

double valueAt(const Spectrum& spectrum, double wavelengthNm) {
    const auto& nodes = kSpectrumWavelengthsNm;
    const auto* const next = std::lower_bound(nodes.begin(), nodes.end(), wavelengthNm);
    if (next == nodes.end()) {
        return spectrum.back();
    }
    const auto i = static_cast<std::size_t>(next - nodes.begin());
    if (i == 0 || *next == wavelengthNm) {
        return spectrum[i];
    }
    const double share = (wavelengthNm - nodes[i - 1]) / (nodes[i] - nodes[i - 1]);
    return spectrum[i - 1] + share * (spectrum[i] - spectrum[i - 1]);
}

} // namespace tessik::simulate
