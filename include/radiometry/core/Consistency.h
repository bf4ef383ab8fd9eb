#pragma once

#include "radiometry/core/Types.h"

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>

namespace tessik::radiometry {

/// @return true (promised, of both: docs/contract.md, true-or-throw)
/// @throws error "<context>: invalid number of bands, found .. but expected .. from image metadata"
RADIOMETRY_EXPORT bool
verifyConsistentNumberOfBands(std::size_t found, std::size_t expected, const QString& context);

/// The matrix divides into the same whole number of blocks along both axes (promised:
/// docs/contract.md, equal-quotients).
/// @return true
/// @throws error "<context>: matrix (r,c) cannot be divided in blocks of (r,c)"
RADIOMETRY_EXPORT bool verifyConsistentMatrixBlocks(std::int64_t rows,
                                                    std::int64_t cols,
                                                    std::int64_t blockRows,
                                                    std::int64_t blockCols,
                                                    const QString& context);

} // namespace tessik::radiometry
