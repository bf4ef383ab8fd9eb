#pragma once

#include "radiometry/corrector/ICorrector.h"

#include <memory>

namespace tessik::radiometry::corrector {

/// Subtracts the dark current map of each band, in DN. Negative results stay, with a warning.
class RADIOMETRY_EXPORT DarkCurrent final : public ICorrector {
public:
    DarkCurrent();
    ~DarkCurrent() override;

    using ICorrector::useData;
    void useData(const datasource::DarkCurrentModel& source) override;

    [[nodiscard]] RowWork prepareRows(const BandImage& bands,
                                      const Eigen::Vector2i& blockOffset) const override;

protected:
    [[nodiscard]] bool isApplicable() const override;
    void apply(BandImage& bands, const Eigen::Vector2i& blockOffset) const override;

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

} // namespace tessik::radiometry::corrector
