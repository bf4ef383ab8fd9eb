#include "platform/camera/CameraExternals.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/Correct.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"
#include "radiometry/vignetting/VignettingModel.h"
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

/// A flight whose images have an irradiance sensor with a pose of its own.
struct Flight {
    Flight() : setup(test::redEdgeExif(kWidth, kHeight)) {
        setup.image.exif.sunIrradiance = {1.2};
        setup.image.exif.sunSensorYawPitchRoll = Eigen::Vector3d(30.0, 5.0, -10.0);
        setup.image.geo.captureTime = 1592730000.0; // 2020-06-21 09:00 UTC
        systems.output = geo::OutCoordSystem(geo::CoordSystem::fromEpsg(2056));
        systems.output.fromWGS84({46.8, 8.2, 600.0}, pose.position);
    }

    test::ImageSetup setup;
    geo::ProjectCoordinateSystems systems;
    CameraExternals pose;
};

BandMatrix corrected(const Flight& flight, const datasource::Cache& cache, unsigned seed) {
    BandImage bands = {test::redEdgeBand(kWidth, kHeight, seed)};
    correct(flight.setup.image,
            flight.setup.camera,
            flight.pose,
            {2.0},
            Eigen::ArrayXd::Constant(1, 0.8),
            {static_cast<CorrectionType>(4)}, // the sensor's own pose
            flight.systems,
            nullptr,
            cache,
            bands,
            {0, 0});
    return bands[0];
}

/// Images of eight threads, some with shared maps, some with maps of their own, all in one output
/// coordinate system.
TEST(Threads, eightThreadsGiveTheBitsOfOne) {
    constexpr unsigned kThreads = 8;
    constexpr unsigned kImagesEach = 6;
    const Flight flight;
    const test::ImageSetup& setup = flight.setup;
    datasource::Cache shared;
    shared[{setup.image.cameraId, datasource::Type::DarkCurrentModel}] =
        std::make_shared<datasource::DarkCurrentModel>(DarkCurrentModelBase(setup.image.exif));
    shared[{setup.image.cameraId, datasource::Type::VignettingModel}] =
        std::make_shared<datasource::VignettingModel>(
            *createVignettingModel(setup.camera.vignetting, setup.camera));
    const datasource::Cache none;

    std::vector<BandMatrix> alone;
    for (unsigned i = 0; i < kThreads * kImagesEach; ++i) {
        alone.push_back(corrected(flight, none, i));
    }
    // This is done with traces, and without them, where steps are run together.
    for (const int level : {logging::kInfo, logging::kWarning}) {
        const test::LogCapture log(level);
        std::vector<BandMatrix> together(alone.size());
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (unsigned t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                for (unsigned i = t; i < together.size(); i += kThreads) {
                    together[i] = corrected(flight, i % 2 == 0 ? shared : none, i);
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
        EXPECT_EQ(log.records().empty(), level == logging::kWarning);
    }
}

} // namespace
} // namespace tessik::radiometry
