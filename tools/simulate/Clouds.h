#pragma once

#include <cstdint>
#include <vector>

namespace tessik::simulate {

/// What clouds do to the light of a clear sky.
class Clouds {
public:
    enum class Kind {
        None,
        Overcast, ///< no direct light, and 20 .. 45 % of a clear sky's light; it changes slowly
        Broken,   ///< shadows of 10 .. 60 s, about half of the time
    };

    /// @param begin, end of the flight, s
    /// @param drift times the slow change of an overcast sky, which stays within 15 %
    Clouds(Kind kind, std::uint64_t seed, double begin, double end, double drift);

    [[nodiscard]] Kind kind() const { return m_kind; }
    /// What is left of the direct light; continuous in time.
    [[nodiscard]] double transmittance(double seconds) const;
    /// Broken: the diffuse light over that of the clear sky; clouds beside the sun add to it.
    /// Overcast: the diffuse light over all light of the clear sky on level ground.
    [[nodiscard]] double diffuse(double seconds, double wavelengthNm) const;

private:
    /// The direct light falls from begin on within fall, and rises within rise until end, s.
    struct Shadow {
        double begin = 0.0;
        double end = 0.0;
        double fall = 0.0;
        double rise = 0.0;
        double transmittance = 1.0;
    };
    void drawShadows(double begin, double end);
    void drawWalk(double begin, double end, double drift);

    Kind m_kind;
    std::uint64_t m_seed;
    std::vector<Shadow> m_shadows; ///< one after the other
    double m_brightening = 0.0;    ///< of the diffuse light where no direct light is left
    double m_level = 1.0;          ///< of an overcast sky, relative to a clear one, at 650 nm
    double m_tint = 0.0;           ///< per nm
    double m_walkBegin = 0.0;      ///< s
    std::vector<double> m_walk;    ///< change of the level at even times
};

} // namespace tessik::simulate
