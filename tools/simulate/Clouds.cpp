#include "simulate/Clouds.h"

#include "simulate/Random.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kShadowPurpose = 0xc10d;
constexpr std::uint64_t kOvercastPurpose = 0x04e4;

constexpr double kShortest = 10.0; ///< of a shadow, and of the sunshine between two, s
constexpr double kLongest = 60.0;
constexpr double kSharpestEdge = 2.0; ///< s
constexpr double kSoftestEdge = 5.0;
constexpr double kDarkestShadow = 0.05;
constexpr double kBrightestShadow = 0.60;

constexpr double kWalkStep = 20.0;      ///< s
constexpr double kWalkDeviation = 0.03; ///< of a step
constexpr double kLargestWalk = 0.15;
constexpr double kCloudReferenceNm = 650.0;

double smooth(double share) {
    const double x = std::clamp(share, 0.0, 1.0);
    return x * x * (3.0 - 2.0 * x);
}

} // namespace

Clouds::Clouds(Kind kind, std::uint64_t seed, double begin, double end, double drift)
    : m_kind(kind), m_seed(seed) {
    if (kind == Kind::Broken) {
        drawShadows(begin, end);
    } else if (kind == Kind::Overcast) {
        drawWalk(begin, end, drift);
    }
}

void Clouds::drawShadows(double begin, double end) {
    Random random({m_seed, kShadowPurpose});
    m_brightening = random.uniform(0.1, 0.3);
    // The flight begins anywhere in the alternation of shadow and sunshine.
    double time = begin - 2.0 * kLongest - random.uniform(0.0, kShortest + kLongest);
    while (time < end) {
        Shadow shadow;
        shadow.begin = time;
        shadow.end = time + random.uniform(kShortest, kLongest);
        shadow.fall = random.uniform(kSharpestEdge, kSoftestEdge);
        shadow.rise = random.uniform(kSharpestEdge, kSoftestEdge);
        shadow.transmittance = random.uniform(kDarkestShadow, kBrightestShadow);
        m_shadows.push_back(shadow);
        time = shadow.end + random.uniform(kShortest, kLongest);
    }
}

void Clouds::drawWalk(double begin, double end, double drift) {
    Random random({m_seed, kOvercastPurpose});
    m_level = random.uniform(0.20, 0.45);
    m_tint = random.uniform(-6e-4, 0.0);
    m_walkBegin = begin;
    std::vector<float> steps(static_cast<std::size_t>((end - begin) / kWalkStep) + 2);
    random.normal(steps);
    m_walk.push_back(0.0);
    double largest = kLargestWalk;
    for (const float step : steps) {
        m_walk.push_back(m_walk.back() + kWalkDeviation * static_cast<double>(step));
        largest = std::max(largest, std::abs(m_walk.back()));
    }
    for (double& value : m_walk) {
        value *= drift * kLargestWalk / largest;
    }
}

double Clouds::transmittance(double seconds) const {
    if (m_kind != Kind::Broken) {
        return m_kind == Kind::None ? 1.0 : 0.0;
    }
    const auto next = std::upper_bound(
        m_shadows.begin(), m_shadows.end(), seconds, [](double time, const Shadow& shadow) {
            return time < shadow.begin;
        });
    if (next == m_shadows.begin()) {
        return 1.0;
    }
    const Shadow& shadow = *(next - 1);
    const double depth = smooth((seconds - shadow.begin) / shadow.fall) *
                         smooth((shadow.end - seconds) / shadow.rise);
    return 1.0 - depth * (1.0 - shadow.transmittance);
}

double Clouds::diffuse(double seconds, double wavelengthNm) const {
    if (m_kind != Kind::Overcast) {
        return 1.0 + m_brightening * (1.0 - transmittance(seconds));
    }
    const double steps = std::max(0.0, (seconds - m_walkBegin) / kWalkStep);
    const std::size_t last = std::min(static_cast<std::size_t>(steps), m_walk.size() - 2);
    const double share = smooth(steps - static_cast<double>(last));
    const double walk = m_walk[last] + share * (m_walk[last + 1] - m_walk[last]);
    return m_level * (1.0 + walk) * (1.0 + m_tint * (wavelengthNm - kCloudReferenceNm));
}

} // namespace tessik::simulate
