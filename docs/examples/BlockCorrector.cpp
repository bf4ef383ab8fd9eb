#include "BlockCorrector.h"

#include <platform/camera/CameraExternals.h>
#include <platform/camera/CameraParams.h>
#include <platform/camera/ExifInfo.h>
#include <platform/exif/ExifReader.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <stdexcept>
#include <utility>

namespace example {

namespace radiometry = tessik::radiometry;
namespace datasource = tessik::radiometry::datasource;
using Eigen::Index;
using tessik::BandImage;
using tessik::BandMatrix;
using tessik::CameraParams;
using tessik::ExifInfo;
using tessik::InputImage;

namespace {

void makeMaps(const InputImage& image, datasource::Cache& maps) {
    const auto keep = [&](datasource::Type type, datasource::DataSourcePointer map) {
        if (map) {
            maps[{image.cameraId, type}] = std::move(map);
        }
    };
    const CameraParams camera = tessik::exif::cameraParams(image.exif);
    keep(datasource::Type::DarkCurrentModel,
         datasource::createDarkCurrentSource(image.exif, nullptr));
    keep(datasource::Type::VignettingModel,
         datasource::createVignettingSource(camera, image.exif.apertureFNumber, nullptr));
}

bool areEqual(const Eigen::MatrixXd& a, const Eigen::MatrixXd& b) {
    return a.rows() == b.rows() && a.cols() == b.cols() && a == b;
}

/// Whether maps that were made for one image are right for the other too.
bool shareMaps(const ExifInfo& a, const ExifInfo& b) {
    const CameraParams cameraA = tessik::exif::cameraParams(a);
    const CameraParams cameraB = tessik::exif::cameraParams(b);
    const tessik::VignettingData shapeA = cameraA.vignettingModel(a.apertureFNumber);
    const tessik::VignettingData shapeB = cameraB.vignettingModel(b.apertureFNumber);
    return a.imageWidth == b.imageWidth && a.imageHeight == b.imageHeight &&
           a.bandCount == b.bandCount &&
           std::equal(a.darkLevels.begin(),
                      a.darkLevels.end(),
                      b.darkLevels.begin(),
                      b.darkLevels.end(),
                      areEqual) &&
           shapeA.type == shapeB.type && shapeA.centerX == shapeB.centerX &&
           shapeA.centerY == shapeB.centerY && cameraA.principalPointX == cameraB.principalPointX &&
           cameraA.principalPointY == cameraB.principalPointY &&
           areEqual(shapeA.coefficients, shapeB.coefficients);
}

struct Block {
    Index column;
    Index row;
    Index width;
    Index height;
};

std::vector<Block> blocksOf(const ExifInfo& exif, Index size) {
    const auto width = static_cast<Index>(exif.imageWidth);
    const auto height = static_cast<Index>(exif.imageHeight);
    // The exposure of a row is counted from the first row of the block.
    const bool isRolling = tessik::micasense::hasValid3kModel(exif.micaSense3kModel);
    const Index step = isRolling ? height : size;
    std::vector<Block> blocks;
    for (Index row = 0; row < height; row += step) {
        for (Index column = 0; column < width; column += size) {
            blocks.push_back(
                {column, row, std::min(size, width - column), std::min(step, height - row)});
        }
    }
    return blocks;
}

/// The library takes bad pixels for positions in the block.
InputImage seenFrom(const Block& block, InputImage image) {
    for (auto& pixels : image.exif.badPixels) {
        const auto all = std::exchange(pixels, {});
        for (const auto& [column, row] : all) {
            if (column >= block.column && column < block.column + block.width && row >= block.row &&
                row < block.row + block.height) {
                pixels.emplace_back(column - block.column, row - block.row);
            }
        }
    }
    return image;
}

} // namespace

BlockCorrector::BlockCorrector(const std::vector<InputImage>& images, radiometry::Settings settings)
    : m_settings(settings) {
    for (const InputImage& image : images) {
        if (m_madeFrom.try_emplace(image.cameraId, image.exif).second) {
            makeMaps(image, m_maps);
        }
    }
}

datasource::Cache BlockCorrector::mapsOf(const InputImage& image) const {
    const auto first = m_madeFrom.find(image.cameraId);
    if (first != m_madeFrom.end() && shareMaps(first->second, image.exif)) {
        return m_maps;
    }
    datasource::Cache own;
    makeMaps(image, own);
    return own;
}

void BlockCorrector::correct(const InputImage& image,
                             BandImage& bands,
                             Index blockSize,
                             unsigned threadCount) const {
    if (blockSize < 1 || threadCount < 1) {
        throw std::invalid_argument("blocks of at least one pixel, on at least one thread");
    }
    for (const BandMatrix& band : bands) {
        if (static_cast<std::uint64_t>(band.rows()) != image.exif.imageHeight ||
            static_cast<std::uint64_t>(band.cols()) != image.exif.imageWidth) {
            throw std::invalid_argument("a band is not of the size that the metadata state");
        }
    }
    const CameraParams camera = tessik::exif::cameraParams(image.exif);
    const datasource::Cache maps = mapsOf(image);
    const std::vector<Block> blocks = blocksOf(image.exif, blockSize);
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < blocks.size(); i = next++) {
            const auto& [column, row, width, height] = blocks[i];
            BandImage block;
            for (const BandMatrix& band : bands) {
                block.emplace_back(band.block(row, column, height, width));
            }
            radiometry::correct(seenFrom(blocks[i], image),
                                camera,
                                tessik::GlobalShutter(),
                                {},
                                Eigen::ArrayXd(),
                                m_settings,
                                m_coordinateSystems,
                                nullptr,
                                maps,
                                block,
                                {static_cast<int>(column), static_cast<int>(row)});
            for (std::size_t b = 0; b < bands.size(); ++b) {
                bands[b].block(row, column, height, width) = block[b];
            }
        }
    };
    std::vector<std::future<void>> threads;
    for (unsigned t = 0; t < threadCount; ++t) {
        threads.push_back(std::async(std::launch::async, work));
    }
    for (std::future<void>& thread : threads) {
        thread.get(); // throws what the thread threw, when all others are done
    }
}

} // namespace example
