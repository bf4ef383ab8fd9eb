#pragma once

#include "platform/export.h"

#include <Eigen/Core>

#include <optional>
#include <string>
#include <vector>

namespace tessik::exif {

/// What a Sequoia's sun sensor saw since the previous image.
struct SequoiaIrradiance {
    /// Counts of channel 0 in a second at the gain of index 1; proportional to irradiance with a
    /// constant of each sensor. Positive and finite; absent = no reading.
    std::optional<double> irradiance;
    /// The sensor's own (yaw, pitch, roll) at the time of the image, degrees; absent = not known.
    std::optional<Eigen::Vector3d> yawPitchRoll;
    /// Why one of them is absent; empty when there is nothing to complain of. Holds no numbers.
    std::string reason;
};

/// Decodes the list of sun sensor records that a Sequoia writes into an image.
///
/// The list is base64, broken by newlines, of little-endian records: time since the start (us,
/// 64 bits), counts of channels 0 and 1, gain index and integration time (ms; 16 bits each), yaw,
/// pitch and roll (degrees, float32). Firmware before 1.1 leaves out gain index and integration
/// time; they are 1 and 100 ms. The layout is the one in which gain indices are 0 to 3 and times
/// rise.
///
/// The reading is the mean of count / (gain * integration time) over the usable records. What shows
/// that the bytes are not what they should be spoils the whole list: foreign characters or wrong
/// padding, a size of no whole number of records, times that do not rise, an unknown gain index.
/// What the sensor itself can write spoils one record: a count of 0 or 65535, no integration time,
/// angles that are not finite, a gain that the calibration does not give. Such records are left
/// out, up to half of them: a mean over what is left of a mostly dark or saturated list would be
/// biased.
///
/// @param text as the file holds it; blank = the sensor wrote nothing, which is not a fault
/// @param calibration rows of gain index, integration time (ms), channel 0, channel 1: the gains
/// are
///        in the ratio of channel 0
/// @param imageSeconds time of the image on the records' clock; absent = not known
TESSIK_READERS_EXPORT SequoiaIrradiance
decodeSequoiaIrradiance(const std::string& text,
                        const std::vector<double>& calibration,
                        std::optional<double> imageSeconds);

} // namespace tessik::exif
