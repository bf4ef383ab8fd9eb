#include "simulate/Sensor.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::simulate {
namespace {

constexpr float kUnusable = std::numeric_limits<float>::infinity();

float stored(const Sensor& sensor, double sample) {
    const double steps = std::floor(sample / sensor.step + 0.5);
    return static_cast<float>(
        std::clamp(steps * sensor.step, 0.0, static_cast<double>(sensor.largestSample)));
}

} // namespace

PixelList drawPixels(std::size_t count, Eigen::Index width, Eigen::Index height, Random random) {
    PixelList list;
    while (list.size() < count) {
        const std::pair<int, int> pixel(
            static_cast<int>(random.below(static_cast<std::uint32_t>(width))),
            static_cast<int>(random.below(static_cast<std::uint32_t>(height))));
        if (std::find(list.begin(), list.end(), pixel) == list.end()) {
            list.push_back(pixel);
        }
    }
    return list;
}

double drawPeak(Random random) {
    constexpr double kFullScale = 65536.0;
    return random.uniform(0.60, 0.82) * kFullScale;
}

void readOut(const Sensor& sensor,
             double gain,
             double noise,
             Random random,
             const PixelList& defects,
             bool withDeviation,
             const std::function<void(Eigen::Index row, RowContent& content)>& fillRow,
             Frame& frame) {
    // Variances in DN^2. Shot: N electrons deviate by sqrt(N), and the amplifier makes one electron
    // gain * step / electronsPerStep DN.
    const double dnPerElectron = gain * sensor.step / sensor.electronsPerStep;
    const double factor = noise * noise;
    const double shotPerSignal = factor * dnPerElectron;
    const double readAmplified = sensor.readNoiseElectrons * dnPerElectron;
    const double readLate = sensor.readNoiseSteps * sensor.step;
    const double read = factor * (readAmplified * readAmplified + readLate * readLate);
    const double quantisation = sensor.step * sensor.step / 12.0;

    const auto cols = static_cast<std::size_t>(frame.samples.cols());
    if (withDeviation) {
        frame.relativeDeviation.resize(frame.samples.rows(), frame.samples.cols());
    }
    std::vector<float> deviates(cols);
    const double lastStep = static_cast<double>(sensor.largestSample) - 0.5 * sensor.step;
    RowContent content{
        std::vector<double>(cols), std::vector<double>(cols), std::vector<double>(cols, lastStep)};
    std::vector<char> isClipped(cols);
    frame.badPixels = defects.size();
    frame.saturatedPixels = 0;
    for (Eigen::Index y = 0; y < frame.samples.rows(); ++y) {
        random.normal(deviates);
        fillRow(y, content);
        float* sample = &frame.samples(y, 0);
        for (std::size_t x = 0; x < cols; ++x) {
            const double signal = content.signal[x];
            const double variance = shotPerSignal * signal + read;
            const double value =
                content.dark[x] + signal + std::sqrt(variance) * static_cast<double>(deviates[x]);
            isClipped[x] = value >= content.clip[x] ? 1 : 0;
            sample[x] = stored(sensor, std::min(value, content.clip[x]));
            if (withDeviation) {
                frame.relativeDeviation(y, static_cast<Eigen::Index>(x)) =
                    isClipped[x] != 0
                        ? kUnusable
                        : static_cast<float>(std::sqrt(variance + quantisation) / signal);
            }
        }
        for (std::size_t i = 0; i < defects.size(); ++i) {
            const auto& [column, row] = defects[i];
            if (row == y) {
                sample[column] = sensor.defectiveSamples[i % sensor.defectiveSamples.size()];
                isClipped[static_cast<std::size_t>(column)] = 0;
                if (withDeviation) {
                    frame.relativeDeviation(y, column) = kUnusable;
                }
            }
        }
        frame.saturatedPixels +=
            static_cast<std::size_t>(std::count(isClipped.begin(), isClipped.end(), 1));
    }
}

} // namespace tessik::simulate
