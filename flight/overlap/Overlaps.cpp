#include "flight/overlap/Overlaps.h"

#include "flight/Parallel.h"
#include "flight/input/Pixels.h"
#include "flight/overlap/Registration.h"
#include "flight/run/ImageCorrector.h"
#include "flight/run/PlannedReader.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>

namespace tessik::flight {
namespace {

BandImage smallCopyOf(const BandImage& bands) {
    BandImage result;
    for (const BandMatrix& band : bands) {
        result.push_back(reduced(band, reduction(band.cols())));
    }
    return result;
}

} // namespace

std::size_t Overlaps::pairsBesides(const Plan& plan) {
    constexpr double kPixelsPerPair = 12e6; // which take some 100 ms, and a pair some 3 ms
    constexpr std::size_t kFewest = 40;
    double pixels = 0.0;
    for (const PlannedCamera& camera : plan.cameras) {
        pixels += static_cast<double>(camera.width * camera.height) *
                  static_cast<double>(std::max<std::size_t>(1, camera.bands.size())) *
                  static_cast<double>(camera.imageCount);
    }
    return std::clamp(static_cast<std::size_t>(pixels / kPixelsPerPair), kFewest, kMostPairs);
}

Overlaps::Overlaps(const Plan& plan, std::size_t mostPairs, int jobs)
    : m_plan(plan), m_choice(choosePairs(plan, mostPairs, jobs)), m_frames(m_choice.images.size()) {
    for (std::size_t i = 0; i < m_choice.images.size(); ++i) {
        m_indices[plan.images[m_choice.images[i].image].output] = i;
    }
}

std::vector<const PlannedImage*> Overlaps::images() const {
    std::vector<const PlannedImage*> list;
    for (const ChosenImage& chosen : m_choice.images) {
        list.push_back(&m_plan.images[chosen.image]);
    }
    return list;
}

bool Overlaps::wants(const PlannedImage& planned) const {
    return m_indices.count(planned.output) != 0;
}

void Overlaps::takeRaw(const PlannedImage& planned,
                       const InputImage& image,
                       const BandImage& bands) {
    constexpr double kOneCapture = 1.0; // s between the bands of one
    const std::size_t index = m_indices.at(planned.output);
    if (std::abs(image.geo.captureTime - m_choice.images[index].time) > kOneCapture) {
        return; // the bands of this rig do not come in one order
    }
    m_frames[index].raw = smallCopyOf(bands);
    eraseUseless(image.exif, m_frames[index].raw);
}

void Overlaps::takeCorrected(const PlannedImage& planned, const BandImage& bands) {
    Frame& frame = m_frames[m_indices.at(planned.output)];
    if (frame.raw.size() == bands.size()) {
        frame.corrected = smallCopyOf(bands);
    }
}

OverlapResult Overlaps::result(int jobs) const {
    OverlapResult result = summaryOf(compare(m_frames, m_choice.pairs, jobs), m_plan);
    result.chosenPairs = m_choice.bandPairs;
    result.readImages = static_cast<std::size_t>(std::count_if(
        m_frames.begin(), m_frames.end(), [](const Frame& frame) { return frame.isSeen(); }));
    return result;
}

OverlapResult measureOverlaps(const Plan& plan, int jobs, Observer& observer) {
    Overlaps overlaps(plan, Overlaps::kMostPairs, jobs);
    const std::vector<const PlannedImage*> images = overlaps.images();
    ImageCorrector corrector(plan.decisions, static_cast<std::size_t>(jobs) + 1);
    tbb::enumerable_thread_specific<BandImage> pixels;
    observer.begin(images.size());
    std::atomic<std::size_t> next{0}; // in order, whichever thread is free
    inParallel(images.size(), jobs, [&](std::size_t) {
        if (observer.shallStop()) {
            return;
        }
        const PlannedImage& planned = *images[next++];
        const Listening listening(observer, planned.path);
        try {
            ReadImage read = readPlanned(plan, planned, observer);
            readAndCorrect(planned, corrector, &overlaps, read.image, pixels.local());
        } catch (const std::exception& failure) {
            observer.failure({planned.path, failure.what()});
        }
        observer.advance();
    });
    observer.end();
    return overlaps.result(jobs);
}

} // namespace tessik::flight
