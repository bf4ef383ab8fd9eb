#include "platform/exif/Promises.h"

// The bytes are a TIFF or JPEG file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessik;
    static const fuzz::File file(".tif");
    try {
        fuzz::requireSound(exif::readMetadata(file.write(data, size)));
    } catch (const exif::Error&) { // refused
    }
    return 0;
}
