#pragma once

#include <ostream>
#include <tuple>
#include <vector>

namespace tessik {

/// A spectral band; 0 where a value is not known. Ordered by centre, then width.
struct BandInfo {
    double wavelengthNm = 0.0; ///< centre wavelength, nm
    double fwhmNm = 0.0;       ///< full width at half maximum, nm

    friend bool operator<(const BandInfo& a, const BandInfo& b) {
        return std::tie(a.wavelengthNm, a.fwhmNm) < std::tie(b.wavelengthNm, b.fwhmNm);
    }
    friend bool operator==(const BandInfo& a, const BandInfo& b) {
        return a.wavelengthNm == b.wavelengthNm && a.fwhmNm == b.fwhmNm;
    }
};

/// "560 nm, width 40 nm".
inline std::ostream& operator<<(std::ostream& os, const BandInfo& band) {
    return os << band.wavelengthNm << " nm, width " << band.fwhmNm << " nm";
}

/// The bands of a camera, in the order of its images.
using bands_t = std::vector<BandInfo>;

} // namespace tessik
