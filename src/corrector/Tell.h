#pragma once

#include "radiometry/core/Account.h"

#include <Eigen/Core>

#include <initializer_list>

namespace tessik::radiometry::corrector {

/// Adds a value to an account, where somebody asks.
inline void
tell(Account* account, const char* name, const char* unit, std::initializer_list<double> numbers) {
    if (account != nullptr) {
        account->values.push_back({name, unit, numbers});
    }
}

/// @param numbers one a band
inline void
tell(Account* account, const char* name, const char* unit, const Eigen::ArrayXd& numbers) {
    if (account != nullptr) {
        account->values.push_back({name, unit, {numbers.data(), numbers.data() + numbers.size()}});
    }
}

} // namespace tessik::radiometry::corrector
