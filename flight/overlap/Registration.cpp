#include "flight/overlap/Registration.h"

#include "platform/math/Angle.h"
#include "radiometry/core/Types.h"

#include <Eigen/Geometry>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::flight {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// The same memory. OpenCV asks for memory that may be written to; nobody here does.
cv::Mat viewOf(const BandMatrix& band) {
    return {static_cast<int>(band.rows()),
            static_cast<int>(band.cols()),
            CV_32F,
            const_cast<float*>(band.data())}; // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

cv::Mat viewOf(BandMatrix& band) {
    return {static_cast<int>(band.rows()), static_cast<int>(band.cols()), CV_32F, band.data()};
}

BandMatrix
laidWith(const BandMatrix& second, double turn, const Eigen::Vector2d& shift, float outside) {
    const Eigen::Vector2d center(0.5 * static_cast<double>(second.cols() - 1),
                                 0.5 * static_cast<double>(second.rows() - 1));
    const Eigen::Matrix2d rotation = Eigen::Rotation2Dd(turn * kDegree).toRotationMatrix();
    const Eigen::Vector2d move = center + shift - rotation * center;
    const cv::Matx23d map(rotation(0, 0),
                          rotation(0, 1),
                          move.x(), //
                          rotation(1, 0),
                          rotation(1, 1),
                          move.y());
    BandMatrix result(second.rows(), second.cols());
    cv::Mat target = viewOf(result);
    cv::warpAffine(viewOf(second),
                   target,
                   map,
                   target.size(),
                   cv::INTER_LINEAR,
                   cv::BORDER_CONSTANT,
                   cv::Scalar(static_cast<double>(outside)));
    return result;
}

/// The part of the first image that the second one covers, if it is an upright rectangle: turns are
/// mostly next to 0 or 180 degrees. At a right angle height and width change places.
cv::Rect commonPart(const BandMatrix& image, double turn, const Eigen::Vector2d& shift) {
    Eigen::Vector2d size(static_cast<double>(image.cols()), static_cast<double>(image.rows()));
    const Eigen::Vector2d whole = size;
    if (std::abs(std::sin(turn * kDegree)) > std::sin(45.0 * kDegree)) {
        std::swap(size.x(), size.y());
    }
    const Eigen::Vector2d from = (0.5 * (whole - size) + shift).cwiseMax(0.0);
    const Eigen::Vector2d to = (0.5 * (whole + size) + shift).cwiseMin(whole);
    const cv::Point low(static_cast<int>(std::ceil(from.x())),
                        static_cast<int>(std::ceil(from.y())));
    const cv::Point high(static_cast<int>(std::floor(to.x())),
                         static_cast<int>(std::floor(to.y())));
    return {low.x, low.y, std::max(0, high.x - low.x), std::max(0, high.y - low.y)};
}

/// By how much the second is to be moved further, looking at one part. @param response of the peak
Eigen::Vector2d correction(const BandMatrix& first,
                           const BandMatrix& laid,
                           const cv::Rect& part,
                           double& response) {
    cv::Mat window;
    cv::createHanningWindow(window, part.size(), CV_32F);
    const cv::Point2d moved =
        cv::phaseCorrelate(viewOf(first)(part), viewOf(laid)(part), window, &response);
    return {-moved.x, -moved.y};
}

/// From a first guess: the part that both show becomes known better with the shift.
std::optional<Placement>
refined(const BandMatrix& first, const BandMatrix& second, Placement placement) {
    constexpr int kSmallest = 16; // px: nothing is to be found in less
    constexpr int kTurns = 4;
    constexpr double kSettled = 0.5; // px
    for (int i = 0; i < kTurns; ++i) {
        const cv::Rect part = commonPart(first, placement.turn, placement.shift);
        if (part.width < kSmallest || part.height < kSmallest) {
            return std::nullopt;
        }
        const BandMatrix laid = laidWith(second, placement.turn, placement.shift, 0.0F);
        const Eigen::Vector2d change = correction(first, laid, part, placement.response);
        placement.shift += change;
        if (change.norm() < kSettled) {
            return placement;
        }
    }
    return std::nullopt; // it wanders: there is no peak
}

} // namespace

Eigen::Index reduction(Eigen::Index width) {
    return std::max<Eigen::Index>(1, width / kReducedWidth);
}

BandMatrix reduced(const BandMatrix& values, Eigen::Index times) {
    constexpr float kValidShare = 0.9F;
    const float enough = kValidShare * static_cast<float>(times * times);
    BandMatrix result(values.rows() / times, values.cols() / times);
    Eigen::ArrayXf sums(result.cols());
    Eigen::ArrayXf counts(result.cols());
    for (Eigen::Index row = 0; row < result.rows(); ++row) {
        sums.setZero();
        counts.setZero();
        for (Eigen::Index y = row * times; y < (row + 1) * times; ++y) {
            const float* value = values.row(y).data();
            for (Eigen::Index column = 0; column < result.cols(); ++column) {
                for (Eigen::Index x = 0; x < times; ++x, ++value) {
                    const bool isValid = std::isfinite(*value) && *value != radiometry::kNoData;
                    sums[column] += isValid ? *value : 0.0F;
                    counts[column] += isValid ? 1.0F : 0.0F;
                }
            }
        }
        result.row(row) = (counts >= enough).select(sums / counts, kNan);
    }
    return result;
}

BandMatrix detailsOf(const BandMatrix& values) {
    constexpr double kSlow = 6.0; // px, standard deviation of the mean that is taken away
    BandMatrix details(values.rows(), values.cols());
    BandMatrix weights(values.rows(), values.cols());
    for (Eigen::Index i = 0; i < values.size(); ++i) {
        const float value = values.data()[i];
        weights.data()[i] = value > 0.0F ? 1.0F : 0.0F;
        details.data()[i] = value > 0.0F ? std::log(value) : 0.0F;
    }
    cv::Mat slow;
    cv::Mat share;
    cv::GaussianBlur(viewOf(details), slow, {0, 0}, kSlow);
    cv::GaussianBlur(viewOf(weights), share, {0, 0}, kSlow);
    for (Eigen::Index row = 0; row < values.rows(); ++row) {
        const auto y = static_cast<int>(row);
        for (Eigen::Index column = 0; column < values.cols(); ++column) {
            const auto x = static_cast<int>(column);
            const bool isKnown = weights(row, column) > 0.0F;
            details(row, column) =
                isKnown ? details(row, column) - slow.at<float>(y, x) / share.at<float>(y, x)
                        : 0.0F;
        }
    }
    return details;
}

std::optional<Placement> place(const BandMatrix& first,
                               const BandMatrix& second,
                               double turn,
                               const std::optional<Eigen::Vector2d>& expected) {
    // Positions may be wrong by as much as an image, where the camera hangs askew: both are tried.
    Placement start{turn, {0.0, 0.0}, 0.0};
    const BandMatrix laid = laidWith(second, turn, start.shift, 0.0F);
    const cv::Rect whole(0, 0, static_cast<int>(first.cols()), static_cast<int>(first.rows()));
    start.shift = correction(first, laid, whole, start.response);
    std::optional<Placement> best = refined(first, second, start);
    if (expected) {
        const std::optional<Placement> other = refined(first, second, {turn, *expected, 0.0});
        if (other && (!best || other->response > best->response)) {
            best = other;
        }
    }
    return best;
}

BandMatrix laid(const BandMatrix& second, const Placement& placement) {
    return laidWith(second, placement.turn, placement.shift, kNan);
}

} // namespace tessik::flight
