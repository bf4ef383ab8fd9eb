#include "corrector/Pipeline.h"

#include "platform/log/Log.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace tessik::radiometry::corrector {
namespace {

template <typename... Sources>
bool isAnyOf(const datasource::IDataSource& source) {
    return ((typeid(source) == typeid(Sources)) || ...);
}

bool isOfLibrary(const datasource::DataSourcePointer& source) {
    return isAnyOf<datasource::CoordinateSystems,
                   datasource::ImageMetadata,
                   datasource::LightConditions,
                   datasource::Sensor,
                   datasource::Photogrammetry,
                   datasource::UserSettings,
                   datasource::ParrotSequoiaCMOS,
                   datasource::DarkCurrentModel,
                   datasource::VignettingModel,
                   datasource::CalibrationTarget>(*source);
}

} // namespace

Pipeline::Pipeline(const std::vector<datasource::DataSourcePointer>& dataSources,
                   BandImage& bands,
                   const Eigen::Vector2i& blockOffset,
                   Accounts* accounts)
    : m_dataSources(dataSources), m_bands(bands), m_blockOffset(blockOffset),
      m_areSourcesOfLibrary(std::all_of(dataSources.begin(), dataSources.end(), &isOfLibrary)),
      m_accounts(accounts) {}

void Pipeline::run(const Chain& correctors) {
    for (const std::unique_ptr<ICorrector>& corrector : correctors) {
        const Member taken = member(*corrector);
        if (taken.step == nullptr || taken.step->mayWarnWhenAsked()) {
            runWaiting();
        }
        try {
            feedAndAct(taken);
        } catch (...) {
            runWaiting();
            throw;
        }
    }
    runWaiting();
}

Pipeline::Member Pipeline::member(ICorrector& corrector) const {
    const char* name = libraryName(corrector);
    if (name == nullptr) {
        return {corrector, nullptr, nullptr, nullptr};
    }
    const bool mayWait = m_areSourcesOfLibrary && !logging::takes(logging::kInfo);
    const auto* rowStep = mayWait ? dynamic_cast<const RowStep*>(&corrector) : nullptr;
    return {corrector, name, dynamic_cast<const Step*>(&corrector), rowStep};
}

void Pipeline::feedAndAct(const Member& member) {
    feed(member.corrector, m_dataSources);
    if (!member.corrector.isApplicable()) {
        return;
    }
    if (member.rowStep == nullptr) {
        runWaiting();
        act(member);
        return;
    }
    Account account{member.name, {}};
    m_waiting.push_back(member.rowStep->prepare(
        {m_bands, m_blockOffset, m_accounts == nullptr ? nullptr : &account}));
    m_waitingAccounts.push_back(std::move(account));
}

void Pipeline::act(const Member& member) {
    Account account;
    if (member.step != nullptr) {
        account.name = member.name;
        member.step->act(m_bands, m_blockOffset, m_accounts == nullptr ? nullptr : &account);
    } else {
        member.corrector.apply(m_bands, m_blockOffset);
        const auto* accountable = dynamic_cast<const IAccountable*>(&member.corrector);
        if (m_accounts != nullptr && accountable != nullptr) {
            account = accountable->account();
        }
    }
    tell(std::move(account));
}

void Pipeline::runWaiting() {
    const std::vector<RowWork> works = std::exchange(m_waiting, {});
    Accounts accounts = std::exchange(m_waitingAccounts, {});
    runKernels(works, m_bands);
    for (std::size_t i = 0; i < works.size(); ++i) {
        if (works[i].finish) {
            works[i].finish(m_accounts == nullptr ? nullptr : &accounts[i]);
        }
        tell(std::move(accounts[i]));
    }
}

void Pipeline::tell(Account account) {
    if (m_accounts != nullptr) {
        m_accounts->push_back(std::move(account));
    }
}

std::vector<Outlook>
Pipeline::outlook(const Chain& correctors,
                  const std::vector<datasource::DataSourcePointer>& dataSources) {
    std::vector<Outlook> result;
    for (const std::unique_ptr<ICorrector>& corrector : correctors) {
        feed(*corrector, dataSources);
        const char* name = libraryName(*corrector);
        result.push_back({name == nullptr ? "" : name, corrector->isApplicable()});
    }
    return result;
}

void feed(ICorrector& corrector, const std::vector<datasource::DataSourcePointer>& dataSources) {
    for (const datasource::DataSourcePointer& source : dataSources) {
        source->accept(corrector);
    }
}

void apply(const Chain& correctors,
           const std::vector<datasource::DataSourcePointer>& dataSources,
           BandImage& bands,
           const Eigen::Vector2i& blockOffset) {
    Pipeline(dataSources, bands, blockOffset, nullptr).run(correctors);
}

void apply(const Chain& correctors,
           const std::vector<datasource::DataSourcePointer>& dataSources,
           BandImage& bands,
           const Eigen::Vector2i& blockOffset,
           Accounts& accounts) {
    Pipeline(dataSources, bands, blockOffset, &accounts).run(correctors);
}

std::vector<Outlook> outlook(const Chain& correctors,
                             const std::vector<datasource::DataSourcePointer>& dataSources) {
    return Pipeline::outlook(correctors, dataSources);
}

} // namespace tessik::radiometry::corrector
