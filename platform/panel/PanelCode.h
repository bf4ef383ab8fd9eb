#pragma once

/// @file
/// The text of a reflectance panel's QR code: RPvv-ddddddd-LL, vv the version of the panel, the
/// whole its serial. From version 4 on, an underscore and 14 digits WWWWRRRWWWWRRR follow:
/// wavelength in nm and reflectance in thousandths at both ends of a straight line. So
/// "RP04-1901231-SC_04005291000523" is 0.529 at 400 nm and 0.523 at 1000 nm.

#include "platform/camera/BandInfo.h"
#include "platform/export.h"

#include <optional>
#include <string>
#include <vector>

namespace tessik::target {

/// Reflectance along a straight line over the wavelength.
struct ReflectanceLine {
    double firstNm = 0.0;
    double first = 0.0; ///< reflectance, 0..1
    double lastNm = 0.0;
    double last = 0.0;
};

struct PanelCode {
    int version = 0;
    std::string serial;
    /// Absent = the code states none: panels before version 4, or digits that are not a line.
    std::optional<ReflectanceLine> line;
};

/// @return nothing when the text is not that of a panel
TESSIK_READERS_EXPORT std::optional<PanelCode> parsePanelCode(const std::string& text);

/// One value a band, or why there is none.
struct PanelReflectance {
    std::vector<double> values; ///< empty = none
    std::string reason;         ///< empty = nothing is amiss; panels before version 4 state none
};

/// The reflectance at each band's centre.
TESSIK_READERS_EXPORT PanelReflectance reflectanceOf(const PanelCode& code, const bands_t& bands);

} // namespace tessik::target
