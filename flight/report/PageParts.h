#pragma once

/// @file
/// The files of the page, put into the program when it is built.

#include <string_view>

namespace tessik::flight::report {

extern const std::string_view kPageTemplate;
extern const std::string_view kStyle;
extern const std::string_view kScript;
extern const std::string_view kChartLibrary;

} // namespace tessik::flight::report
