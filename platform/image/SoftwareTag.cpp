#include "platform/image/SoftwareTag.h"

#include "platform/image/Error.h"

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace tessik::image {
namespace {

constexpr std::uint32_t kProcessingSoftware = 0x000B;

struct TiffDeleter {
    void operator()(TIFF* file) const { TIFFClose(file); }
};
using TiffPointer = std::unique_ptr<TIFF, TiffDeleter>;

/// What libtiff complains of becomes the text of the error, or nothing.
int keepMessage(
    TIFF* /*file*/, void* text, const char* /*module*/, const char* format, va_list args) {
    std::array<char, 256> message{};
    (void)std::vsnprintf(message.data(), message.size(), format, args);
    *static_cast<std::string*>(text) = message.data();
    return 1;
}
int dropMessage(
    TIFF* /*file*/, void* /*text*/, const char* /*module*/, const char* /*format*/, va_list) {
    return 1;
}

TiffPointer open(const std::string& path, const char* mode, std::string& message) {
    const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
        TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &keepMessage, &message);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &dropMessage, nullptr);
    TiffPointer file(TIFFOpenExt(path.c_str(), mode, options.get()));
    if (!file) {
        throw Error(message.empty() ? "not a readable TIFF image" : message);
    }
    return file;
}

/// libtiff does not know the tag. Where a file has it, it was declared when the directory was read,
/// as a text that comes with its count; to declare tags before that is a setting of the whole
/// process.
const TIFFField* fieldIn(TIFF* file) {
    const TIFFField* field = TIFFFindField(file, kProcessingSoftware, TIFF_ANY);
    const bool isTextWithCount = field != nullptr && TIFFFieldDataType(field) == TIFF_ASCII &&
                                 TIFFFieldPassCount(field) != 0 &&
                                 TIFFFieldReadCount(field) == TIFF_VARIABLE2;
    return isTextWithCount ? field : nullptr;
}

void declareTag(TIFF* file) {
    static const TIFFFieldInfo info = {kProcessingSoftware,
                                       TIFF_VARIABLE2,
                                       TIFF_VARIABLE2,
                                       TIFF_ASCII,
                                       FIELD_CUSTOM,
                                       1,
                                       1,
                                       const_cast<char*>("ProcessingSoftware")};
    TIFFMergeFieldInfo(file, &info, 1);
}

/// What follows the first NUL is padding.
std::string trimmed(std::string text) {
    constexpr const char* kBlanks = " \t\r\n";
    text.resize(std::min(text.size(), text.find('\0')));
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string::npos
               ? std::string()
               : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

} // namespace

std::string readProcessingSoftware(const std::string& path) {
    std::string message;
    const TiffPointer file = open(path, "r", message);
    std::uint32_t count = 0;
    const char* text = nullptr;
    if (fieldIn(file.get()) == nullptr ||
        TIFFGetField(file.get(), kProcessingSoftware, &count, &text) == 0 || text == nullptr) {
        return {};
    }
    return trimmed(std::string(text, count));
}

void writeProcessingSoftware(const std::string& path, const std::string& text) {
    std::string message;
    const TiffPointer file = open(path, "r+", message);
    if (fieldIn(file.get()) == nullptr) {
        declareTag(file.get());
    }
    const auto count = static_cast<std::uint32_t>(text.size() + 1);
    if (TIFFSetField(file.get(), kProcessingSoftware, count, text.c_str()) == 0 ||
        TIFFRewriteDirectory(file.get()) == 0) {
        throw Error(message.empty() ? "the tag ProcessingSoftware cannot be written" : message);
    }
}

} // namespace tessik::image
