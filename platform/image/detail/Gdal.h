#pragma once

/// @file
/// How this library calls GDAL. Not for its users.

#include <cpl_conv.h>
#include <cpl_error.h>
#include <gdal.h>

#include <memory>
#include <mutex>
#include <string>

namespace tessik::image::detail {

/// Collects GDAL's messages of this thread instead of printing them; keeps the first failure.
class ErrorScope {
public:
    ErrorScope() { CPLPushErrorHandlerEx(&ErrorScope::handle, this); }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;
    ~ErrorScope() { CPLPopErrorHandler(); }

    [[nodiscard]] bool failed() const { return m_failed; }
    /// The first failure's text, on one line and without the path that it may repeat, or the
    /// fallback.
    [[nodiscard]] std::string reason(const std::string& path, const std::string& fallback) const {
        std::string text = m_reason;
        for (auto at = text.find(path); at != std::string::npos && !path.empty();
             at = text.find(path)) {
            const auto end = text.find_first_not_of(": ", at + path.size());
            text.erase(at, end == std::string::npos ? end : end - at);
        }
        return text.empty() ? fallback : fallback + " (" + text + ")";
    }

private:
    static void CPL_STDCALL handle(CPLErr kind, CPLErrorNum /*number*/, const char* message) {
        auto* self = static_cast<ErrorScope*>(CPLGetErrorHandlerUserData());
        if (kind < CE_Failure || self->m_failed) {
            return;
        }
        self->m_failed = true;
        for (const char* c = message; *c != '\0'; ++c) {
            self->m_reason += (*c == '\n' || *c == '\r') ? ' ' : *c;
        }
    }

    bool m_failed = false;
    std::string m_reason;
};

/// Settings that hold for our own calls in this thread only: the folder of an image is not listed
/// (it may hold thousands of files), no file is left or looked for beside it, and uncompressed
/// pixels are read without a stay in the block cache.
class GdalScope {
public:
    GdalScope()
        : m_readDir("GDAL_DISABLE_READDIR_ON_OPEN", "EMPTY_DIR", false),
          m_pam("GDAL_PAM_ENABLED", "NO", false), m_directIo("GTIFF_DIRECT_IO", "YES", false) {
        static std::once_flag registered;
        std::call_once(registered, GDALAllRegister);
    }

private:
    CPLConfigOptionSetter m_readDir;
    CPLConfigOptionSetter m_pam;
    CPLConfigOptionSetter m_directIo;
};

struct CloseDataset {
    void operator()(GDALDatasetH dataset) const { GDALClose(dataset); }
};
using DatasetPointer = std::unique_ptr<void, CloseDataset>;

} // namespace tessik::image::detail
