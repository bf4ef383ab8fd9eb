// Where three marks lie as those of a code, the place is cut out upright and enlarged, and shown to
// the decoder. To show it the whole image, at every line and in the sizes and stretches that small
// or dim codes take, would take many times as long.
#include "platform/panel/CodeReader.h"

#include "platform/panel/CodePlaces.h"
#include "platform/panel/Levels.h"
#include "platform/panel/Outline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tessik::target {
namespace {

/// One way to show a place to the decoder.
struct Attempt {
    double scale = 0.0; ///< px a module
    /// The difference of a pixel from the mean around it counts so many times more, which undoes
    /// blur.
    float sharpening = 0.0F;
};

/// The first reads most that can be read; the second, what is blurred as widely as a module.
constexpr std::array<Attempt, 4> kAttempts = {{{4.0, 0.0F}, {4.0, 3.0F}, {6.0, 0.0F}, {3.0, 0.0F}}};

/// How much all attempts together may show: this share of the band's pixels, and so many pixels
/// more, which is what counts for small bands. Of images without a code only odd ones have places
/// to try.
constexpr double kMaxShown = 0.25;
constexpr double kShownAlways = 50000.0;

/// What is shown around the code: its margin, and what leans out of the square that three marks
/// make.
constexpr double kMarginModules = 4.0;
constexpr double kMarginShare = 0.12;

constexpr Eigen::Index kMinSide = 24; ///< px, of the smallest size that is searched

/// The samples in full size, in half of it, and so on: in one of them a module is 1.3 to 6 px wide.
std::vector<Samples> sizesOf(Samples samples) {
    std::vector<Samples> sizes;
    sizes.push_back(std::move(samples));
    while (std::min(sizes.back().rows(), sizes.back().cols()) >= 2 * kMinSide) {
        sizes.push_back(halved(sizes.back()));
    }
    return sizes;
}

/// A place in the samples of one size.
struct SizedPlace {
    CodePlace place;
    std::size_t size = 0;
};

/// The places in all sizes, the least odd ones first.
std::vector<SizedPlace> placesIn(const std::vector<Samples>& sizes) {
    std::vector<SizedPlace> places;
    for (std::size_t size = 0; size < sizes.size(); ++size) {
        for (const CodePlace& place : codePlaces(finderMarks(sizes[size]))) {
            places.push_back({place, size});
        }
    }
    std::stable_sort(places.begin(), places.end(), [](const SizedPlace& a, const SizedPlace& b) {
        return a.place.oddness < b.place.oddness;
    });
    return places;
}

Eigen::Vector2d inBand(const Eigen::Vector2d& px, std::size_t size) {
    return ((px.array() + 0.5) * std::exp2(static_cast<double>(size)) - 0.5).matrix();
}

/// Shows a place upright, and finds the way back from it.
class CutOut {
public:
    CutOut(const SizedPlace& place, double scale)
        : m_place(place), m_scale(scale),
          m_margin(kMarginModules + kMarginShare * place.place.modules),
          m_side(static_cast<Eigen::Index>((place.place.modules + 2.0 * m_margin) * scale)) {}

    [[nodiscard]] double pixels() const { return static_cast<double>(m_side * m_side); }

    [[nodiscard]] BandMatrix from(const Samples& samples) const {
        BandMatrix result(m_side, m_side);
        for (Eigen::Index y = 0; y < m_side; ++y) {
            for (Eigen::Index x = 0; x < m_side; ++x) {
                result(y, x) =
                    valueAt(samples, inSamples({static_cast<double>(x), static_cast<double>(y)}));
            }
        }
        return result;
    }

    [[nodiscard]] Eigen::Vector2d toBand(const Eigen::Vector2d& px) const {
        return inBand(inSamples(px), m_place.size);
    }

private:
    [[nodiscard]] Eigen::Vector2d inSamples(const Eigen::Vector2d& px) const {
        const CodePlace& place = m_place.place;
        const Eigen::Array2d modules = (px.array() + 0.5) / m_scale - m_margin;
        return place.origin + place.pxFromModules * modules.matrix();
    }

    const SizedPlace& m_place;
    double m_scale;
    double m_margin;
    Eigen::Index m_side;
};

Eigen::Vector2d cornersMiddle(const Corners& corners) {
    Eigen::Vector2d sum = Eigen::Vector2d::Zero();
    for (const Eigen::Vector2d& corner : corners) {
        sum += corner;
    }
    return sum / static_cast<double>(corners.size());
}

/// Whether a code that was read covers the place: several sizes show the same code.
bool isRead(const SizedPlace& place, const std::vector<Code>& codes) {
    const CodePlace& p = place.place;
    const Eigen::Vector2d middle =
        inBand(p.origin + p.pxFromModules * Eigen::Vector2d::Constant(0.5 * p.modules), place.size);
    return std::any_of(codes.begin(), codes.end(), [&middle](const Code& code) {
        const double diagonal = (code.corners[2] - code.corners[0]).norm();
        return (cornersMiddle(code.corners) - middle).norm() < 0.5 * diagonal;
    });
}

/// The mean of pixels up to a distance along a row; at the edges, of those that there are.
BandMatrix meanAlongRows(const BandMatrix& band, Eigen::Index reach) {
    BandMatrix result(band.rows(), band.cols());
    for (Eigen::Index x = 0; x < band.cols(); ++x) {
        const Eigen::Index first = std::max<Eigen::Index>(0, x - reach);
        const Eigen::Index last = std::min(band.cols() - 1, x + reach);
        result.col(x) = band.middleCols(first, last - first + 1).rowwise().mean();
    }
    return result;
}

BandMatrix sharpened(const BandMatrix& band, const Attempt& attempt) {
    const auto module = static_cast<Eigen::Index>(attempt.scale);
    const BandMatrix turned = meanAlongRows(band, module).transpose();
    const BandMatrix mean = meanAlongRows(turned, module).transpose();
    return band + attempt.sharpening * (band - mean);
}

void readPlace(const Samples& samples,
               const SizedPlace& place,
               const Attempt& attempt,
               const CutOut& cut,
               std::vector<Code>& codes) {
    BandMatrix shown = cut.from(samples);
    if (attempt.sharpening > 0.0F) {
        shown = sharpened(shown, attempt);
    }
    const Range range = {static_cast<float>(place.place.dark),
                         static_cast<float>(place.place.light)};
    for (Code& code : decode(stretched(shown, range))) {
        const bool isNew = std::none_of(codes.begin(), codes.end(), [&code](const Code& other) {
            return other.text == code.text;
        });
        if (isNew) {
            for (Eigen::Vector2d& corner : code.corners) {
                corner = cut.toBand(corner);
            }
            codes.push_back(std::move(code));
        }
    }
}

std::vector<Code> codesIn(Samples samples) {
    double left = kShownAlways + kMaxShown * static_cast<double>(samples.size());
    const std::vector<Samples> sizes = sizesOf(std::move(samples));
    const std::vector<SizedPlace> places = placesIn(sizes);
    std::vector<Code> codes;
    for (const Attempt& attempt : kAttempts) {
        for (const SizedPlace& place : places) {
            const CutOut cut(place, attempt.scale);
            if (isRead(place, codes) || cut.pixels() > left) {
                continue;
            }
            left -= cut.pixels();
            readPlace(sizes[place.size], place, attempt, cut, codes);
        }
    }
    return codes;
}

Samples enlarged(const Samples& samples, Eigen::Index factor) {
    Samples result(factor * samples.rows(), factor * samples.cols());
    const auto inSamples = [factor](Eigen::Index px) {
        return (static_cast<double>(px) + 0.5) / static_cast<double>(factor) - 0.5;
    };
    for (Eigen::Index y = 0; y < result.rows(); ++y) {
        for (Eigen::Index x = 0; x < result.cols(); ++x) {
            result(y, x) =
                static_cast<std::uint16_t>(valueAt(samples, {inSamples(x), inSamples(y)}));
        }
    }
    return result;
}

} // namespace

std::vector<Code> readCodes(const BandMatrix& band) {
    return codesIn(samplesOf(band));
}

std::optional<Code>
readCode(const BandMatrix& band, const image::Box& part, const std::string& text) {
    const Samples samples = samplesOf(image::blockOf(part, band));
    if (samples.rows() < 2 || samples.cols() < 2) {
        return std::nullopt;
    }
    // Between pixels noise is less, and the proportions of narrow modules are nearer to the truth.
    for (const Eigen::Index factor : {1, 2, 3}) {
        for (Code& code : codesIn(factor == 1 ? samples : enlarged(samples, factor))) {
            if (code.text != text) {
                continue;
            }
            const Eigen::Array2d first(part.min_corner().x(), part.min_corner().y());
            for (Eigen::Vector2d& corner : code.corners) {
                corner =
                    ((corner.array() + 0.5) / static_cast<double>(factor) - 0.5 + first).matrix();
            }
            return std::move(code);
        }
    }
    return std::nullopt;
}

} // namespace tessik::target
