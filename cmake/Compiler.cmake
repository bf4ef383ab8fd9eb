# One interface target has the flags of all our own targets.
add_library(radiometry_flags INTERFACE)
target_compile_options(radiometry_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  # Arithmetic follows IEEE. sqrt need not set errno, and floating-point exceptions are never trapped:
  # this lets loops vectorise without changing a value. Contraction would change values from machine to
  # machine.
  -fno-math-errno -fno-trapping-math -ffp-contract=off
  # What is installed does not contain paths of the building machine.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
if(RADIOMETRY_SANITIZE)
  add_compile_options(-fsanitize=${RADIOMETRY_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RADIOMETRY_SANITIZE})
  # With a sanitizer Eigen allocates in another way. But functions of Eigen also come with Ceres, whose
  # package was compiled without one, and could not free what was allocated in that other way.
  add_compile_definitions(EIGEN_MALLOC_ALREADY_ALIGNED=1)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With the address sanitizer, g++ believes that members which its own <regex> sets are uninitialised.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# The headers that most of our sources include are parsed once for each target. Static analysis compiles
# each source by itself, so that it notices a missing include. Switch the option off to build with ccache.
option(RADIOMETRY_PRECOMPILE "Precompile common headers" ON)
function(radiometry_precompile target)
  if(RADIOMETRY_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE
      <Eigen/Core> <QtCore/QString> <algorithm> <cmath> <cstdint> <filesystem> <functional> <map>
      <memory> <optional> <string> <unordered_map> <vector> ${ARGN})
  endif()
endfunction()
