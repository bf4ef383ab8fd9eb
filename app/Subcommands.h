#pragma once

#include "app/Options.h"

namespace tessik::app {

/// Each declares a subcommand with its options; each is in a file of its name.
Action addCalibrate(CLI::App& cli);
Action addCorrect(CLI::App& cli);
Action addInspect(CLI::App& cli);
Action addLight(CLI::App& cli);
Action addOverlaps(CLI::App& cli);
Action addPlan(CLI::App& cli);
Action addSequoiaModel(CLI::App& cli);
Action addSun(CLI::App& cli);
Action addSunlight(CLI::App& cli);
Action addTargets(CLI::App& cli);
Action addValidate(CLI::App& cli);

} // namespace tessik::app
