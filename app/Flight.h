#pragma once

#include "Inputs.h"
#include "platform/camera/InputImage.h"
#include "radiometry/Types.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tessik::app {

/// The images of a flight, their metadata read.
struct Flight {
    struct Image {
        Input input;
        InputImage image;
        /// Why it cannot be used; empty = it can.
        std::string failure;
    };
    std::vector<Image> images;
};

/// Reads the metadata of all inputs, in parallel. Warnings are said; failures are kept with the
/// image.
Flight readFlight(const std::vector<Input>& inputs, int jobs);

/// The correction type of each camera: the one asked for, else the richest that the metadata of all
/// its images support.
std::map<std::uint64_t, radiometry::CorrectionType>
correctionTypes(const Flight& flight, std::optional<radiometry::CorrectionType> wanted);

} // namespace tessik::app
