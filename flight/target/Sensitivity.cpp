#include "flight/target/Sensitivity.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::flight {

std::string wordOf(UncertaintyTerm::Kind kind) {
    return kind == UncertaintyTerm::Kind::Systematic ? "systematic"
           : kind == UncertaintyTerm::Kind::Random   ? "random"
                                                     : "pixel";
}

std::optional<UncertaintyTerm::Kind> termKindOf(const std::string& word) {
    for (const auto kind : {UncertaintyTerm::Kind::Systematic,
                            UncertaintyTerm::Kind::Random,
                            UncertaintyTerm::Kind::Pixel}) {
        if (wordOf(kind) == word) {
            return kind;
        }
    }
    return std::nullopt;
}

double BandUncertainty::of(UncertaintyTerm::Kind kind) const {
    double squares = std::numeric_limits<double>::quiet_NaN();
    for (const UncertaintyTerm& term : terms) {
        if (term.kind == kind) {
            squares = (std::isnan(squares) ? 0.0 : squares) + term.value * term.value;
        }
    }
    return std::sqrt(squares);
}

std::vector<double> Sensitivity::at(double time) const {
    if (course.empty()) {
        return values;
    }
    const auto after =
        std::find_if(course.begin(), course.end(), [time](const TimedSensitivity& moment) {
            return moment.time > time;
        });
    if (after == course.begin() || after == course.end()) {
        return after == course.end() ? course.back().values : course.front().values;
    }
    const TimedSensitivity& before = *(after - 1);
    const double share = (time - before.time) / (after->time - before.time);
    std::vector<double> result;
    for (std::size_t b = 0; b < before.values.size(); ++b) {
        result.push_back(before.values[b] + share * (after->values[b] - before.values[b]));
    }
    return result;
}

} // namespace tessik::flight
