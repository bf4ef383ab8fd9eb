#pragma once

#include "platform/export.h"

#include <string>

namespace tessik::image {

/// A file that appears only whole: it is written under a temporary name in the folder of its final
/// path, and renamed by commit(). Destroyed without commit, the temporary file is removed.
class TESSIK_PLATFORM_EXPORT PendingFile {
public:
    /// Chooses a name for the meantime. Nothing is written yet.
    explicit PendingFile(std::string finalPath);
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;
    ~PendingFile();

    /// Where to write meanwhile.
    [[nodiscard]] const std::string& temporaryPath() const { return m_temporary; }

    /// @throws image::Error when the rename fails.
    void commit();

private:
    std::string m_final;
    std::string m_temporary;
    bool m_committed = false;
};

} // namespace tessik::image
