#include "JsonReader.h"

#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"

#include <QtCore/QString>

#include <array>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tessik::app {
namespace {

using Json = nlohmann::ordered_json;

} // namespace

JsonReader::JsonReader(const Json& value, const std::string& file, std::string place)
    : m_value(&value), m_file(file), m_place(std::move(place)) {}

void JsonReader::fail(const std::string& reason) const {
    throw std::runtime_error(m_file + ": " + (m_place.empty() ? "" : m_place + ": ") + reason);
}

JsonReader JsonReader::operator[](const std::string& key) const {
    if (!m_value->is_object() || !m_value->contains(key)) {
        fail("no \"" + key + "\"");
    }
    return {(*m_value)[key], m_file, m_place.empty() ? key : m_place + "." + key};
}

bool JsonReader::has(const std::string& key) const {
    return m_value->is_object() && m_value->contains(key);
}

std::vector<JsonReader> JsonReader::items() const {
    if (!m_value->is_array()) {
        fail("not a list");
    }
    std::vector<JsonReader> list;
    for (std::size_t i = 0; i < m_value->size(); ++i) {
        list.push_back({(*m_value)[i], m_file, m_place + "[" + std::to_string(i) + "]"});
    }
    return list;
}

std::string JsonReader::text() const {
    if (!m_value->is_string()) {
        fail("not a text");
    }
    return m_value->get<std::string>();
}

bool JsonReader::flag() const {
    if (!m_value->is_boolean()) {
        fail("neither true nor false");
    }
    return m_value->get<bool>();
}

std::int64_t JsonReader::integer() const {
    if (!m_value->is_number_integer()) {
        fail("not an integer");
    }
    constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
    if (m_value->is_number_unsigned() &&
        m_value->get<std::uint64_t>() > static_cast<std::uint64_t>(kLargest)) {
        fail("too large");
    }
    return m_value->get<std::int64_t>();
}

double JsonReader::number() const {
    if (!m_value->is_number()) {
        fail("not a number");
    }
    return m_value->get<double>();
}

std::vector<double> JsonReader::numbers() const {
    std::vector<double> list;
    for (const JsonReader& item : items()) {
        list.push_back(item.number());
    }
    return list;
}

std::uint64_t JsonReader::id() const {
    bool isId = false;
    const std::uint64_t value = QString::fromStdString(text()).toULongLong(&isId);
    if (!isId) {
        fail("not an identifier");
    }
    return value;
}

Json readJson(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error(file + ": cannot be read");
    }
    try {
        return Json::parse(stream);
    } catch (const Json::exception& failure) {
        throw std::runtime_error(file + ": not JSON: " + failure.what());
    }
}

std::string jsonText(const nlohmann::ordered_json& document, int indent) {
    const std::string text =
        document.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    // C0 is escaped by then. C1, U+0080 to U+009F, is C2 and a byte in UTF-8.
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
        if (byte == 0x7F) {
            result += "\\u007f";
        } else if (byte == 0xC2 && next < 0xA0) {
            constexpr std::array<char, 17> kDigits = {"0123456789abcdef"};
            result += "\\u00";
            result += kDigits[next / 16];
            result += kDigits[next % 16];
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

void writeJson(const std::string& file, const Json& document) {
    try {
        image::PendingFile pending(file);
        std::ofstream stream(pending.temporaryPath(), std::ios::binary);
        stream << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
        stream.close();
        if (!stream) {
            throw image::Error("cannot be written");
        }
        pending.commit();
    } catch (const image::Error& failure) {
        throw std::runtime_error(file + ": " + failure.what());
    }
}

} // namespace tessik::app
