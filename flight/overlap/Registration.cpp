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
            const_cast<float*>(band.data())};
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
    constexpr int kTurns = 4;
    constexpr double kSettled = 2.0; // px: the part that both show hardly changes any more
    for (int i = 0; i < kTurns; ++i) {
        if (!placement.shift.allFinite()) { // there was nothing to be seen
            return std::nullopt;
        }
        const cv::Rect part = commonPart(first, placement.turn, placement.shift);
        if (part.width < kLeastSide || part.height < kLeastSide) {
            return std::nullopt;
        }
        placement.common = static_cast<double>(part.area()) / static_cast<double>(first.size());
        const BandMatrix laid = laidWith(second, placement.turn, placement.shift, 0.0F);
        const Eigen::Vector2d change = correction(first, laid, part, placement.response);
        placement.shift += change;
        if (change.norm() < kSettled) {
            return placement;
        }
    }
    return std::nullopt; // it wanders: there is no peak
}

/// Adds the valid values of a row, and counts them.
void addRow(const float* values, Eigen::Index size, float* sums, float* counts) {
    for (Eigen::Index x = 0; x < size; ++x) {
        const bool isValid = values[x] > radiometry::kNoData; // NaN is not
        sums[x] += isValid ? values[x] : 0.0F;
        counts[x] += isValid ? 1.0F : 0.0F;
    }
}

} // namespace

double Placement::certainty() const {
    return response * std::sqrt(common);
}

Eigen::Index reduction(Eigen::Index width) {
    return std::max<Eigen::Index>(1, width / kReducedWidth);
}

BandMatrix reduced(const BandMatrix& values, Eigen::Index times) {
    constexpr Eigen::Index kRowsRead = 4;
    constexpr float kValidShare = 0.9F;
    const Eigen::Index every = std::max<Eigen::Index>(1, times / kRowsRead);
    BandMatrix result(values.rows() / times, values.cols() / times);
    Eigen::ArrayXf sums(values.cols());
    Eigen::ArrayXf counts(values.cols());
    for (Eigen::Index row = 0; row < result.rows(); ++row) {
        sums.setZero();
        counts.setZero();
        float rowsRead = 0.0F;
        for (Eigen::Index y = row * times; y < (row + 1) * times; y += every) {
            addRow(values.row(y).data(), values.cols(), sums.data(), counts.data());
            rowsRead += 1.0F;
        }
        for (Eigen::Index column = 0; column < result.cols(); ++column) {
            const float count = counts.segment(column * times, times).sum();
            result(row, column) = count >= kValidShare * rowsRead * static_cast<float>(times)
                                      ? sums.segment(column * times, times).sum() / count
                                      : kNan;
        }
    }
    return result;
}

BandMatrix detailsOf(const BandMatrix& values) {
    const cv::Size slowly(25, 25); // px over which the mean is taken that is taken away
    BandMatrix details = (values.array() > 0.0F).select(values.array().log(), 0.0F);
    BandMatrix weights = (values.array() > 0.0F).cast<float>();
    BandMatrix slow(values.rows(), values.cols());
    BandMatrix share(values.rows(), values.cols());
    cv::blur(viewOf(details), viewOf(slow), slowly);
    cv::blur(viewOf(weights), viewOf(share), slowly);
    details.array() -= weights.array() * slow.array() / share.array().max(1e-6F);
    return details;
}

std::optional<Placement> place(const BandMatrix& first,
                               const BandMatrix& second,
                               double turn,
                               const std::optional<Eigen::Vector2d>& expected) {
    constexpr double kCertain = 0.4;
    std::optional<Placement> near;
    if (expected) {
        near = refined(first, second, {turn, *expected});
        if (near && near->certainty() >= kCertain) {
            return near;
        }
    }
    // Where the camera hangs askew, positions are wrong by as much as half an image.
    Placement start{turn};
    const BandMatrix laid = laidWith(second, turn, start.shift, 0.0F);
    const cv::Rect whole(0, 0, static_cast<int>(first.cols()), static_cast<int>(first.rows()));
    start.shift = correction(first, laid, whole, start.response);
    const std::optional<Placement> found = refined(first, second, start);
    return found && (!near || found->certainty() > near->certainty()) ? found : near;
}

BandMatrix laid(const BandMatrix& second, const Placement& placement) {
    return laidWith(second, placement.turn, placement.shift, kNan);
}

} // namespace tessik::flight
