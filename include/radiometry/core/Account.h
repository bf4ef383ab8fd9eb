#pragma once

#include "radiometry/core/export.h"

#include <string>
#include <vector>

namespace tessik::radiometry {

/// What one step of a correction did to an image, for programs: records, reports and tests read it.
/// Names of steps and of values are part of the file format that docs/file-formats.md describes.
struct Account {
    /// What one step came to, or used.
    struct Value {
        std::string name;            ///< "dark_level"
        std::string unit;            ///< "DN"; empty = a pure number, or the sensor's own unit
        std::vector<double> numbers; ///< one a band, or one for all bands
    };

    std::string name; ///< of the step; empty = an application's corrector that has none
    std::vector<Value> values;

    /// The numbers of a value; empty where there is no such value.
    [[nodiscard]] std::vector<double> numbersOf(const std::string& valueName) const {
        for (const Value& value : values) {
            if (value.name == valueName) {
                return value.numbers;
            }
        }
        return {};
    }
};

/// In the order of the steps.
using Accounts = std::vector<Account>;

/// What a corrector of an application may be besides an ICorrector, so that its account has a name
/// and numbers.
class RADIOMETRY_EXPORT IAccountable {
public:
    IAccountable() = default;
    IAccountable(const IAccountable&) = delete;
    IAccountable& operator=(const IAccountable&) = delete;
    virtual ~IAccountable() = default;

    /// What it did. Asked once, after it has acted, where somebody wants to know.
    [[nodiscard]] virtual Account account() const = 0;
};

} // namespace tessik::radiometry
