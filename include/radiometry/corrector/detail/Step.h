#pragma once

/// @file
/// What the library's own correctors have in common. An application derives from ICorrector: these
/// bases change with the library.

#include "radiometry/corrector/ICorrector.h"

namespace tessik::radiometry::corrector {

struct RowWork;

/// What a row step is to work on.
struct RowTask {
    const BandImage& bands;
    const Eigen::Vector2i& blockOffset; ///< (column, row) of the block's first pixel in the image
    Account* account;                   ///< where what the step does is added; null = nobody asks
};

/// A corrector of the library, which tells what it did.
class RADIOMETRY_EXPORT Step : public ICorrector {
protected:
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    friend class Pipeline;

    /// @param account where what it does is added; null = nobody asks
    virtual void
    act(BandImage& bands, const Eigen::Vector2i& blockOffset, Account* account) const = 0;

    /// isApplicable may warn. Others are fed and asked without anybody noticing, so that it does
    /// not matter whether the steps before them have acted yet.
    [[nodiscard]] virtual bool mayWarnWhenAsked() const { return false; }
};

/// A step whose work on a pixel depends on that pixel only, and on where it is. Such steps can be
/// run together, a few rows at a time: what one has written the next finds in the processor's
/// cache.
class RADIOMETRY_EXPORT RowStep : public Step {
private:
    friend class Pipeline;

    void act(BandImage& bands, const Eigen::Vector2i& blockOffset, Account* account) const override;

    /// Checks that it can act on these bands, and says what it will do to each row. The bands stay
    /// as they are; the work may refer to this and to what its data sources refer to.
    /// @throws error as apply
    [[nodiscard]] virtual RowWork prepare(const RowTask& task) const = 0;
};

} // namespace tessik::radiometry::corrector
