#pragma once

#include "platform/camera/BandInfo.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessik::flight {

/// Members keep their order.
using Json = nlohmann::ordered_json;

/// A value of a JSON document, and where it stands. What is not as expected throws a
/// std::runtime_error that names that place: "run.json: cameras[0].name: not a text".
class JsonReader {
public:
    /// @param value must outlive this
    /// @param file path of the document
    JsonReader(const Json& value, const std::string& file) : JsonReader(value, file, {}) {}

    /// A member that has to be there.
    [[nodiscard]] JsonReader operator[](const std::string& key) const;
    [[nodiscard]] bool has(const std::string& key) const;
    [[nodiscard]] bool isNull() const { return m_value->is_null(); }
    [[nodiscard]] std::vector<JsonReader> items() const;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] bool flag() const;
    [[nodiscard]] std::int64_t integer() const;
    [[nodiscard]] double number() const;
    /// As number, each item.
    [[nodiscard]] std::vector<double> numbers() const;
    /// An identifier, written as decimal text.
    [[nodiscard]] std::uint64_t id() const;

    [[noreturn]] void fail(const std::string& reason) const;

private:
    JsonReader(const Json& value, const std::string& file, std::string place);

    const Json* m_value;
    std::string m_file;
    std::string m_place;
};

/// The document of a file. @throws std::runtime_error that names the file and what is wrong
Json readJson(const std::string& file);

/// A document as text, on one line or indented. Texts that are not UTF-8 are mended.
std::string textOf(const Json& document, int indent = -1);

/// Writes a file, which appears whole or not at all.
/// @throws std::runtime_error that names the file and the reason
void writeWhole(const std::string& file, std::string_view bytes);

/// null where a value is not known: absent, or not finite.
Json orNull(const std::optional<double>& number);
/// null for an empty text.
Json orNull(const std::string& text);
/// null for an empty list.
Json orNull(const std::vector<double>& numbers);

/// A band's name and wavelengths; null where they are not known.
Json bandJson(const std::string* name, const BandInfo* band);

/// The number as text that reads back to the same double.
std::string exactText(double number);

} // namespace tessik::flight
