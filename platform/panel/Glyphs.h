#pragma once

/// A font for captions of pictures: without one, text would need a window system's libraries and
/// installed fonts.
namespace tessik::target {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 9; ///< two of them below the line, for g, j, p, q, y

/// Whether a character of printable ASCII is drawn at a place, (0, 0) at its top left. All other
/// characters look like "?".
bool isInk(char character, int x, int y);

} // namespace tessik::target
