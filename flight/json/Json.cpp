#include "flight/json/Json.h"

#include "platform/image/Error.h"
#include "platform/image/PendingFile.h"

#include <QtCore/QString>

#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tessik::flight {

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

std::string textOf(const Json& document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void writeWhole(const std::string& file, std::string_view bytes) {
    try {
        image::PendingFile pending(file);
        std::ofstream stream(pending.temporaryPath(), std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream) {
            throw image::Error("cannot be written: " + std::generic_category().message(errno));
        }
        pending.commit();
    } catch (const image::Error& failure) {
        throw std::runtime_error(file + ": " + failure.what());
    }
}

Json orNull(const std::optional<double>& number) {
    return number && std::isfinite(*number) ? Json(*number) : Json();
}

Json orNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

Json orNull(const std::vector<double>& numbers) {
    return numbers.empty() ? Json() : Json(numbers);
}

Json bandJson(const std::string* name, const BandInfo* band) {
    return {{"name", name == nullptr ? Json() : Json(*name)},
            {"wavelength_nm", band == nullptr ? Json() : Json(band->wavelengthNm)},
            {"fwhm_nm", band == nullptr ? Json() : Json(band->fwhmNm)}};
}

std::string exactText(double number) {
    return QString::number(number, 'g', 17).toStdString();
}

} // namespace tessik::flight
