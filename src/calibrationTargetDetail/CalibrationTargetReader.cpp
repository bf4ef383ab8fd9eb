#include "radiometry/calibrationTargetDetail/CalibrationTargetReader.h"

#include "core/Fail.h"
#include "platform/image/Raster.h"

#include <boost/geometry/algorithms/assign.hpp>
#include <boost/geometry/algorithms/correct.hpp>
#include <boost/geometry/algorithms/equals.hpp>
#include <boost/geometry/algorithms/expand.hpp>
#include <boost/geometry/algorithms/is_valid.hpp>
#include <boost/geometry/strategies/strategies.hpp>

namespace tessik::radiometry::detail {
namespace {

namespace bg = boost::geometry;

bool isEmpty(const image::Box& box) {
    return box.min_corner().x() > box.max_corner().x() ||
           box.min_corner().y() > box.max_corner().y();
}

image::Raster open(const QString& path) {
    try {
        return image::Raster::open(path.toStdString());
    } catch (const image::Error& failure) {
        fail("Unable to open image file '", path, "': ", std::string(failure.what()));
    }
}

bool liesIn(const image::Box& box, const image::Raster& raster) {
    return box.min_corner().x() >= 0 && box.min_corner().y() >= 0 &&
           box.max_corner().x() < static_cast<qint64>(raster.width()) &&
           box.max_corner().y() < static_cast<qint64>(raster.height());
}

[[noreturn]] void failToRead(const QString& path) {
    fail("Unable to read image '", path, "'.");
}

/// A region may be as thin as a line: what counts is how many pixels it has. One that crosses
/// itself, though, is a mistake in the order of its corners, and holds other pixels than was meant.
void verifySimple(image::Ring polygon, const image::Box& box) {
    const bool isLine = box.min_corner().x() == box.max_corner().x() ||
                        box.min_corner().y() == box.max_corner().y();
    if (isLine || polygon.size() < 5) { // the last corner is the first one: a triangle, or less
        return;
    }
    bg::correct(polygon);
    bg::validity_failure_type failure = bg::no_failure;
    if (bg::is_valid(polygon, failure)) {
        return;
    }
    if (failure == bg::failure_self_intersections || failure == bg::failure_spikes ||
        failure == bg::failure_wrong_orientation) { // the halves of an even eight cancel out
        fail("Image region: the polygon crosses itself");
    }
}

image::Raster openVerified(const CalibrationTargetReader& reader) {
    image::Raster raster = open(reader.imagePath());
    const image::Box box = reader.boundingRect();
    if (isEmpty(box)) {
        fail("Empty image region");
    }
    // Promised: docs/contract.md, region-unread and full-stops.
    if (!liesIn(box, raster)) {
        failToRead(reader.imagePath());
    }
    verifySimple(reader.polygon(), box);
    return raster;
}

template <typename Read>
std::vector<BandMatrix> readOrFail(const QString& path, const Read& read) {
    try {
        return read();
    } catch (const image::Error&) {
        failToRead(path);
    }
}

} // namespace

CalibrationTargetReader::CalibrationTargetReader(const QString& imagePath,
                                                 std::uint64_t imageIndex,
                                                 const image::Ring& polygon,
                                                 const CameraData& camera,
                                                 const ExifInfo& exif,
                                                 const GeoData& geo,
                                                 const geo::CoordSystem& imageCS)
    : m_imagePath(imagePath), m_imageIndex(imageIndex), m_polygon(polygon), m_camera(camera),
      m_exif(exif), m_geo(geo), m_imageCS(imageCS) {
    if (!m_polygon.empty() && !bg::equals(m_polygon.front(), m_polygon.back())) {
        m_polygon.push_back(m_polygon.front());
    }
}

image::Box CalibrationTargetReader::boundingRect() const {
    image::Box box;
    bg::assign_inverse(box);
    for (const image::Point& point : m_polygon) {
        bg::expand(box, point);
    }
    return box;
}

std::vector<BandMatrix> CalibrationTargetReader::loadReflectImageBlock() {
    const image::Raster raster = openVerified(*this);
    const image::Box box = boundingRect();
    const auto extent = [](int first, int last) {
        return static_cast<std::uint64_t>(last - first) + 1;
    };
    return readOrFail(m_imagePath, [&] {
        return raster.readBlock(static_cast<std::uint64_t>(box.min_corner().x()),
                                static_cast<std::uint64_t>(box.min_corner().y()),
                                extent(box.min_corner().x(), box.max_corner().x()),
                                extent(box.min_corner().y(), box.max_corner().y()));
    });
}

std::vector<BandMatrix> CalibrationTargetReader::loadWholeImage() {
    const image::Raster raster = openVerified(*this);
    return readOrFail(m_imagePath, [&] { return raster.read(); });
}

} // namespace tessik::radiometry::detail
