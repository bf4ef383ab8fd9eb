# Flags of our own targets, as one interface target.
add_library(radiometry_flags INTERFACE)
target_compile_options(radiometry_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
  # Arithmetic stays IEEE: sqrt need not set errno and no floating-point exception is ever trapped,
  # which lets loops vectorise without changing a value; contraction would change values by machine.
  -fno-math-errno -fno-trapping-math -ffp-contract=off
  # No path of the building machine in what is installed.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
if(RADIOMETRY_SANITIZE)
  add_compile_options(-fsanitize=${RADIOMETRY_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${RADIOMETRY_SANITIZE})
  # With a sanitizer Eigen allocates in another way, but functions of it also come with Ceres, whose
  # package was compiled without: what one allocates the other could not free.
  add_compile_definitions(EIGEN_MALLOC_ALREADY_ALIGNED=1)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With the address sanitizer g++ takes members that its own <regex> sets for uninitialised.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# What most of our sources include, parsed once a target. The analysis compiles each source by itself,
# so that it sees one that leaves an include out. Switch it off to build with ccache.
option(RADIOMETRY_PRECOMPILE "Precompile common headers" ON)
function(radiometry_precompile target)
  if(RADIOMETRY_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE
      <Eigen/Core> <QtCore/QString> <algorithm> <cmath> <cstdint> <filesystem> <functional> <map>
      <memory> <optional> <string> <unordered_map> <vector> ${ARGN})
  endif()
endfunction()
