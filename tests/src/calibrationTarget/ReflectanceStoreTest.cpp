#include "radiometry/calibrationTarget/ReflectanceStore.h"

#include "radiometry/core/Types.h"
#include "support/Settings.h"
#include "support/Support.h"

#include <QtCore/QSettings>
#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

namespace tessik::radiometry {
namespace {

using test::TemporarySettings;

TEST(ReflectanceStore, keysNameTypeTargetAndBandToOneDecimal) {
    const TemporarySettings settings;
    saveCalibrationTargetReflectanceInDb({TargetType::AirCalib, "ABC123", {550.04, 40.0}}, 0.5F);
    saveCalibrationTargetReflectanceInDb({TargetType::Tags12, "ABC123", {550.0, 40.0}}, 0.1F);
    saveCalibrationTargetReflectanceInDb({TargetType(7), "a/b", {717.24, 10.0}}, 0.2F);
    EXPECT_EQ(QSettings().value("CalibrationTargets/AirCalib/ABC123/550.0_40.0").toFloat(), 0.5F);
    EXPECT_EQ(getCalibrationTargetReflectanceFromDb({TargetType::AirCalib, "ABC123", {550.01, 40}}),
              0.5F);
    EXPECT_FALSE(
        getCalibrationTargetReflectanceFromDb({TargetType::AirCalib, "ABC123", {550.06, 40.0}}));

    std::vector<std::string> listed;
    for (const CalibrationTargetKey& key : getCalibrationTargetKeysFromDb()) {
        listed.push_back(text::toString(key.type).toStdString() + " " + key.id.toStdString() + " " +
                         std::to_string(key.band.wavelengthNm));
    }
    EXPECT_EQ(listed,
              (std::vector<std::string>{"AirCalib ABC123 550.000000",
                                        "tags_12 ABC123 550.000000",
                                        "unknown a/b 717.200000"}));
    removeCalibrationTargetReflectanceFromDb({TargetType::AirCalib, "ABC123", {550.0, 40.0}});
    EXPECT_EQ(getCalibrationTargetKeysFromDb().size(), 2U);
}

TEST(ReflectanceStore, readsWhatTheSettingsConvertToANumber) {
    const TemporarySettings settings;
    const CalibrationTargetKey key{TargetType::Tags6, "7", {475.0, 20.0}};
    const auto read = [&key](const QVariant& value) {
        QSettings().setValue("CalibrationTargets/tags_6/7/475.0_20.0", value);
        return getCalibrationTargetReflectanceFromDb(key);
    };
    EXPECT_EQ(read(QStringLiteral("0.25")), 0.25F);
    EXPECT_EQ(read(0.1), 0.1F);
    EXPECT_EQ(read(QStringLiteral("a quarter")), 0.0F);
    EXPECT_FALSE(read(QStringList{"0.25", "0.5"}));
}

TEST(ReflectanceStore, anUpdateOverwritesWhatIsStoredAndKeepsTheRest) {
    const TemporarySettings settings;
    const bands_t bands = {{475, 20}, {560, 20}, {668, 10}};
    CalibrationTarget target;
    target.id = "RP";
    target.reflectanceFactors = {0.1, 0.2, 0.3};
    EXPECT_EQ(test::messageOf<error>([&] {
                  saveCalibrationTargetReflectanceInDb(target, {bands[0], bands[1], bands[2], {}});
              }),
              "Target RP: 3 reflectance factors for 4 bands");
    EXPECT_TRUE(getCalibrationTargetKeysFromDb().empty());
    saveCalibrationTargetReflectanceInDb(target, {bands[0]});

    target.reflectanceFactors = {0.9, 0.8};
    updateCalibrationTargetReflectanceFromDb(bands, target);
    EXPECT_EQ(target.reflectanceFactors,
              (std::vector<double>{static_cast<double>(0.1F), 0.8, 0.0}));
    updateCalibrationTargetReflectanceFromDb({bands[1]}, target);
    EXPECT_EQ(target.reflectanceFactors, (std::vector<double>{static_cast<double>(0.1F)}));
}

} // namespace
} // namespace tessik::radiometry
