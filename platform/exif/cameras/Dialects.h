#pragma once

/// @file
/// How camera makers state what ExifInfo holds. The common reading comes first; then the first
/// dialect that knows the file replaces what it knows better. A new camera is a new file and a line
/// in the table of Dialects.cpp.

#include "platform/exif/ImageMetadata.h"
#include "platform/exif/Tags.h"
#include "platform/exif/cameras/CaptureTime.h"

#include <Eigen/Core>

#include <cstdint>
#include <vector>

namespace tessik::exif {

struct Dialect {
    bool (*matches)(const Tags& tags) = nullptr;
    void (*read)(const Tags& tags, ImageMetadata& metadata) = nullptr;
    Clock clock{};
};

const std::vector<Dialect>& dialects();

/// Reads EXIF, and the tags of the Camera prefix that all makers share.
void readCommon(const TagFile& file, ImageMetadata& metadata);

/// The repeating pattern of TIFF's BlackLevel of each band; a pattern whose entries are all alike
/// is one number. Empty when it is absent or malformed.
std::vector<Eigen::MatrixXd> readBlackLevel(const Tags& tags, std::uint64_t bandCount);

/// The brightness 1 + powers(0) r + powers(1) r^2 + ..., r the distance to the centre in px.
/// @param center column and row
VignettingData radialBrightness(const std::vector<double>& center,
                                const std::vector<double>& powers);

extern const Dialect kMicaSense;
extern const Dialect kSequoia;
extern const Dialect kDjiP4Multispectral;
extern const Dialect kDjiMavic3Multispectral;
extern const Dialect kSentera;

} // namespace tessik::exif
