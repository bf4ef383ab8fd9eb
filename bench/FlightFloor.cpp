// Measures what reading and writing a flight costs by itself: GDAL reads each TIFF of a folder as
// floats and writes it as a float TIFF with default creation options. A correction cannot be faster
// than this.
//
//   flight_floor INPUT_FOLDER OUTPUT_FOLDER JOBS

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Copies the one band that a RedEdge's images have. @return false if GDAL refuses
bool copy(const fs::path& input, const fs::path& output, std::vector<float>& pixels) {
    GDALDatasetH source = GDALOpen(input.c_str(), GA_ReadOnly);
    if (source == nullptr) {
        return false;
    }
    const int width = GDALGetRasterXSize(source);
    const int height = GDALGetRasterYSize(source);
    pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const auto transfer = [&](GDALDatasetH dataset, GDALRWFlag direction) {
        return GDALRasterIO(GDALGetRasterBand(dataset, 1),
                            direction,
                            0,
                            0,
                            width,
                            height,
                            pixels.data(),
                            width,
                            height,
                            GDT_Float32,
                            0,
                            0) == CE_None;
    };
    const bool isRead = transfer(source, GF_Read);
    GDALClose(source);
    fs::remove(output); // GDAL would open it first
    GDALDatasetH target = isRead ? GDALCreate(GDALGetDriverByName("GTiff"),
                                              output.c_str(),
                                              width,
                                              height,
                                              1,
                                              GDT_Float32,
                                              nullptr)
                                 : nullptr;
    if (target == nullptr) {
        return false;
    }
    CPLErrorReset();
    const bool isWritten = transfer(target, GF_Write);
    GDALClose(target); // writes what is left
    return isWritten && CPLGetLastErrorType() < CE_Failure;
}

std::vector<fs::path> imagesOf(const fs::path& folder) {
    std::vector<fs::path> images;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".tif") {
            images.push_back(entry.path());
        }
    }
    std::sort(images.begin(), images.end());
    return images;
}

int copyAll(const fs::path& input, const fs::path& output, int jobs) {
    const std::vector<fs::path> images = imagesOf(input);
    fs::create_directories(output);
    std::atomic<std::size_t> next{0};
    std::atomic<bool> isGood{!images.empty()};
    const auto work = [&] {
        std::vector<float> pixels;
        for (std::size_t i = next++; i < images.size(); i = next++) {
            if (!copy(images[i], output / images[i].filename(), pixels)) {
                isGood = false;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int job = 0; job < jobs; ++job) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    const int jobs = argc == 4 ? std::atoi(argv[3]) : 0;
    if (jobs < 1) {
        std::fprintf(stderr, "usage: flight_floor INPUT_FOLDER OUTPUT_FOLDER JOBS\n");
        return EXIT_FAILURE;
    }
    GDALAllRegister();
    // Without this, each opening reads the whole folder.
    CPLSetConfigOption("GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR");
    try {
        return copyAll(argv[1], argv[2], jobs);
    } catch (const fs::filesystem_error& failure) {
        std::fprintf(stderr, "flight_floor: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
