#pragma once

#include <string_view>

/// The files of the page, put into the program when it is built.
namespace tessik::flight::report {

extern const std::string_view kPageTemplate;
extern const std::string_view kStyle;
extern const std::string_view kScript;
extern const std::string_view kChartLibrary;

} // namespace tessik::flight::report
