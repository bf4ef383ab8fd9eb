#pragma once

#include "app/console/Terminal.h"
#include "flight/plan/Plan.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>

namespace tessik::app {

/// What a subcommand does once the options are read. @return exit status
using Action = std::function<int(Terminal&)>;

/// INPUT, how its metadata are to be understood, and how many are read at a time.
CLI::Option* addFlight(CLI::App& command, flight::FlightOptions& options);
/// --sensor-mount.
void addSensorMount(CLI::App& command, flight::FlightOptions& options);
/// --type.
void addType(CLI::App& command, std::optional<radiometry::CorrectionType>& type);
/// What the decisions for a whole flight depend on.
void addProject(CLI::App& command, flight::FlightOptions& flight, flight::ProjectOptions& project);
/// All that decides how a flight is corrected. @return INPUT
CLI::Option* addPlanning(CLI::App& command, flight::PlanOptions& options);
/// --json.
void addJson(CLI::App& command, bool& json);

/// Reads a flight, says what cannot be used, and notes whether there was any.
flight::Flight
readAndSay(const flight::FlightOptions& options, Terminal& terminal, bool& hasFailed);

} // namespace tessik::app
