#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// The sensitivity of a camera's bands at a time.
struct TimedSensitivity {
    double time = 0.0;          ///< s since 1970-01-01 00:00 UTC
    std::vector<double> values; ///< one a band
};

/// One part of a relative standard uncertainty.
struct UncertaintyTerm {
    enum class Kind {
        Systematic, ///< the same in all images
        Random,     ///< another one in each image
        Pixel,      ///< another one in each pixel: of no concern for means
    };
    std::string name;
    Kind kind = Kind::Systematic;
    double value = 0.0; ///< relative standard uncertainty
};

/// "systematic", "random" or "pixel".
std::string wordOf(UncertaintyTerm::Kind kind);
/// The reverse; absent for anything else.
std::optional<UncertaintyTerm::Kind> termKindOf(const std::string& word);

/// How sure the reflectance of one band is.
struct BandUncertainty {
    std::vector<UncertaintyTerm> terms;
    std::vector<std::string> notIncluded; ///< what is not known

    /// Root of the sum of the squares of the terms of a kind; NaN where no term of it is known.
    [[nodiscard]] double of(UncertaintyTerm::Kind kind) const;
};

/// The sensitivity of one camera's bands, and where it comes from.
struct Sensitivity {
    std::vector<double> values; ///< one a band; of a course its mean
    std::string kind;           ///< "target", "maker", "file"
    std::string text;           ///< a line for people
    /// In the order of time, where it changes over the flight; empty = it does not.
    std::vector<TimedSensitivity> course;

    /// At a time, between two of the course in proportion.
    [[nodiscard]] std::vector<double> at(double time) const;
};

/// By camera identifier; no entry = not known.
using SensitivityByCamera = std::unordered_map<std::uint64_t, Sensitivity>;

} // namespace tessik::flight
