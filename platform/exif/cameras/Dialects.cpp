#include "platform/exif/cameras/Dialects.h"

namespace tessik::exif {

const std::vector<Dialect>& dialects() {
    static const std::vector<Dialect> table = {
        kMicaSense, kSequoia, kDjiP4Multispectral, kDjiMavic3Multispectral, kSentera, kAirinov};
    return table;
}

} // namespace tessik::exif
