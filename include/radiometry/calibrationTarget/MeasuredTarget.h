#pragma once

/// @file
/// What was measured on reflectance targets.

#include "platform/image/Region.h"
#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessik::radiometry {

/// Numbers of the rule.
constexpr double kLargestTargetUnevenness = 0.05;   ///< standard deviation / mean
constexpr double kLargestTargetSpread = 0.03;       ///< standard deviation, in reflectance
constexpr double kLargestTargetDisagreement = 0.05; ///< (largest - smallest) / mean
constexpr std::size_t kTargetHistogramBins = 32;    ///< of MeasuredTarget::histogram

/// How the corrected values of a region are distributed: equal bins from the smallest to the
/// largest.
struct ValueHistogram {
    double from = 0.0;                ///< smallest value
    double to = 0.0;                  ///< largest value
    std::vector<std::int64_t> counts; ///< of each bin
};

/// A target that was found, and what came of it. Lists have one value a band; those of measured
/// values are empty when nothing could be measured.
struct MeasuredTarget {
    std::size_t imageIndex = 0; ///< in the request's images
    QString imagePath;
    std::uint64_t cameraId = 0;
    QString detector;         ///< how it was found
    CalibrationTarget target; ///< with the reflectance used and the sensitivity measured
    image::Ring code;         ///< outline of the code that led to it; may be empty
    std::vector<double> mean; ///< of the corrected values
    std::vector<double> standardDeviation;
    std::vector<double> invalidShare; ///< 0..1
    std::vector<ValueHistogram> histogram;
    bool isUsed = false;
    QString remark; ///< why it is not used, or what is odd; may be empty
};

/// The sensitivity of one camera, and where it comes from.
struct CameraCalibration {
    std::vector<double> sensitivity; ///< one a band; empty = no valid target
    QString source;                  ///< one line for people: images and rule; may be empty
    /// (largest - smallest) / mean of the targets used, in the band where it is largest.
    double disagreement = 0.0;
};

} // namespace tessik::radiometry
