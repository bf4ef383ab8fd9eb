#pragma once

#include "platform/target/CodeReader.h"
#include "platform/target/Stretch.h"

#include <vector>

namespace tessik::target {

/// The QR codes that stand in a picture of 8 bits; their corners, in px of it, are whole numbers.
std::vector<Code> decode(const Bytes& picture);

} // namespace tessik::target
