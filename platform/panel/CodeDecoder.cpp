#include "platform/panel/CodeDecoder.h"

#include <zbar.h>

#include <memory>
#include <utility>

namespace tessik::target {
namespace {

struct ScannerDeleter {
    void operator()(zbar::zbar_image_scanner_t* scanner) const {
        zbar::zbar_image_scanner_destroy(scanner);
    }
};
struct ImageDeleter {
    void operator()(zbar::zbar_image_t* image) const { zbar::zbar_image_destroy(image); }
};

} // namespace

std::vector<Code> decode(const Bytes& picture) {
    const std::unique_ptr<zbar::zbar_image_scanner_t, ScannerDeleter> scanner(
        zbar::zbar_image_scanner_create());
    zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    for (const zbar::zbar_config_t direction :
         {zbar::ZBAR_CFG_X_DENSITY, zbar::ZBAR_CFG_Y_DENSITY}) {
        zbar::zbar_image_scanner_set_config(scanner.get(), zbar::ZBAR_NONE, direction, 1);
    }
    const std::unique_ptr<zbar::zbar_image_t, ImageDeleter> image(zbar::zbar_image_create());
    zbar::zbar_image_set_format(image.get(), zbar_fourcc('Y', '8', '0', '0'));
    zbar::zbar_image_set_size(
        image.get(), static_cast<unsigned>(picture.cols()), static_cast<unsigned>(picture.rows()));
    zbar::zbar_image_set_data(
        image.get(), picture.data(), static_cast<unsigned long>(picture.size()), nullptr);
    zbar::zbar_scan_image(scanner.get(), image.get());
    std::vector<Code> codes;
    for (const auto* symbol = zbar::zbar_image_first_symbol(image.get()); symbol != nullptr;
         symbol = zbar::zbar_symbol_next(symbol)) {
        constexpr unsigned kCorners = 4;
        if (zbar::zbar_symbol_get_loc_size(symbol) != kCorners) {
            continue;
        }
        Code code;
        code.text = {zbar::zbar_symbol_get_data(symbol), zbar::zbar_symbol_get_data_length(symbol)};
        for (unsigned i = 0; i < kCorners; ++i) {
            code.corners.emplace_back(zbar::zbar_symbol_get_loc_x(symbol, i),
                                      zbar::zbar_symbol_get_loc_y(symbol, i));
        }
        codes.push_back(std::move(code));
    }
    return codes;
}

} // namespace tessik::target
