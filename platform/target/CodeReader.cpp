#include "platform/target/CodeReader.h"

#include "platform/target/Stretch.h"

#include <zbar.h>

#include <algorithm>
#include <array>
#include <memory>
#include <set>

namespace tessik::target {
namespace {

/// One way to show a band to the decoder.
struct Attempt {
    Percentiles percentiles;
    /// Pixels a pixel; below 0: pixels of the band that make one.
    int scale = 1;
};

/// A panel fills a good part of the image or little of it, in glaring sun or under clouds. Halving
/// takes noise away, doubling helps where a module of the code is hardly two pixels wide.
constexpr std::array<Attempt, 6> kAttempts = {{{{0.001, 0.999}, 1},
                                               {{0.001, 0.999}, -2},
                                               {{0.02, 0.95}, 1},
                                               {{0.02, 0.95}, -2},
                                               {{0.001, 0.999}, 2},
                                               {{0.001, 0.999}, -4}}};

/// Larger bands are looked at once in full, every second line, and then at half their size: their
/// codes have pixels enough, and a flight without a panel would be looked at for longer than it
/// takes to correct it.
constexpr Eigen::Index kLarge = 1000000;
constexpr Eigen::Index kSmallestSide = 16;

struct ScannerDeleter {
    void operator()(zbar::zbar_image_scanner_t* scanner) const {
        zbar::zbar_image_scanner_destroy(scanner);
    }
};
struct ImageDeleter {
    void operator()(zbar::zbar_image_t* image) const { zbar::zbar_image_destroy(image); }
};

/// The mean of each square of pixels; what does not fill a square at the edges is left out.
BandMatrix reduced(const BandMatrix& band, Eigen::Index factor) {
    BandMatrix result = BandMatrix::Zero(band.rows() / factor, band.cols() / factor);
    for (Eigen::Index y = 0; y < result.rows(); ++y) {
        for (Eigen::Index x = 0; x < result.cols(); ++x) {
            result(y, x) = band.block(y * factor, x * factor, factor, factor).mean();
        }
    }
    return result;
}

/// Twice the size, bilinear: the centre of a pixel lies a quarter off two of the new ones.
BandMatrix doubled(const BandMatrix& band) {
    BandMatrix result(2 * band.rows(), 2 * band.cols());
    for (Eigen::Index y = 0; y < result.rows(); ++y) {
        const Eigen::Index near = y / 2;
        const Eigen::Index far =
            std::clamp<Eigen::Index>(y % 2 == 0 ? near - 1 : near + 1, 0, band.rows() - 1);
        for (Eigen::Index x = 0; x < result.cols(); ++x) {
            const Eigen::Index left = x / 2;
            const Eigen::Index right =
                std::clamp<Eigen::Index>(x % 2 == 0 ? left - 1 : left + 1, 0, band.cols() - 1);
            result(y, x) = (9.0F * band(near, left) + 3.0F * (band(near, right) + band(far, left)) +
                            band(far, right)) /
                           16.0F;
        }
    }
    return result;
}

/// @param step pixels from one scan line to the next
std::vector<Code> decode(const Bytes& bytes, int step) {
    const std::unique_ptr<zbar::zbar_image_scanner_t, ScannerDeleter> scanner(
        zbar::zbar_image_scanner_create());
    zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    for (const zbar::zbar_config_t direction :
         {zbar::ZBAR_CFG_X_DENSITY, zbar::ZBAR_CFG_Y_DENSITY}) {
        zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_NONE, direction, step);
    }
    const std::unique_ptr<zbar::zbar_image_t, ImageDeleter> image(zbar::zbar_image_create());
    zbar::zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar::zbar_image_set_size(
        image.get(), static_cast<unsigned>(bytes.cols()), static_cast<unsigned>(bytes.rows()));
    zbar::zbar_image_set_data(
        image.get(), bytes.data(), static_cast<unsigned long>(bytes.size()), nullptr);
    zbar::zbar_scan_image(scanner.get(), image.get());
    std::vector<Code> codes;
    std::set<std::string> known;
    for (const auto* symbol = zbar::zbar_image_first_symbol(image.get()); symbol != nullptr;
         symbol = zbar::zbar_symbol_next(symbol)) {
        constexpr unsigned kCorners = 4;
        Code code;
        code.text = {zbar::zbar_symbol_get_data(symbol), zbar::zbar_symbol_get_data_length(symbol)};
        if (zbar::zbar_symbol_get_loc_size(symbol) != kCorners || !known.insert(code.text).second) {
            continue;
        }
        for (unsigned i = 0; i < kCorners; ++i) {
            code.corners.emplace_back(zbar::zbar_symbol_get_loc_x(symbol, i),
                                      zbar::zbar_symbol_get_loc_y(symbol, i));
        }
        codes.push_back(std::move(code));
    }
    return codes;
}

std::vector<Code> tryOnce(const BandMatrix& band, const Attempt& attempt) {
    const Range range = rangeOf(band, attempt.percentiles);
    if (!(range.high > range.low)) {
        return {};
    }
    double pixels = 1.0; // of the shown image, a pixel of the band
    std::vector<Code> codes;
    if (attempt.scale == 1) {
        codes = decode(stretched(band, range), band.size() > kLarge ? 2 : 1);
    } else if (attempt.scale > 1) {
        pixels = 2.0;
        codes = decode(stretched(doubled(band), range), 1);
    } else {
        const Eigen::Index factor = -attempt.scale;
        if (std::min(band.rows(), band.cols()) / factor < kSmallestSide) {
            return {};
        }
        pixels = 1.0 / static_cast<double>(factor);
        codes = decode(stretched(reduced(band, factor), range), 1);
    }
    for (Code& code : codes) {
        for (Eigen::Vector2d& corner : code.corners) {
            corner = ((corner.array() + 0.5) / pixels - 0.5).matrix();
        }
    }
    return codes;
}

} // namespace

std::vector<Code> readCodes(const BandMatrix& band) {
    for (std::size_t i = 0; i < kAttempts.size(); ++i) {
        const Attempt& attempt = kAttempts[i];
        if (i > 0 && attempt.scale > 0 && band.size() > kLarge) {
            continue;
        }
        std::vector<Code> codes = tryOnce(band, attempt);
        if (!codes.empty()) {
            return codes;
        }
    }
    return {};
}

} // namespace tessik::target
