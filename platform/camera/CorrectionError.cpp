#include "platform/camera/CorrectionError.h"

#include "platform/camera/InputImage.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace tessik {
namespace {

constexpr int kImagesNamed = 5;

constexpr std::array<std::pair<std::uint32_t, const char*>, 3> kTexts = {{
    {1U, "no sun irradiance"},
    {2U, "no orientation of the sun irradiance sensor"},
    {4U, "no capture time"},
}};

bool isError(radiometry::ImageCorrectionError error) {
    return static_cast<std::uint32_t>(error) != 0;
}

} // namespace

bool CorrectionError::hasErrors() const {
    return m_isOutputUnplaced ||
           std::any_of(m_imageErrors.begin(), m_imageErrors.end(), [](const auto& entry) {
               return isError(entry.second);
           });
}

namespace text {

QString toString(radiometry::ImageCorrectionError missing) {
    QStringList texts;
    for (const auto& [flag, text] : kTexts) {
        if ((static_cast<std::uint32_t>(missing) & flag) != 0) {
            texts << QString::fromLatin1(text);
        }
    }
    return texts.join(QStringLiteral(", "));
}

QString toStringFull(const CorrectionError& error, const std::vector<InputImage>& images) {
    QStringList lines;
    if (error.isOutputUnplaced()) {
        lines << QStringLiteral("the output coordinate system cannot be converted to WGS 84");
    }
    if (!error.hasEnabledImages()) {
        lines << QStringLiteral("no enabled images");
    }
    int count = 0;
    for (const auto& [index, missing] : error.imageErrors()) {
        if (isError(missing) && ++count <= kImagesNamed) {
            const QString name =
                index < images.size() ? images[index].path : "image " + QString::number(index);
            lines << name + ": " + toString(missing);
        }
    }
    if (count > kImagesNamed) {
        lines << QStringLiteral("and %1 more").arg(count - kImagesNamed);
    }
    return lines.join(QStringLiteral("; "));
}

} // namespace text
} // namespace tessik
