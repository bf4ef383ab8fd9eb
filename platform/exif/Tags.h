#pragma once

/// @file
/// EXIF and XMP tags as text, free of the library that read them.

#include "platform/export.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessik::exif {

/// A number as cameras write it: decimal, with sign, "a/b", "inf", "nan"; nothing else around it
/// but blanks. A zero denominator gives a value that is not finite.
TESSIK_READERS_EXPORT std::optional<double> parseNumber(std::string_view text);

/// All numbers of the texts, each split at commas and blanks; empty when any piece is not a number.
TESSIK_READERS_EXPORT std::vector<double> parseNumbers(const std::vector<std::string>& texts);

/// The text split at commas, pieces trimmed.
TESSIK_READERS_EXPORT std::vector<std::string> splitList(std::string_view text);

/// The tags of one file. A value is a list of texts: the components of an EXIF value (an ASCII
/// value is one component), the items of an XMP array, or the one text of a plain XMP property.
class TESSIK_READERS_EXPORT Tags {
public:
    /// Components or items of a tag, in file order.
    using Value = std::vector<std::string>;

    /// @param key as in "Exif.Photo.ExposureTime"
    void addExif(const std::string& key, Value value);
    /// @param prefix as the file writes it ("Camera")
    void addXmp(const std::string& prefix, const std::string& name, Value value);

    /// EXIF value, or null.
    [[nodiscard]] const Value* exif(const std::string& key) const;
    /// First component as text, trimmed; empty when absent.
    [[nodiscard]] std::string exifText(const std::string& key) const;
    /// First component; absent when there is none, or it is not a number.
    [[nodiscard]] std::optional<double> exifNumber(const std::string& key) const;
    /// All components, as parseNumbers.
    [[nodiscard]] std::vector<double> exifNumbers(const std::string& key) const;

    /// XMP value under that very prefix, else under another one, but for prefixes whose names have
    /// a meaning of their own ("DLS", "tiff", ...); or null. Names compare without case: makers
    /// spell one tag in several ways.
    [[nodiscard]] const Value* xmp(const std::string& prefix, const std::string& name) const;
    /// First item of the value that xmp gives, as exifText.
    [[nodiscard]] std::string xmpText(const std::string& prefix, const std::string& name) const;
    /// First item, as exifNumber.
    [[nodiscard]] std::optional<double> xmpNumber(const std::string& prefix,
                                                  const std::string& name) const;
    /// All items, as parseNumbers.
    [[nodiscard]] std::vector<double> xmpNumbers(const std::string& prefix,
                                                 const std::string& name) const;

private:
    std::map<std::string, Value> m_exif;
    /// By lower-case name: (prefix, value) in file order.
    std::map<std::string, std::vector<std::pair<std::string, Value>>> m_xmp;
};

} // namespace tessik::exif
