#pragma once

#include "flight/report/RunFiles.h"

#include <nlohmann/json.hpp>

namespace tessik::flight::report {

/// All that the page shows, pictures included, as one JSON object. Texts in it are as they are in
/// the files: whoever shows them escapes them.
nlohmann::json pageData(const RunFiles& run);

} // namespace tessik::flight::report
