#include "platform/image/PendingFile.h"

#include "platform/image/Error.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace tessik::image {
namespace {

/// The file is hidden, and has the ending of the final name: what writes it may decide by the
/// ending.
std::string temporaryPathFor(const std::string& path) {
    const auto final = std::filesystem::u8path(path);
    return (final.parent_path() /
            ("." + final.stem().u8string() + ".partial" + final.extension().u8string()))
        .u8string();
}

} // namespace

PendingFile::PendingFile(std::string finalPath)
    : m_final(std::move(finalPath)), m_temporary(temporaryPathFor(m_final)) {}

PendingFile::~PendingFile() {
    if (!m_committed) {
        std::error_code ignored;
        std::filesystem::remove(std::filesystem::u8path(m_temporary), ignored);
    }
}

void PendingFile::commit() {
    std::error_code failure;
    std::filesystem::rename(
        std::filesystem::u8path(m_temporary), std::filesystem::u8path(m_final), failure);
    if (failure) {
        throw Error("cannot be renamed into place: " + failure.message());
    }
    m_committed = true;
}

} // namespace tessik::image
