#pragma once

#include "flight/json/Json.h"
#include "radiometry/calibrationTarget/MeasuredTarget.h"

#include <string>

namespace tessik::flight {

/// A target of a flight, as plans, sensitivity files and reports tell of it.
struct TargetRecord {
    radiometry::MeasuredTarget target; ///< without its image's index: the path says which
    std::string picture; ///< path of a picture, as the document's reader finds it; empty = none
};

Json toJson(const TargetRecord& record);

/// @throws std::runtime_error that names file, field and what is wrong
TargetRecord targetRecord(const JsonReader& json);

} // namespace tessik::flight
