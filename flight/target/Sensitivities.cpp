#include "flight/target/Sensitivities.h"

#include "flight/input/Pixels.h"
#include "flight/target/PanelCourse.h"
#include "platform/panel/Detectors.h"
#include "radiometry/config/MakerSensitivity.h"

#include <algorithm>
#include <stdexcept>

namespace tessik::flight {
namespace {

const InputImage& firstImageOf(std::uint64_t cameraId, const Flight& flight) {
    return *std::find_if(
        flight.images.begin(), flight.images.end(), [cameraId](const InputImage& image) {
            return image.enabled && image.cameraId == cameraId;
        });
}

std::string whyNotUsed(const radiometry::MeasuredTarget& measured) {
    const std::vector<double>& factors = measured.target.reflectanceFactors;
    const bool isKnown =
        std::all_of(factors.begin(), factors.end(), [](double factor) { return factor > 0.0; });
    std::string text = "target not used: " + measured.remark.toStdString();
    if (!isKnown && !measured.target.id.isEmpty()) {
        const std::string name = TargetName{measured.target.type, measured.target.id}.text();
        text += " 'radiometry targets set " + name + " WAVELENGTH_FWHM=VALUE' states them.";
    }
    return text;
}

/// One way after the other to come to the sensitivities of a flight.
class Decision {
public:
    Decision(const Flight& flight, const Project& project, Observer& observer)
        : m_flight(flight), m_project(project), m_observer(observer), m_warnings(observer),
          m_listening(observer, m_warnings) {}

    void useTargets(int jobs) {
        RigTargetOptions how;
        how.jobs = jobs;
        m_found = calibrateRigs(
            m_flight, m_project, target::targetDetectors(), how, m_observer, m_warnings);
        for (const auto& [id, camera] : m_found.cameras) {
            if (!camera.sensitivity.empty()) {
                m_result.byCamera[id] = {
                    camera.sensitivity, "target", camera.source.toStdString(), {}};
            }
        }
        followPanels(m_flight, m_project, m_found, m_result.byCamera);
        m_result.witnesses = m_found.witnesses;
        for (const radiometry::MeasuredTarget& target : m_found.targets) {
            if (!target.isUsed) {
                m_warnings.add(target.imagePath.toStdString(), whyNotUsed(target));
            }
            m_result.targets.push_back({target, {}});
        }
    }

    void useFile(const std::string& path) {
        const SensitivityFile file = readSensitivityFile(path);
        for (const auto& [id, camera] : m_flight.cameras) {
            const std::string name = camera.uniqueName.toStdString();
            std::vector<double> values;
            try {
                const InputImage& image = firstImageOf(id, m_flight);
                values = sensitivityFor(image, m_project.typeOf(image), file);
            } catch (const Refusal& refusal) {
                std::string text = path;
                throw std::runtime_error(
                    text.append(": ").append(name).append(": ").append(refusal.what()));
            }
            if (!values.empty()) {
                m_result.byCamera[id] = {std::move(values), "file", path, {}};
            }
        }
        keepWholeRigs(path);
        for (const auto& [id, camera] : m_flight.cameras) {
            if (m_result.byCamera.count(id) == 0 && !firstImageOf(id, m_flight).exif.isThermal) {
                m_warnings.add(path, "no sensitivity of camera " + camera.uniqueName.toStdString());
            }
        }
        for (const CameraSensitivity& camera : file.cameras) {
            m_result.targets.insert(
                m_result.targets.end(), camera.targets.begin(), camera.targets.end());
        }
    }

    /// For the rigs that have no target.
    void useMakerConstants() {
        bool isUsed = false;
        for (const auto& [id, camera] : m_flight.cameras) {
            const InputImage& image = firstImageOf(id, m_flight);
            std::vector<double> values =
                radiometry::makerSensitivity(image.exif, m_project.typeOf(image));
            if (m_result.byCamera.count(id) == 0 && !values.empty()) {
                m_result.byCamera[id] = {
                    std::move(values), "maker", "the maker's constant; no target was used", {}};
                isUsed = true;
            }
        }
        keepWholeRigs("the maker's constant");
        if (isUsed) {
            m_warnings.add({},
                           "no reflectance target was used: reflectance is by the maker's constant "
                           "and the irradiance sensor. Where that sensor was tilted or shaded it "
                           "is off by tens of percent, and differently in each band");
        }
    }

    Sensitivities result() && {
        m_result.uncertainties = uncertaintiesOf(m_flight, m_project, m_found, m_result.byCamera);
        m_result.warnings = m_warnings.list();
        return std::move(m_result);
    }

private:
    /// Takes away the sensitivities of rigs of which some bands have one and some do not.
    void keepWholeRigs(const std::string& source) {
        for (const Rig& rig : m_project.rigs) {
            std::string lacking;
            std::size_t count = 0;
            for (const std::uint64_t camera : rig) {
                if (m_result.byCamera.count(camera) > 0) {
                    ++count;
                } else {
                    lacking.append(lacking.empty() ? "" : ", ")
                        .append(m_flight.cameras.at(camera).uniqueName.toStdString());
                }
            }
            if (count == 0 || count == rig.size()) {
                continue;
            }
            std::string text = source;
            text.append(" has no sensitivity for ").append(lacking);
            text += ": it is used for no band of the rig, because ratios of bands from two sources "
                    "would be wrong";
            m_warnings.add({}, text);
            for (const std::uint64_t camera : rig) {
                m_result.byCamera.erase(camera);
            }
        }
    }

    const Flight& m_flight;
    const Project& m_project;
    Observer& m_observer;
    Warnings m_warnings;
    Listening m_listening;
    RigCalibration m_found;
    Sensitivities m_result;
};

} // namespace

Sensitivities decideSensitivities(const Flight& flight,
                                  const Project& project,
                                  const std::string& source,
                                  int jobs,
                                  Observer& observer) {
    Decision decision(flight, project, observer);
    if (source == "auto") {
        decision.useTargets(jobs);
        decision.useMakerConstants();
    } else if (source != "none") {
        decision.useFile(source);
    }
    return std::move(decision).result();
}

RigCalibration calibrate(const Flight& flight,
                         const Project& project,
                         const StatedTarget& stated,
                         int jobs,
                         Observer& observer) {
    verify(stated, flight.images);
    Detectors region;
    if (!stated.region.empty()) {
        region.push_back(detectorOf(stated));
    }
    RigTargetOptions how;
    how.mayBePartial = true;
    how.jobs = jobs;
    how.knownReflectance = [&stated](const InputImage& image, const target::DetectedTarget& found) {
        return reflectanceOf(stated, image, found);
    };
    Warnings warnings(observer);
    const Listening listening(observer, warnings);
    return calibrateRigs(flight,
                         project,
                         region.empty() ? target::targetDetectors() : region,
                         how,
                         observer,
                         warnings);
}

SensitivityFile sensitivityFile(const radiometry::TargetCalibration& result,
                                const Flight& flight,
                                const Project& project) {
    SensitivityFile file;
    for (const auto& [id, camera] : result.cameras) {
        if (camera.sensitivity.empty()) {
            continue;
        }
        CameraSensitivity entry;
        entry.cameraId = id;
        entry.name = flight.cameras.at(id).uniqueName.toStdString();
        entry.type = project.settings.at(id).correctionType;
        entry.sensitivity = camera.sensitivity;
        entry.source = camera.source.toStdString();
        for (const radiometry::MeasuredTarget& target : result.targets) {
            if (target.cameraId == id) {
                entry.targets.push_back({target, {}});
            }
        }
        file.cameras.push_back(std::move(entry));
    }
    return file;
}

} // namespace tessik::flight
