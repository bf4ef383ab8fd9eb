#include "radiometry/core/Consistency.h"

#include "core/Fail.h"

namespace tessik::radiometry {

bool verifyConsistentNumberOfBands(std::size_t found,
                                   std::size_t expected,
                                   const QString& context) {
    if (found != expected) {
        fail(context,
             ": invalid number of bands, found ",
             found,
             " but expected ",
             expected,
             " from image metadata");
    }
    return true;
}

bool verifyConsistentMatrixBlocks(std::int64_t rows,
                                  std::int64_t cols,
                                  std::int64_t blockRows,
                                  std::int64_t blockCols,
                                  const QString& context) {
    if (blockRows <= 0 || blockCols <= 0 || rows % blockRows != 0 || cols % blockCols != 0 ||
        rows / blockRows != cols / blockCols) {
        fail(context,
             ": matrix " + pairText(rows, cols) + " cannot be divided in blocks of " +
                 pairText(blockRows, blockCols));
    }
    return true;
}

} // namespace tessik::radiometry
