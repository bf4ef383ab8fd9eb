// Measures the time of the RedEdge's `camera` chain on one band, beside that of one plain pass over
// it.
//
//   chain_benchmark [Google Benchmark's options]   measures
//   chain_benchmark --dump FOLDER                  writes the input, the result and the parameters

#include "platform/camera/CameraExternals.h"
#include "platform/exif/ExifReader.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/Correct.h"
#include "radiometry/darkcurrent/DarkCurrentModel.h"
#include "radiometry/vignetting/VignettingModel.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <random>
#include <string>

namespace tessik::radiometry {
namespace {

constexpr Eigen::Index kWidth = 1280;
constexpr Eigen::Index kHeight = 960;
constexpr std::array<double, 7> kVignetting = {
    1.0, -1.2e-5, -1.1e-6, 2.1e-9, -2.4e-12, 1.2e-15, -2.2e-19};
constexpr double kCenterX = 633.1;
constexpr double kCenterY = 487.6;

/// What the metadata of a RedEdge state for one band.
ExifInfo redEdgeMetadata() {
    ExifInfo exif;
    exif.make = QStringLiteral("MicaSense");
    exif.model = QStringLiteral("RedEdge");
    exif.imageWidth = kWidth;
    exif.imageHeight = kHeight;
    exif.bandCount = 1;
    exif.pixelType = DataType::UInt16;
    exif.storedRange = {0.0, 65520.0};
    exif.exposureTime = 0.00123;
    exif.iso = 100;
    exif.apertureFNumber = 2.8;
    exif.sensitivity = {0.17};
    exif.darkLevels = {Eigen::MatrixXd::Constant(1, 1, 4800.0)};
    exif.badPixels = {{{17, 3}, {640, 480}, {641, 480}, {1279, 959}}};
    exif.vignetting.type = VignettingType::RadialPolynomial;
    exif.vignetting.centerX = kCenterX;
    exif.vignetting.centerY = kCenterY;
    exif.vignetting.coefficients =
        Eigen::Map<const Eigen::VectorXd>(kVignetting.data(), kVignetting.size());
    exif.micaSense3kModel = {1.3e-7, 1.1e-5};
    return exif;
}

/// 12-bit samples shifted left by 4: most are well exposed, some lie at or below the dark level,
/// some are saturated.
BandMatrix rawBand() {
    std::mt19937 random(20171019); // NOLINT(bugprone-random-generator-seed): the same band each run
    BandMatrix band(kHeight, kWidth);
    for (Eigen::Index i = 0; i < band.size(); ++i) {
        const std::uint64_t sample = std::min<std::uint64_t>(random() % 4000 + 280, 4095);
        band.data()[i] = static_cast<float>(sample << 4);
    }
    return band;
}

struct Scene {
    Scene() {
        image.path = QStringLiteral("image.tif");
        image.exif = redEdgeMetadata();
        image.cameraId = exif::cameraId(image.exif);
        camera = exif::cameraParams(image.exif);
        cache[{image.cameraId, datasource::Type::DarkCurrentModel}] =
            std::make_shared<datasource::DarkCurrentModel>(
                *createDarkCurrentModel(image.exif, nullptr));
        cache[{image.cameraId, datasource::Type::VignettingModel}] = inverseVignetting();
    }

    [[nodiscard]] std::shared_ptr<datasource::VignettingModel> inverseVignetting() const {
        return std::make_shared<datasource::VignettingModel>(
            *createVignettingModel(camera.vignetting, camera));
    }

    void correctWith(const datasource::Cache& maps, BandImage& bands) const {
        correct(image,
                camera,
                CameraExternals(),
                {},
                Eigen::ArrayXd(),
                {CorrectionType::CameraOnly},
                geo::ProjectCoordinateSystems(),
                nullptr,
                maps,
                bands,
                {0, 0});
    }

    void correctAndTell(BandImage& bands, Accounts& accounts) const {
        correct(image,
                camera,
                CameraExternals(),
                {},
                Eigen::ArrayXd(),
                {CorrectionType::CameraOnly},
                geo::ProjectCoordinateSystems(),
                nullptr,
                cache,
                bands,
                {0, 0},
                accounts);
    }

    const BandMatrix raw = rawBand();
    InputImage image;
    CameraParams camera;
    datasource::Cache cache;
};

const Scene& scene() {
    static const Scene kScene;
    return kScene;
}

/// Processor time that this program has used, in s. The programs measured here wait only for
/// memory, and unlike the time on a clock it does not count what other programs take on a busy
/// machine.
double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Times work on a band that is restored before each run, and then is equally warm in the caches.
template <typename Work>
void measure(benchmark::State& state, Work&& work) {
    const BandMatrix& raw = scene().raw;
    BandImage bands = {raw};
    for (auto _ : state) {
        bands.front() = raw;
        benchmark::ClobberMemory();
        const double start = processorSeconds();
        work(bands);
        benchmark::ClobberMemory();
        state.SetIterationTime(processorSeconds() - start);
    }
    const std::int64_t pixels = state.iterations() * raw.size();
    state.SetItemsProcessed(pixels);
    state.SetBytesProcessed(pixels * static_cast<std::int64_t>(sizeof(float)));
}

/// The unit of the results: reads and writes each pixel once.
void onePass(benchmark::State& state) {
    measure(state, [](BandImage& bands) { bands.front() *= 1.0625F; });
}

/// The chain with its maps at hand.
void warm(benchmark::State& state) {
    measure(state, [](BandImage& bands) { scene().correctWith(scene().cache, bands); });
}

/// The same, and each step reports what it did; the last one reports the mean and the masked
/// pixels.
void told(benchmark::State& state) {
    measure(state, [](BandImage& bands) {
        Accounts accounts;
        scene().correctAndTell(bands, accounts);
        benchmark::DoNotOptimize(accounts);
    });
}

/// The chain that makes its maps first.
void cold(benchmark::State& state) {
    const datasource::Cache none;
    measure(state, [&none](BandImage& bands) { scene().correctWith(none, bands); });
}

/// Only the vignetting map and its inversion.
void map(benchmark::State& state) {
    measure(state,
            [](BandImage& /*bands*/) { benchmark::DoNotOptimize(scene().inverseVignetting()); });
}

/// What the map needs at least: a square root and a polynomial of degree 6 in double, without
/// conditions and allocations.
void mapFloor(benchmark::State& state) {
    measure(state, [](BandImage& bands) {
        const auto& k = kVignetting;
        for (Eigen::Index r = 0; r < kHeight; ++r) {
            const double dy = static_cast<double>(r) - kCenterY;
            const double dy2 = dy * dy;
            float* out = &bands.front()(r, 0);
            for (int c = 0; c < kWidth; ++c) {
                const double dx = static_cast<double>(c) - kCenterX;
                const double rho = std::sqrt(dx * dx + dy2);
                out[c] = static_cast<float>(
                    (((((k[6] * rho + k[5]) * rho + k[4]) * rho + k[3]) * rho + k[2]) * rho +
                     k[1]) *
                        rho +
                    k[0]);
            }
        }
    });
}

BENCHMARK(onePass)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(warm)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(told)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(cold)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(map)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(mapFloor)->UseManualTime()->Unit(benchmark::kMicrosecond);

void writeBand(const std::string& path, const BandMatrix& band) {
    std::ofstream file(path, std::ios::binary);
    file.write(
        reinterpret_cast<const char*>(band.data()), // NOLINT: bytes are what a file holds
        static_cast<std::streamsize>(band.size() * static_cast<Eigen::Index>(sizeof(float))));
    file.exceptions(std::ios::failbit);
}

/// Writes raw float files "input.f32" and "result.f32", row after row, and "parameters.json".
void dump(const std::string& folder) {
    BandImage bands = {scene().raw};
    writeBand(folder + "/input.f32", bands.front());
    scene().correctWith({}, bands);
    writeBand(folder + "/result.f32", bands.front());

    const ExifInfo& exif = scene().image.exif;
    std::ofstream file(folder + "/parameters.json");
    file << std::setprecision(17) << "{\"width\": " << kWidth << ", \"height\": " << kHeight
         << ",\n \"dark\": " << exif.darkLevels.front()(0, 0)
         << ", \"least\": " << exif.storedRange->first
         << ", \"largest\": " << exif.storedRange->second << ", \"samples\": 65536"
         << ",\n \"exposure\": " << exif.exposureTime << ", \"iso\": " << exif.iso
         << ", \"f_number\": " << exif.apertureFNumber
         << ", \"sensitivity\": " << exif.sensitivity.front()
         << ",\n \"k1\": " << exif.micaSense3kModel.k1 << ", \"k2\": " << exif.micaSense3kModel.k2
         << ",\n \"center\": [" << kCenterX << ", " << kCenterY << "],\n \"vignetting\": [";
    for (std::size_t i = 0; i < kVignetting.size(); ++i) {
        file << (i == 0 ? "" : ", ") << kVignetting[i];
    }
    file << "],\n \"bad_pixels\": [";
    for (std::size_t i = 0; i < exif.badPixels.front().size(); ++i) {
        const auto& [column, row] = exif.badPixels.front()[i];
        file << (i == 0 ? "[" : ", [") << column << ", " << row << "]";
    }
    file << "],\n \"no_data\": " << kNoData << "}\n";
    file.exceptions(std::ios::failbit);
}

} // namespace
} // namespace tessik::radiometry

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc == 3 && std::strcmp(argv[1], "--dump") == 0) {
        tessik::radiometry::dump(argv[2]);
        return 0;
    }
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
