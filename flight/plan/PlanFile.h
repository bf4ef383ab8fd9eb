#pragma once

#include "flight/json/Json.h"
#include "flight/plan/Plan.h"

#include <filesystem>

namespace tessik::flight {

/// Name of the plan in an output folder.
constexpr auto kPlanFile = "plan.json";

/// Writes a plan; it appears whole or not at all. @throws std::runtime_error
void writePlan(const Plan& plan, const std::filesystem::path& file);

/// Reads a plan as it stands: neither the model files nor the images that it names are looked at.
/// @throws std::runtime_error that names the file and the reason
Plan readPlan(const std::filesystem::path& file);

/// Loads the model files and the calibration that a plan names, to correct by it.
/// @param file of the plan, for messages
/// @throws std::runtime_error that names the file and the reason
void loadModels(const std::filesystem::path& file, Plan& plan, Observer& observer);

/// All of a plan but its images, as its file holds it.
Json headJson(const Plan& plan);

} // namespace tessik::flight
