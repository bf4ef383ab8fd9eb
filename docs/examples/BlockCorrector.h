#pragma once

#include <platform/camera/InputImage.h>
#include <platform/geo/ProjectCoordinateSystems.h>
#include <radiometry/Correct.h>

#include <cstdint>
#include <map>
#include <vector>

namespace example {

/// Corrects the images of a project block by block, on several threads. The maps of each camera are
/// made once, by the constructor. From then on an object is only read, so that several images may
/// be corrected at the same time.
class BlockCorrector {
public:
    /// @param images the project's; the first of each camera lends its metadata to the maps
    /// @param settings a type below the sun-angle ones, which need a pose of each image
    BlockCorrector(const std::vector<tessik::InputImage>& images,
                   tessik::radiometry::Settings settings);

    /// Corrects an image in place, about blockSize x blockSize pixels at a time.
    /// @throws std::invalid_argument when a band is not of the size that the metadata state, or
    /// there is no block or no thread
    /// @throws tessik::radiometry::error as the library; the bands are then partly corrected
    void correct(const tessik::InputImage& image,
                 tessik::BandImage& bands,
                 Eigen::Index blockSize,
                 unsigned threadCount) const;

private:
    using Cache = tessik::radiometry::datasource::Cache;
    [[nodiscard]] Cache mapsOf(const tessik::InputImage& image) const;

    tessik::radiometry::Settings m_settings;
    tessik::geo::ProjectCoordinateSystems m_coordinateSystems;
    Cache m_maps;
    std::map<std::uint64_t, tessik::ExifInfo> m_madeFrom; ///< by camera
};

} // namespace example
