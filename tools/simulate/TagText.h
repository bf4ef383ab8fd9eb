/// @file
/// What cameras write, as text.
#pragma once

#include "platform/exif/TagFile.h"
#include "simulate/Course.h"
#include "simulate/Vignetting.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tessik::simulate {

/// Enough digits to read the very same number back.
std::string number(double value);

/// With this many digits after the point.
std::string fixed(double value, int digits);

std::vector<std::string> numbers(const std::vector<double>& values);

std::string joined(const std::vector<std::string>& texts, const char* separator);

/// Rounded to a whole number of the denominator's parts.
std::string fraction(double value, std::int64_t denominator);

/// (column, row) as "column,row".
std::vector<std::string> pairs(const std::vector<std::pair<int, int>>& pixels);

/// Powers of x and y of each term, flat.
std::vector<std::string> powers(const PlanePolynomial& polynomial);

/// With zeros in front.
std::string sixDigits(std::int64_t value);

/// Hours, minutes and whole seconds.
std::string clockTime(std::int64_t microseconds);

/// The tags for the whole seconds of a time of the flight's day.
void addTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags);
/// The stamps of satellite navigation: whole seconds in two, microseconds in a third.
void addSatelliteTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags);
/// The tag for what is beyond the whole seconds.
exif::NewTag subSecondTime(std::int64_t microseconds);

void addPosition(const GeographicPosition& position, std::vector<exif::NewTag>& tags);

} // namespace tessik::simulate
