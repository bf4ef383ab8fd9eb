#pragma once

#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

/// The name of a corrector of the library. Null for one of an application; so too for a class
/// derived from one of the library, which may act in a way of its own.
const char* libraryName(const ICorrector& corrector);

} // namespace tessik::radiometry::corrector
