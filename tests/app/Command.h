#pragma once

#include "support/Support.h"

#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tessik::app {

using Json = nlohmann::json;

using test::readAll;

struct Result {
    int status;
    std::string out;
    std::string err;
};

/// Runs the command in a folder as a user's shell would; its settings are in that folder too.
inline Result radiometry(const test::TemporaryFolder& folder, const std::string& arguments) {
    const std::string command = "cd '" + folder.path().string() +
                                "' && XDG_CONFIG_HOME=\"$PWD/settings\" '" RADIOMETRY_COMMAND "' " +
                                arguments + " > stdout.txt 2> stderr.txt";
    const int status = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
    return {WEXITSTATUS(status),
            readAll(folder.path() / "stdout.txt"),
            readAll(folder.path() / "stderr.txt")};
}

} // namespace tessik::app
