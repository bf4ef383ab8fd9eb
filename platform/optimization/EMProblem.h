#pragma once

#include "platform/export.h"

#include <Eigen/Core>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ceres {
class Problem;
} // namespace ceres

namespace tessik::optimization {

/// How a solve ended.
struct Solution {
    bool isUsable = false;     ///< the parameters hold the best values that were found
    bool hasConverged = false; ///< before the iterations ran out
    double cost = 0.0;         ///< half the sum of squared residuals at the end
    std::string report;        ///< one line
};

/// Owns a least-squares problem and solves it on the caller's thread. The parameter blocks stay the
/// caller's and must outlive it.
class TESSIK_PLATFORM_EXPORT EMProblem {
public:
    EMProblem();
    EMProblem(const EMProblem&) = delete;
    EMProblem& operator=(const EMProblem&) = delete;
    ~EMProblem();

    /// The problem that residuals, bounds and manifolds are added to.
    [[nodiscard]] ceres::Problem& problem() { return *m_problem; }

    /// Writes the solution into the parameter blocks.
    Solution solve(int maxIterations);

    /// Covariance of each of these blocks with itself, of residuals of variance one: blocks of the
    /// inverse of J^T J at the blocks' present values.
    /// @return nothing when the residuals do not determine all parameters
    [[nodiscard]] std::optional<std::vector<Eigen::MatrixXd>>
    covariance(const std::vector<const double*>& blocks);

private:
    std::unique_ptr<ceres::Problem> m_problem;
};

} // namespace tessik::optimization
