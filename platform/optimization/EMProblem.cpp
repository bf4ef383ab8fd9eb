#include "platform/optimization/EMProblem.h"

#include <ceres/covariance.h>
#include <ceres/problem.h>
#include <ceres/solver.h>

#include <utility>

namespace tessik::optimization {

EMProblem::EMProblem() : m_problem(std::make_unique<ceres::Problem>()) {}

EMProblem::~EMProblem() = default;

Solution EMProblem::solve(int maxIterations) {
    ceres::Solver::Options options;
    options.max_num_iterations = maxIterations;
    options.minimizer_progress_to_stdout = false;
    ceres::Solver::Summary summary;
    ceres::Solve(options, m_problem.get(), &summary);
    return {summary.IsSolutionUsable(),
            summary.termination_type == ceres::CONVERGENCE,
            summary.final_cost,
            summary.BriefReport()};
}

std::optional<std::vector<Eigen::MatrixXd>>
EMProblem::covariance(const std::vector<const double*>& blocks) {
    std::vector<std::pair<const double*, const double*>> pairs;
    pairs.reserve(blocks.size());
    for (const double* block : blocks) {
        pairs.emplace_back(block, block);
    }
    ceres::Covariance covariance{ceres::Covariance::Options()};
    if (!covariance.Compute(pairs, m_problem.get())) {
        return std::nullopt;
    }
    std::vector<Eigen::MatrixXd> result;
    result.reserve(blocks.size());
    for (const double* block : blocks) {
        const int size = m_problem->ParameterBlockSize(block);
        // Symmetric: rows first or columns first is the same.
        result.emplace_back(size, size);
        if (!covariance.GetCovarianceBlock(block, block, result.back().data())) {
            return std::nullopt;
        }
    }
    return result;
}

} // namespace tessik::optimization
