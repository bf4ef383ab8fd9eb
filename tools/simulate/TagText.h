#pragma once

#include "platform/exif/TagFile.h"
#include "simulate/Course.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// What cameras write, as text.
namespace tessik::simulate {

/// Enough digits to read the very same number back.
std::string number(double value);

/// Rounded to the denominator.
std::string fraction(double value, std::int64_t denominator);

/// (column, row) as "column,row".
std::vector<std::string> pairs(const std::vector<std::pair<int, int>>& pixels);

/// A time of the flight's day, and the tags for it.
void addTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags);

void addPosition(const GeographicPosition& position, std::vector<exif::NewTag>& tags);

} // namespace tessik::simulate
