#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/Correct.h"
#include "radiometry/DarkCurrentModel.h"
#include "radiometry/VignettingModel.h"
#include "support/RedEdge.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <thread>

namespace tessik::radiometry {
namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;

BandMatrix corrected(const test::ImageSetup& setup, const datasource::Cache& cache, unsigned seed) {
    BandImage bands = {test::redEdgeBand(kWidth, kHeight, seed)};
    correct(setup.image,
            setup.camera,
            CameraExternals(),
            {2.0},
            Eigen::ArrayXd(),
            {CorrectionType::CameraOnly},
            geo::ProjectCoordinateSystems(),
            nullptr,
            cache,
            bands,
            {0, 0});
    return bands[0];
}

/// Images of eight threads, some with shared maps, some with maps of their own, logging all the
/// while.
TEST(Threads, eightThreadsGiveTheBitsOfOne) {
    constexpr unsigned kThreads = 8;
    constexpr unsigned kImagesEach = 6;
    const test::LogCapture log;
    const test::ImageSetup setup(test::redEdgeExif(kWidth, kHeight));
    datasource::Cache shared;
    shared[{setup.image.cameraId, datasource::Type::DarkCurrentModel}] =
        std::make_shared<datasource::DarkCurrentModel>(DarkCurrentModelBase(setup.image.exif));
    shared[{setup.image.cameraId, datasource::Type::VignettingModel}] =
        std::make_shared<datasource::VignettingModel>(
            *createVignettingModel(setup.camera.vignetting, setup.camera));
    const datasource::Cache none;

    std::vector<BandMatrix> alone;
    for (unsigned i = 0; i < kThreads * kImagesEach; ++i) {
        alone.push_back(corrected(setup, none, i));
    }
    std::vector<BandMatrix> together(alone.size());
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (unsigned t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (unsigned i = t; i < together.size(); i += kThreads) {
                together[i] = corrected(setup, i % 2 == 0 ? shared : none, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < alone.size(); ++i) {
        EXPECT_EQ(std::memcmp(alone[i].data(),
                              together[i].data(),
                              static_cast<std::size_t>(alone[i].size()) * sizeof(float)),
                  0)
            << "image " << i;
    }
    EXPECT_FALSE(log.records().empty());
}

} // namespace
} // namespace tessik::radiometry
