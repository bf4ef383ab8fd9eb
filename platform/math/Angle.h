#pragma once

namespace tessik {

inline constexpr double kPi = 3.14159265358979323846; ///< half a turn, rad
inline constexpr double kDegree = kPi / 180.0;        ///< rad

} // namespace tessik
