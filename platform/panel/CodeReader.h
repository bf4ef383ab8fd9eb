#pragma once

#include "platform/export.h"
#include "platform/image/BandMatrix.h"
#include "platform/image/Region.h"
#include "platform/panel/CodeDecoder.h"

#include <optional>
#include <string>
#include <vector>

namespace tessik::target {

/// The QR codes in a band of raw values, each text once. Codes with modules of less than about
/// 1.6 px are not found. It takes a fifth of a second for 20 megapixels without a code, and no more
/// than a few times that for any.
TESSIK_READERS_EXPORT std::vector<Code> readCodes(const BandMatrix& band);

/// The code with this text in a part of a band that lies inside it. It looks harder than readCodes,
/// for codes with smaller modules and for those in noise, and takes as long as for some fourteen
/// times the pixels. `withoutCode` of bench/PanelBenchmark.cpp measures readCodes.
TESSIK_READERS_EXPORT std::optional<Code>
readCode(const BandMatrix& band, const image::Box& part, const std::string& text);

} // namespace tessik::target
