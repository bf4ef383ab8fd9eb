#include "platform/exif/cameras/SequoiaIrradiance.h"

#include <QtCore/QByteArray>
#include <QtCore/QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace tessik::exif {
namespace {

/// Bytes of a record, and whether gain index and integration time are in it.
struct Layout {
    int size;
    bool hasGain;
};
constexpr std::array<Layout, 2> kLayouts = {Layout{28, true}, Layout{24, false}};

constexpr int kReferenceGain = 1;
constexpr int kMaxGainIndex = 3;
constexpr double kSaturated = 65535.0;

struct Record {
    std::uint64_t microseconds = 0;
    double count = 0.0;
    int gainIndex = kReferenceGain;
    double integrationSeconds = 0.1;
    Eigen::Vector3d yawPitchRoll = Eigen::Vector3d::Zero();
};

/// The bytes that a text stands for; empty when it is not the one way to write some bytes in
/// base64.
QByteArray decodeBase64(const std::string& text) {
    QByteArray compact;
    compact.reserve(static_cast<int>(text.size()));
    for (const char c : text) {
        if (c != '\n' && c != '\r' && c != '\t' && c != ' ') {
            compact.append(c);
        }
    }
    const QByteArray bytes = QByteArray::fromBase64(compact);
    return bytes.toBase64() == compact ? bytes : QByteArray();
}

Record readRecord(const char* bytes, const Layout& layout) {
    Record record;
    record.microseconds = qFromLittleEndian<quint64>(bytes);
    record.count = qFromLittleEndian<quint16>(bytes + 8);
    if (layout.hasGain) {
        record.gainIndex = qFromLittleEndian<quint16>(bytes + 12);
        record.integrationSeconds = 1e-3 * qFromLittleEndian<quint16>(bytes + 14);
    }
    const char* angle = bytes + layout.size - 12;
    for (double& degrees : record.yawPitchRoll) {
        degrees = static_cast<double>(qFromLittleEndian<float>(angle));
        angle += 4;
    }
    return record;
}

/// The records of a list; empty when the bytes are not a list of this layout.
std::vector<Record> readRecords(const QByteArray& bytes, const Layout& layout) {
    if (bytes.size() % layout.size != 0) {
        return {};
    }
    std::vector<Record> records;
    for (int i = 0; i < bytes.size(); i += layout.size) {
        const Record record = readRecord(bytes.constData() + i, layout);
        const bool isRising = records.empty() || record.microseconds > records.back().microseconds;
        if (!isRising || record.gainIndex > kMaxGainIndex) {
            return {};
        }
        records.push_back(record);
    }
    return records;
}

/// Counts a millisecond under the calibration lamp; absent when that gain was not measured, or
/// measured in the dark or in saturation.
std::optional<double> lampRate(const std::vector<double>& calibration, int gainIndex) {
    std::optional<double> rate;
    for (std::size_t row = 0; row + 3 < calibration.size(); row += 4) {
        const double milliseconds = calibration[row + 1];
        const double count = calibration[row + 2];
        if (calibration[row] != gainIndex) {
            continue;
        }
        if (rate || !(milliseconds > 0.0 && std::isfinite(milliseconds)) ||
            !(count > 0.0 && count < kSaturated)) {
            return std::nullopt;
        }
        rate = count / milliseconds;
    }
    return rate;
}

std::optional<double> relativeGain(const std::vector<double>& calibration, int gainIndex) {
    if (gainIndex == kReferenceGain) {
        return 1.0;
    }
    const auto rate = lampRate(calibration, gainIndex);
    const auto reference = lampRate(calibration, kReferenceGain);
    return calibration.size() % 4 == 0 && rate && reference ? std::optional(*rate / *reference)
                                                            : std::nullopt;
}

/// What makes a record unusable; null = nothing.
const char* fault(const Record& record, const std::optional<double>& gain) {
    constexpr double kFullTurn = 360.0;
    if (record.count == 0.0) {
        return "counts of 0";
    }
    if (record.count == kSaturated) {
        return "saturated counts";
    }
    if (record.integrationSeconds == 0.0) {
        return "no integration time";
    }
    if (!(record.yawPitchRoll.array().abs() <= kFullTurn).all()) {
        return "angles that are none";
    }
    return gain ? nullptr : "a gain that the calibration does not give";
}

/// Takes the angles of the record nearest to the image in time; absent when that is too far to say
/// anything.
std::optional<Eigen::Vector3d> poseAt(double imageSeconds, const std::vector<Record>& records) {
    constexpr double kMaxSeconds = 2.0; // ten times the usual distance of two records
    const auto distance = [imageSeconds](const Record& record) {
        return std::abs(1e-6 * static_cast<double>(record.microseconds) - imageSeconds);
    };
    const auto nearest =
        std::min_element(records.begin(), records.end(), [&](const Record& a, const Record& b) {
            return distance(a) < distance(b);
        });
    return distance(*nearest) <= kMaxSeconds ? std::optional(nearest->yawPitchRoll) : std::nullopt;
}

SequoiaIrradiance noReading(const std::string& reason) {
    SequoiaIrradiance result;
    result.reason = reason;
    return result;
}

SequoiaIrradiance evaluate(const std::vector<Record>& records,
                           const std::vector<double>& calibration,
                           std::optional<double> imageSeconds) {
    std::vector<Record> usable;
    double sum = 0.0;
    const char* lastFault = nullptr;
    for (const Record& record : records) {
        const auto gain = relativeGain(calibration, record.gainIndex);
        if (const char* found = fault(record, gain); found != nullptr) {
            lastFault = found;
            continue;
        }
        sum += record.count / (*gain * record.integrationSeconds);
        usable.push_back(record);
    }
    if (2 * usable.size() < records.size()) {
        return noReading(std::string("too many of its records hold ") + lastFault);
    }
    SequoiaIrradiance result;
    result.irradiance = sum / static_cast<double>(usable.size());
    if (imageSeconds) {
        result.yawPitchRoll = poseAt(*imageSeconds, usable);
    }
    if (!result.yawPitchRoll) {
        result.reason = "none of its records is near the image in time, so that the orientation of "
                        "the sun sensor is not known";
    }
    return result;
}

} // namespace

SequoiaIrradiance decodeSequoiaIrradiance(const std::string& text,
                                          const std::vector<double>& calibration,
                                          std::optional<double> imageSeconds) {
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return {};
    }
    const QByteArray bytes = decodeBase64(text);
    if (bytes.isEmpty()) {
        return noReading("it is not base64");
    }
    std::vector<std::vector<Record>> readings;
    bool hasWholeRecords = false;
    for (const Layout& layout : kLayouts) {
        hasWholeRecords = hasWholeRecords || bytes.size() % layout.size == 0;
        std::vector<Record> records = readRecords(bytes, layout);
        if (!records.empty()) {
            readings.push_back(std::move(records));
        }
    }
    if (!hasWholeRecords) {
        return noReading("its size is not that of whole records");
    }
    if (readings.empty()) {
        return noReading("its records hold unknown gain indices, or times that do not rise");
    }
    if (readings.size() > 1) {
        return noReading("it can be read in two ways");
    }
    return evaluate(readings.front(), calibration, imageSeconds);
}

} // namespace tessik::exif
