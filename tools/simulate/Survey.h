#pragma once

#include "simulate/Course.h"

namespace tessik::simulate {

/// The station of a capture in a survey of an area: legs to the north and to the south side by
/// side, joined by half circles, flown in a wind that makes pitch and roll wander. A camera without
/// a gimbal hangs as the aircraft does.
Station surveyStation(std::uint64_t seed, std::size_t capture, double intervalSeconds);

} // namespace tessik::simulate
