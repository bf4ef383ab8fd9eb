#include "platform/exif/cameras/Dialects.h"

#include <algorithm>

namespace tessik::exif {
namespace {

bool matchesAirinov(const Tags& tags) {
    return tags.xmpText("Camera", "RigName").rfind("Airinov multiSPEC4C", 0) == 0;
}

void readAirinov(const Tags& /*tags*/, ImageMetadata& metadata) {
    metadata.exif.isAirinovMultispec4C = true;
}

constexpr Dialect kAirinov = {&matchesAirinov, &readAirinov, kLocalClock};

} // namespace

const std::vector<Dialect>& dialects() {
    static const std::vector<Dialect> table = {
        kMicaSense, kSequoia, kDjiP4Multispectral, kDjiMavic3Multispectral, kSentera, kAirinov};
    return table;
}

VignettingData radialBrightness(const std::vector<double>& center,
                                const std::vector<double>& powers) {
    Eigen::VectorXd coefficients(static_cast<Eigen::Index>(powers.size()) + 1);
    coefficients(0) = 1.0;
    std::copy(powers.begin(), powers.end(), coefficients.data() + 1);
    return {coefficients, center[0], center[1], VignettingType::RadialPolynomial};
}

} // namespace tessik::exif
