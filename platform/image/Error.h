#pragma once

#include "platform/export.h"

#include <stdexcept>

namespace tessik::image {

/// A raster that cannot be read or written. what() is the reason; it does not repeat the path.
class TESSIK_PLATFORM_EXPORT Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace tessik::image
