#pragma once

#include "Plan.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessik::app {

/// One of several disjoint parts of a plan, so that machines can share a flight.
struct Part {
    int index = 1; ///< from 1
    int count = 1;

    /// "K/N"; none for anything else.
    static std::optional<Part> fromText(const std::string& text);
};

struct CorrectOptions {
    std::filesystem::path outputFolder;
    /// How to plan, and how many jobs.
    PlanOptions plan;
    /// A plan to follow; empty = one is made.
    std::filesystem::path planFile;
    Part part;
    bool overwrite = false;
    std::vector<std::string> creationOptions;
    /// Page to write when done; empty = none.
    std::filesystem::path report;
};

/// `radiometry correct`. @return exit status
int correct(const CorrectOptions& options);

} // namespace tessik::app
