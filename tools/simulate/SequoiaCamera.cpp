// Source of the uniform sample's formula: the maker's note on pixel value to irradiance conversion,
// solved for the sample.
#include "simulate/SequoiaCamera.h"

#include "platform/math/Angle.h"
#include "simulate/Scene.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

/// Samples of 10 bits, shifted left by 6; a large pixel, so that the darkest material at the
/// highest speed keeps clear of the dark level. The defective ones are dead, hot, stuck.
constexpr Sensor kSensor = {64.0, 65472.0F, 40.0, 3.0, 0.3, {0.0F, 65472.0F, 19200.0F, 3072.0F}};

/// What the files state. The correction is some percent of A t ISO, so that leaving it out shows.
constexpr std::array<double, 4> kSensitivity = {310316.1, 264871.4, 121604.7, 291038.2};
constexpr std::array<double, 4> kDarkLevel = {3067.5, 3101.2, 3043.8, 3088.1};
constexpr std::array<double, 4> kCorrection = {24773.6, 21120.9, 18893.5, 23502.3};

/// Fall-off over x and y, a term each of kPowers: 0 near the middle, 0.26 to 0.34 in the corners,
/// different in each. Each band has its own share of it.
constexpr std::array<double, 15> kFallOff = {0.34030822850820312,
                                             -1.23398804,
                                             2.0804145,
                                             -1.7222,
                                             0.8,
                                             -0.6490623365625,
                                             0.87060796875,
                                             -0.4910625,
                                             0.253125,
                                             1.041264,
                                             -0.936,
                                             -0.004,
                                             -1.0602,
                                             0.9,
                                             0.12};
constexpr std::array<std::pair<int, int>, kFallOff.size()> kPowers = {{{0, 0},
                                                                       {1, 0},
                                                                       {2, 0},
                                                                       {3, 0},
                                                                       {4, 0},
                                                                       {0, 1},
                                                                       {0, 2},
                                                                       {0, 3},
                                                                       {0, 4},
                                                                       {1, 1},
                                                                       {1, 2},
                                                                       {1, 3},
                                                                       {2, 1},
                                                                       {2, 2},
                                                                       {3, 1}}};
constexpr std::array<double, 4> kFallOffOfBand = {1.00, 0.85, 1.10, 0.95};

constexpr std::size_t kBadPixelCount = 8;

constexpr std::uint64_t kSequoiaDefectPurpose = 0x5e9bad;
constexpr std::uint64_t kSequoiaExposurePurpose = 0x5e97e;
constexpr std::uint64_t kSequoiaNoisePurpose = 0x5e94015e;

SequoiaCalibration calibrationOf(std::size_t band, const CameraOptions& options) {
    SequoiaCalibration calibration;
    calibration.sensitivity = kSensitivity[band];
    calibration.darkLevel = kDarkLevel[band];
    calibration.correction = kCorrection[band];
    calibration.brightness.powers.assign(kPowers.begin(), kPowers.end());
    for (std::size_t i = 0; i < kFallOff.size(); ++i) {
        calibration.brightness.coefficients.push_back((i == 0 ? 1.0 : 0.0) -
                                                      kFallOffOfBand[band] * kFallOff[i]);
    }
    calibration.badPixels = drawPixels(kBadPixelCount,
                                       options.width,
                                       options.height,
                                       Random({options.seed, kSequoiaDefectPurpose, band}));
    return calibration;
}

/// The camera warms up, and each sensor has a level of its own.
double temperatureOf(const Shot& shot) {
    const auto capture = static_cast<double>(shot.capture);
    return 31.0 + 0.4 * static_cast<double>(shot.band) + 12.0 * capture / (capture + 25.0);
}

/// Mean over the pixels, DN.
double meanDark(const SequoiaModel& model, double iso, double temperature) {
    return model.darkOffset + iso * std::exp(model.temperatureCoefficient * temperature) *
                                  static_cast<double>(model.dark.mean());
}

} // namespace

SequoiaCamera::SequoiaCamera(const CameraOptions& options, Kind kind)
    : m_options(options), m_kind(kind) {
    for (std::size_t b = 0; b < kBandCount; ++b) {
        m_calibrations[b] = calibrationOf(b, options);
        if (kind == Kind::Measured) {
            const SequoiaModel& model =
                m_models.emplace_back(b, options.width, options.height, options.seed);
            m_calibrations[b].sensitivity = model.gain;
            m_calibrations[b].darkLevel = model.darkOffset;
        } else {
            m_brightness[b] = valuesOf(m_calibrations[b].brightness, options.width, options.height);
        }
    }
}

const std::vector<Band>& SequoiaCamera::bands() const {
    static const std::vector<Band> bands = {{"Green", {550.0, 40.0}},
                                            {"Red", {660.0, 40.0}},
                                            {"Red edge", {735.0, 10.0}},
                                            {"NIR", {790.0, 40.0}}};
    return bands;
}

std::string SequoiaCamera::fileName(std::size_t capture, std::size_t band) const {
    constexpr std::array<const char*, kBandCount> kSuffixes = {"GRE", "RED", "REG", "NIR"};
    std::array<char, 60> name{};
    // Day and time are those of the flight's beginning.
    std::snprintf(
        name.data(), name.size(), "IMG_240621_190000_%04zu_%s.TIF", capture, kSuffixes.at(band));
    return name.data();
}

/// The ISO speed changes from capture to capture, in turn; the time puts the brightest material at
/// a level drawn for the capture.
SequoiaExposure SequoiaCamera::expose(const Shot& shot) const {
    constexpr std::array<int, 4> kSpeeds = {100, 398, 206, 796};
    constexpr std::int64_t kOnBeforeFlight = 150000000; // us
    const SequoiaCalibration& calibration = m_calibrations[shot.band];
    SequoiaExposure exposure;
    exposure.iso = kSpeeds[(shot.capture + shot.band + m_options.seed) % kSpeeds.size()];
    exposure.temperature = temperatureOf(shot);
    exposure.bootMicroseconds = shot.sinceStart + kOnBeforeFlight;
    const auto iso = static_cast<double>(exposure.iso);
    const double peak =
        drawPeak(Random({m_options.seed, kSequoiaExposurePurpose, shot.capture, shot.band}));
    const double radiance = Scene::kBrightest * shot.exposing() / kPi;
    const double perDn = calibration.fNumber * calibration.fNumber / (radiance * iso);
    double seconds = 0.0;
    if (m_kind == Kind::Uniform) {
        seconds = ((peak - calibration.darkLevel) * perDn - calibration.correction / iso) /
                  calibration.sensitivity;
    } else {
        const SequoiaModel& model = m_models[shot.band];
        const double dark = meanDark(model, iso, exposure.temperature);
        seconds = (peak - dark) * perDn / model.gain - static_cast<double>(model.deltaTau.mean());
    }
    exposure.numerator = std::max<std::int64_t>(
        1, static_cast<std::int64_t>(std::floor(seconds * SequoiaExposure::kDenominator + 0.5)));
    return exposure;
}

void SequoiaCamera::fillUniform(const Shot& shot,
                                const SequoiaExposure& exposure,
                                Eigen::Index row,
                                RowContent& content) const {
    const SequoiaCalibration& calibration = m_calibrations[shot.band];
    const double perReflectance =
        shot.exposing() / kPi *
        (calibration.sensitivity * exposure.seconds() * static_cast<double>(exposure.iso) +
         calibration.correction) /
        (calibration.fNumber * calibration.fNumber);
    const float* reflectance = &shot.reflectance(row, 0);
    const float* brightness = &m_brightness[shot.band](row, 0);
    for (std::size_t x = 0; x < content.signal.size(); ++x) {
        content.dark[x] = calibration.darkLevel;
        content.signal[x] = perReflectance * static_cast<double>(reflectance[x]) *
                            static_cast<double>(brightness[x]);
    }
}

void SequoiaCamera::fillMeasured(const Shot& shot,
                                 const SequoiaExposure& exposure,
                                 Eigen::Index row,
                                 RowContent& content) const {
    const SequoiaModel& model = m_models[shot.band];
    const double fNumber = m_calibrations[shot.band].fNumber;
    const auto iso = static_cast<double>(exposure.iso);
    const double thermal = iso * std::exp(model.temperatureCoefficient * exposure.temperature);
    const double perReflectance = shot.exposing() / kPi * iso * model.gain / (fNumber * fNumber);
    const float* reflectance = &shot.reflectance(row, 0);
    const float* dark = &model.dark(row, 0);
    const float* deltaTau = &model.deltaTau(row, 0);
    const float* vignetting = &model.vignetting(row, 0);
    for (std::size_t x = 0; x < content.signal.size(); ++x) {
        content.dark[x] = model.darkOffset + thermal * static_cast<double>(dark[x]);
        content.signal[x] = perReflectance * static_cast<double>(reflectance[x]) *
                            static_cast<double>(vignetting[x]) *
                            (exposure.seconds() + static_cast<double>(deltaTau[x]));
    }
}

Frame SequoiaCamera::take(const Shot& shot, bool withDeviation) const {
    const SequoiaExposure exposure = expose(shot);
    const auto fillRow = [&](Eigen::Index row, RowContent& content) {
        if (m_kind == Kind::Uniform) {
            fillUniform(shot, exposure, row, content);
        } else {
            fillMeasured(shot, exposure, row, content);
        }
    };
    Frame frame;
    frame.samples.resize(m_options.height, m_options.width);
    readOut(kSensor,
            exposure.iso / 100.0,
            m_options.noise,
            Random({m_options.seed, kSequoiaNoisePurpose, shot.capture, shot.band}),
            m_calibrations[shot.band].badPixels,
            withDeviation,
            fillRow,
            frame);
    frame.exposureSeconds = exposure.seconds();
    frame.iso = exposure.iso;
    frame.tags =
        sequoiaTags(m_calibrations[shot.band], exposure, kSerialNumber, bands()[shot.band], shot);
    return frame;
}

void SequoiaCamera::writeCompanions(const std::filesystem::path& folder) const {
    if (m_models.empty()) {
        return;
    }
    const std::filesystem::path calibration = folder / kCalibrationFolder;
    std::filesystem::create_directory(calibration);
    const std::string modelFile = std::string(kSerialNumber) + ".tif";
    writeModelFile((calibration / modelFile).u8string(), kSerialNumber, m_models);
    std::vector<std::pair<std::string, double>> coefficients;
    for (std::size_t b = 0; b < kBandCount; ++b) {
        coefficients.emplace_back(bands()[b].name, m_models[b].temperatureCoefficient);
    }
    writeThermalProfile(
        (calibration / "sequoia_therm.dat").u8string(), kSerialNumber, coefficients);
}

} // namespace tessik::simulate
