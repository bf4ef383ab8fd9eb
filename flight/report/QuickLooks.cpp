#include "flight/report/QuickLooks.h"

#include "flight/report/BandOrder.h"
#include "platform/image/Png.h"
#include "platform/image/Raster.h"
#include "radiometry/core/Types.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <cmath>
#include <exception>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::size_t kTiles = 5;
constexpr std::uint64_t kTileWidth = 240;
/// A page of tens of megabytes opens slowly: what is above stays out, and the page says so.
/// The grey scale leaves out this share of the pixels at either end, as glints and dead pixels are.
constexpr double kTail = 0.01;

/// One capture of one camera, before and after; empty where it cannot be read.
struct Tile {
    const ImageRecord* image;
    BandImage before;
    BandImage after;
};

/// The first and last captures of a flight often show the ground below the pilot: they stay out
/// where there are enough others.
std::vector<const ImageRecord*>
spreadOverFlight(const RunFiles& run, const Timeline& timeline, std::size_t camera) {
    std::vector<const ImageRecord*> all;
    for (const std::size_t i : timeline.order()) {
        const ImageRecord& image = run.images[i];
        if (image.camera == camera && image.isCorrected()) {
            all.push_back(&image);
        }
    }
    if (all.size() <= kTiles) {
        return all;
    }
    constexpr double kMargin = 0.04;
    const double last = static_cast<double>(all.size() - 1);
    std::vector<const ImageRecord*> chosen;
    for (std::size_t t = 0; t < kTiles; ++t) {
        const double place = static_cast<double>(t) / static_cast<double>(kTiles - 1);
        const double at = (kMargin + (1.0 - 2.0 * kMargin) * place) * last;
        chosen.push_back(all[static_cast<std::size_t>(std::lround(at))]);
    }
    return chosen;
}

BandImage readSmall(const fs::path& path, std::size_t bandCount) {
    try {
        BandImage bands = image::Raster::open(path.u8string()).readReduced(kTileWidth);
        return bands.size() == bandCount ? bands : BandImage();
    } catch (const image::Error&) {
        return {}; // moved or removed since: the page does without
    }
}

bool isValid(float value) {
    return std::isfinite(value) && value != radiometry::kNoData;
}

struct GreyScale {
    float black = 0.0F;
    float white = 0.0F;
};

/// One scale for all tiles of a row.
std::optional<GreyScale>
scaleOf(const std::vector<Tile>& tiles, BandImage Tile::*side, std::size_t band) {
    std::vector<float> values;
    for (const Tile& tile : tiles) {
        if (band < (tile.*side).size()) {
            const BandMatrix& pixels = (tile.*side)[band];
            std::copy_if(
                pixels.data(), pixels.data() + pixels.size(), std::back_inserter(values), isValid);
        }
    }
    if (values.empty()) {
        return std::nullopt;
    }
    const auto at = [&](double share) {
        const auto place = values.begin() + static_cast<std::ptrdiff_t>(std::lround(
                                                share * static_cast<double>(values.size() - 1)));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    };
    return GreyScale{at(kTail), at(1.0 - kTail)};
}

/// Grey, and opacity: masked pixels are seen through.
json picture(const BandImage& bands, std::size_t band, const std::optional<GreyScale>& scale) {
    if (!scale || band >= bands.size()) {
        return nullptr;
    }
    const BandMatrix& pixels = bands[band];
    image::ByteMatrix grey(pixels.rows(), pixels.cols());
    image::ByteMatrix opacity(pixels.rows(), pixels.cols());
    const float range = std::max(scale->white - scale->black, 1e-30F);
    for (Eigen::Index i = 0; i < pixels.size(); ++i) {
        const float value = pixels.data()[i];
        const bool isShown = isValid(value);
        const float level = isShown ? std::clamp((value - scale->black) / range, 0.0F, 1.0F) : 0.0F;
        grey.data()[i] = static_cast<std::uint8_t>(std::lround(level * 255.0F));
        opacity.data()[i] = isShown ? 255 : 0;
    }
    const bool isOpaque = (opacity.array() == 255).all();
    return pngUri(isOpaque ? image::encodePng({grey}) : image::encodePng({grey, opacity}));
}

json asJson(const std::optional<GreyScale>& scale) {
    return scale ? json{scale->black, scale->white} : json();
}

json bandOf(const std::vector<Tile>& tiles, std::size_t band, const std::string& label) {
    const auto before = scaleOf(tiles, &Tile::before, band);
    const auto after = scaleOf(tiles, &Tile::after, band);
    json shown = json::array();
    for (const Tile& tile : tiles) {
        const double time = tile.image->timeUnix;
        shown.push_back({{"time_unix", std::isnan(time) ? json() : json(time)},
                         {"file", tile.image->path},
                         {"before", picture(tile.before, band, before)},
                         {"after", picture(tile.after, band, after)}});
    }
    return {{"label", label},
            {"tiles", shown},
            {"before_scale", asJson(before)},
            {"after_scale", asJson(after)}};
}

} // namespace

std::string pngUri(const std::string& bytes) {
    const auto size = static_cast<int>(bytes.size());
    return "data:image/png;base64," +
           QByteArray::fromRawData(bytes.data(), size).toBase64().toStdString();
}

json quickLooks(const RunFiles& run,
                const Timeline& timeline,
                const std::vector<std::vector<std::string>>& bandLabels) {
    json bands = json::array();
    for (const std::size_t camera : cameraOrder(run)) {
        std::vector<Tile> tiles;
        for (const ImageRecord* image : spreadOverFlight(run, timeline, camera)) {
            const std::size_t count = bandLabels[camera].size();
            if (bands.size() < kMaxQuickLooks) {
                tiles.push_back({image,
                                 readSmall(fs::u8path(image->path), count),
                                 readSmall(run.folder / fs::u8path(image->output), count)});
            }
        }
        for (std::size_t b = 0; b < bandLabels[camera].size() && bands.size() < kMaxQuickLooks;
             ++b) {
            json band = bandOf(tiles, b, bandLabels[camera][b]);
            const json& stated = run.cameras()[camera]["bands"];
            band["wavelength_nm"] =
                b < stated.size() ? orNull(numberIn(stated[b], "wavelength_nm")) : json();
            if (!band["before_scale"].is_null() || !band["after_scale"].is_null()) {
                bands.push_back(std::move(band));
            }
        }
    }
    sortByWavelength(bands);
    return bands;
}

} // namespace tessik::flight::report
