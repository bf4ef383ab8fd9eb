#pragma once

#include "JsonReader.h"
#include "radiometry/calibrationTarget/TargetCalibration.h"

#include <string>

namespace tessik::app {

/// A target of a flight, as plans, sensitivity files and reports tell of it.
struct TargetRecord {
    radiometry::MeasuredTarget target; ///< without its image's index: the path tells
    std::string picture; ///< path of a picture, as the document's reader finds it; empty = none
};

nlohmann::ordered_json toJson(const TargetRecord& record);

/// @throws std::runtime_error that names file, field and what is wrong
TargetRecord targetRecord(const JsonReader& json);

} // namespace tessik::app
