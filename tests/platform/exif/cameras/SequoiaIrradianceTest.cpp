#include "platform/exif/cameras/SequoiaIrradiance.h"

#include <QtCore/QByteArray>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

namespace tessik::exif {
namespace {

/// Rows of gain index, ms, channel 0, channel 1, as in a camera's file.
const std::vector<double> kCalibration = {
    0, 600, 14, 1, 1, 600, 323, 37, 2, 600, 5391, 626, 3, 600, 65535, 15660};

struct Record {
    std::uint64_t microseconds;
    std::uint16_t count;
    std::uint16_t gainIndex;
    std::uint16_t milliseconds;
    float yaw;
    float pitch = 0.0F;
    float roll = 0.0F;
};

template <typename Value>
void append(QByteArray& bytes, Value value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    for (std::size_t i = 0; i < sizeof value; ++i) {
        bytes.append(static_cast<char>((bits >> (8 * i)) & 0xFFU));
    }
}

std::string list(const std::vector<Record>& records, bool hasGain = true) {
    QByteArray bytes;
    for (const Record& r : records) {
        append(bytes, r.microseconds);
        append(bytes, r.count);
        append(bytes, std::uint16_t{7});
        if (hasGain) {
            append(bytes, r.gainIndex);
            append(bytes, r.milliseconds);
        }
        append(bytes, r.yaw);
        append(bytes, r.pitch);
        append(bytes, r.roll);
    }
    return bytes.toBase64().toStdString();
}

/// Texts made with Python's struct and base64 from the records named beside them.
TEST(SequoiaIrradiance, theReadingIsTheMeanOfCountsASecondAtTheReferenceGain) {
    // (150000000, 120, 15, 2, 100, 10.5, -1.25, 2.0), (150200000, 60, 8, 1, 300, 11.5, -1.5, 2.5),
    // (150400000, 65535, 9, 1, 300, 12.5, -1.75, 3.0)
    const SequoiaIrradiance read =
        decodeSequoiaIrradiance("\ngNHwCAAAAAB4AA8AAgBkAAAAKEEAAKC/"
                                "AAAAQMDe8wgAAAAAPAAIAAEALAEAADhBAADAvwAAIEAA7PYIAAAAAP//\n"
                                " CQABACwBAABIQQAA4L8AAEBA\n",
                                kCalibration,
                                150.12);
    ASSERT_TRUE(read.irradiance) << read.reason;
    const double gain2 = 5391.0 / 323.0;
    EXPECT_DOUBLE_EQ(*read.irradiance, 0.5 * (120.0 / (gain2 * 0.1) + 60.0 / 0.3));
    EXPECT_EQ(read.yawPitchRoll, Eigen::Vector3d(11.5, -1.5, 2.5));
    EXPECT_EQ(read.reason, "");

    // The first two without gain and integration time.
    const SequoiaIrradiance old = decodeSequoiaIrradiance(
        "gNHwCAAAAAB4AA8AAAAoQQAAoL8AAABAwN7zCAAAAAA8AAgAAAA4QQAAwL8AACBA", {}, 149.9);
    ASSERT_TRUE(old.irradiance) << old.reason;
    EXPECT_DOUBLE_EQ(*old.irradiance, 0.5 * (120.0 / 0.1 + 60.0 / 0.1));
    EXPECT_EQ(old.yawPitchRoll, Eigen::Vector3d(10.5, -1.25, 2.0));
}

struct FaultCase {
    const char* what;
    std::string text;
    std::vector<double> calibration;
    const char* reason; ///< null = the reading is 1000
};

TEST(SequoiaIrradiance, aFaultGivesAReasonInsteadOfAReading) {
    const Record good = {1000000, 100, 1, 100, 1.0F};
    const Record later = {1200000, 100, 1, 100, 1.0F};
    const auto with = [&](auto change) {
        Record bad = {1400000, 100, 1, 100, 1.0F};
        change(bad);
        return std::vector<Record>{good, later, bad};
    };
    const auto alone = [&](auto change) {
        Record bad = good;
        change(bad);
        return std::vector<Record>{bad};
    };
    const auto dark = [](Record& r) { r.count = 0; };
    const auto bright = [](Record& r) { r.count = 65535; };
    const auto still = [](Record& r) { r.milliseconds = 0; };
    const auto lost = [](Record& r) { r.pitch = NAN; };
    const auto far = [](Record& r) { r.roll = 1e9F; };
    const auto changed = [](std::size_t i, double value) {
        std::vector<double> rows = kCalibration;
        rows[i] = value;
        return rows;
    };
    std::vector<double> brokenRow = kCalibration;
    brokenRow.push_back(4.0);
    const auto gain = [](std::uint16_t index) {
        return [index](Record& r) { r.gainIndex = index; };
    };
    const std::string text = list({good, later});
    const char* const kNoBase64 = "it is not base64";
    const char* const kSize = "its size is not that of whole records";
    const char* const kStructure =
        "its records hold unknown gain indices, or times that do not rise";
    const char* const kGain =
        "too many of its records hold a gain that the calibration does not give";
    const FaultCase cases[] = {
        {"good", text, kCalibration, nullptr},
        {"the reference gain needs no calibration", text, {}, nullptr},
        {"foreign character", "*" + text.substr(1), kCalibration, kNoBase64},
        {"character too many", text + "A", kCalibration, kNoBase64},
        {"no padding", text.substr(0, text.size() - 1), kCalibration, kNoBase64},
        {"bits in the padding", "AB==", kCalibration, kNoBase64},
        {"odd size", "AAAA" + text, kCalibration, kSize},
        {"one byte", "AA==", kCalibration, kSize},
        {"time runs back", list({later, good}), kCalibration, kStructure},
        {"time stands still", list({good, good}), kCalibration, kStructure},
        {"unknown gain", list(with(gain(4))), kCalibration, kStructure},
        {"one dark", list(with(dark)), kCalibration, nullptr},
        {"one saturated", list(with(bright)), kCalibration, nullptr},
        {"one without time", list(with(still)), kCalibration, nullptr},
        {"one without angles", list(with(lost)), kCalibration, nullptr},
        {"one without gain", list(with(gain(3))), kCalibration, nullptr},
        {"dark", list(alone(dark)), kCalibration, "too many of its records hold counts of 0"},
        {"saturated",
         list(alone(bright)),
         kCalibration,
         "too many of its records hold saturated counts"},
        {"no time",
         list(alone(still)),
         kCalibration,
         "too many of its records hold no integration time"},
        {"no angles",
         list(alone(lost)),
         kCalibration,
         "too many of its records hold angles that are none"},
        {"wild angles",
         list(alone(far)),
         kCalibration,
         "too many of its records hold angles that are none"},
        {"most are saturated",
         list({good, {1200000, 65535, 1, 100, 1.0F}, {1400000, 65535, 1, 100, 1.0F}}),
         kCalibration,
         "too many of its records hold saturated counts"},
        {"saturated lamp", list(alone(gain(3))), kCalibration, kGain},
        {"lamp off", list(alone(gain(2))), changed(10, 0.0), kGain},
        {"no number of the lamp", list(alone(gain(2))), changed(10, NAN), kGain},
        {"no lamp time", list(alone(gain(2))), changed(9, 0.0), kGain},
        {"no reference", list(alone(gain(2))), changed(6, 65535.0), kGain},
        {"two rows of one gain", list(alone(gain(2))), changed(0, 2.0), kGain},
        {"broken row", list(alone(gain(2))), brokenRow, kGain},
        {"no calibration", list(alone(gain(2))), {}, kGain}};
    for (const FaultCase& c : cases) {
        const SequoiaIrradiance read = decodeSequoiaIrradiance(c.text, c.calibration, 1.1);
        EXPECT_EQ(read.reason, c.reason == nullptr ? "" : c.reason) << c.what;
        ASSERT_EQ(read.irradiance.has_value(), c.reason == nullptr) << c.what;
        EXPECT_EQ(read.yawPitchRoll.has_value(), c.reason == nullptr) << c.what;
        if (read.irradiance) {
            EXPECT_DOUBLE_EQ(*read.irradiance, 1000.0) << c.what;
        }
    }
    EXPECT_EQ(decodeSequoiaIrradiance(" \n", kCalibration, 1.1).reason, ""); // nothing written
}

TEST(SequoiaIrradiance, thePoseNeedsARecordNearTheImage) {
    const std::string text = list({{1000000, 100, 1, 100, 1.0F}, {3000000, 100, 1, 100, 3.0F}});
    const auto yawAt = [&text](std::optional<double> seconds) {
        const SequoiaIrradiance read = decodeSequoiaIrradiance(text, kCalibration, seconds);
        EXPECT_TRUE(read.irradiance);
        EXPECT_EQ(read.reason.empty(), read.yawPitchRoll.has_value());
        return read.yawPitchRoll ? read.yawPitchRoll->x() : NAN;
    };
    EXPECT_EQ(yawAt(1.9), 1.0);
    EXPECT_EQ(yawAt(2.1), 3.0);
    EXPECT_EQ(yawAt(4.9), 3.0);
    EXPECT_TRUE(std::isnan(yawAt(5.1)));
    EXPECT_TRUE(std::isnan(yawAt({})));
}

TEST(SequoiaIrradiance, noMutationOfAListGivesAnImpossibleReading) {
    std::vector<Record> records;
    for (std::uint64_t i = 0; i < 10; ++i) {
        records.push_back({1000000 + 200000 * i, 34, 2, 100, -103.0F, 0.1F, -8.0F});
    }
    std::mt19937 random(20180413); // NOLINT(cert-msc51-cpp): the same texts in every run
    const auto below = [&random](std::size_t n) { return static_cast<std::size_t>(random()) % n; };
    int readings = 0;
    for (int trial = 0; trial < 8000; ++trial) {
        std::string text = list(records, trial % 2 == 0);
        if (trial % 4 < 2) { // bytes, so that the text stays base64
            QByteArray bytes = QByteArray::fromBase64(QByteArray::fromStdString(text));
            for (std::size_t n = below(6); n > 0; --n) {
                bytes[static_cast<int>(below(static_cast<std::size_t>(bytes.size())))] =
                    static_cast<char>(random());
            }
            text = bytes.left(bytes.size() - static_cast<int>(trial % 8 == 0 ? below(280) : 0))
                       .toBase64()
                       .toStdString();
        } else {
            for (std::size_t n = below(4); n > 0 && !text.empty(); --n) {
                const std::size_t at = below(text.size());
                switch (below(3)) {
                case 0:
                    text[at] = static_cast<char>(random());
                    break;
                case 1:
                    text.erase(at, below(60));
                    break;
                default:
                    text.insert(at, text.substr(below(text.size()), below(60)));
                }
            }
        }
        const SequoiaIrradiance read = decodeSequoiaIrradiance(text, kCalibration, 2.9);
        if (read.irradiance) {
            ++readings;
            ASSERT_TRUE(std::isfinite(*read.irradiance) && *read.irradiance > 0.0) << text;
            ASSERT_TRUE(!read.yawPitchRoll || read.yawPitchRoll->allFinite()) << text;
        } else {
            ASSERT_TRUE(!read.reason.empty() || std::all_of(text.begin(), text.end(), ::isspace))
                << text;
        }
    }
    EXPECT_GT(readings, 1000); // both roads were taken
    EXPECT_LT(readings, 7000);
}

} // namespace
} // namespace tessik::exif
