#pragma once

#include <string>

namespace tessik::app {

/// `radiometry sequoia-model show FILE [--json]`: what a model file holds. @return exit status
int showSequoiaModel(const std::string& file, bool json);

/// `radiometry sequoia-model check FILE`: whether it can be used. @return exit status
int checkSequoiaModel(const std::string& file);

} // namespace tessik::app
