#pragma once

#include "corrector/Rows.h"
#include "radiometry/corrector/detail/Step.h"

#include <vector>

namespace tessik::radiometry::corrector {

/// The name of a corrector of the library. It is null for a corrector of an application, and for a
/// class that is derived from one of the library: that may act in a way of its own.
const char* libraryName(const ICorrector& corrector);

/// Runs the steps of a chain on the bands of one image.
///
/// Row steps of the library that follow each other run together, and nobody can tell:
/// - A corrector of an application, and any source that is not the library's, finds the bands as
///   all steps before have left them.
/// - Whatever is thrown, the steps before have acted on all pixels.
/// - Warnings come in the order of the steps. At the level of traces, at which steps tell their
///   values while they act, they run one by one.
class Pipeline {
public:
    /// @param accounts where what the steps did is added; null = nobody asks
    Pipeline(const std::vector<datasource::DataSourcePointer>& dataSources,
             BandImage& bands,
             const Eigen::Vector2i& blockOffset,
             Accounts* accounts);

    void run(const Chain& correctors);

    static std::vector<Outlook>
    outlook(const Chain& correctors, const std::vector<datasource::DataSourcePointer>& dataSources);

private:
    /// A corrector, and what the library knows of its own.
    struct Member {
        ICorrector& corrector;
        const char* name;       ///< null = of an application, like a class that one derives
        const Step* step;       ///< null = of an application
        const RowStep* rowStep; ///< null = not one, or it may not wait
    };

    [[nodiscard]] Member member(ICorrector& corrector) const;
    void feedAndAct(const Member& member);
    void act(const Member& member);
    void runWaiting();
    void tell(Account account);

    const std::vector<datasource::DataSourcePointer>& m_dataSources;
    BandImage& m_bands;
    const Eigen::Vector2i& m_blockOffset;
    bool m_areSourcesOfLibrary;
    Accounts* m_accounts;
    std::vector<RowWork> m_waiting;
    Accounts m_waitingAccounts; ///< one each
};

} // namespace tessik::radiometry::corrector
