#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace tessik::app {

/// A value of a JSON document, and where it stands. What is not as expected throws a
/// std::runtime_error that names that place: "run.json: cameras[0].name: not a text".
class JsonReader {
public:
    /// @param value must outlive this
    /// @param file path of the document
    JsonReader(const nlohmann::ordered_json& value, const std::string& file)
        : JsonReader(value, file, {}) {}

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
    JsonReader(const nlohmann::ordered_json& value, const std::string& file, std::string place);

    const nlohmann::ordered_json* m_value;
    std::string m_file;
    std::string m_place;
};

/// The document of a file. @throws std::runtime_error that names the file and what is wrong
nlohmann::ordered_json readJson(const std::string& file);

/// A document as text, on one line or indented. Texts that are not UTF-8 are mended; no control
/// character of a text stays as it is, so that it may be shown on a terminal.
std::string jsonText(const nlohmann::ordered_json& document, int indent = -1);

/// Writes a document; it appears whole or not at all. @throws std::runtime_error
void writeJson(const std::string& file, const nlohmann::ordered_json& document);

} // namespace tessik::app
