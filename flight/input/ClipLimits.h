#pragma once

#include "flight/Observer.h"
#include "platform/camera/InputImage.h"

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tessik::flight {

/// Counts of samples by value, 0 to 65535.
using SampleCounts = std::vector<std::int64_t>;

/// The value at which samples clip, as a histogram of bright images shows it: the light above all
/// goes into one value, which then has many more samples than the values below it. A few samples
/// above that value (defective pixels) do not hide it.
/// @return absent where there is no such spike: nothing clipped, or not all at one value
std::optional<double> clipSpike(const SampleCounts& counts);

/// Value at which a camera's samples clip, by camera identifier.
using ClipLimits = std::unordered_map<std::uint64_t, double>;

/// The cameras of 16-bit images whose metadata and model do not tell where samples clip.
/// @return one list of indices of images a camera
std::vector<std::vector<std::size_t>> imagesOfUnknownLimit(const std::vector<InputImage>& images);

/// Looks for the limit of each such camera in some of its images, spread over the flight. Warnings
/// say what was found, and what was not.
ClipLimits findClipLimits(const std::vector<InputImage>& images, int jobs, Warnings& warnings);

} // namespace tessik::flight
