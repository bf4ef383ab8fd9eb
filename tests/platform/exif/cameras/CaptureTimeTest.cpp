#include "platform/exif/ExifReader.h"
#include "platform/exif/TagBuilders.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace tessik::exif {
namespace {

using test::tagFile;
using test::TagList;

/// The number comes from `date -u -d "2017-10-19 20:42:10" +%s`.
constexpr double kSeconds = 1508445730.0;
const char* const kDate = "2017:10:19 20:42:10";

TagList withDate(const std::string& date, const TagList& more) {
    TagList tags = {{"Exif.Photo.DateTimeOriginal", {date}}};
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

struct ClockCase {
    const char* what;
    TagList tags;
    double seconds; ///< since kSeconds; NaN = no capture time
};

TEST(CaptureTime, dateAndFractionAreReadAsCamerasWriteThem) {
    const TagList utc = {{"Exif.Image.Make", {"MicaSense"}}};
    const auto fraction = [&utc](const char* digits) {
        TagList tags = utc;
        tags.push_back({"Exif.Photo.SubSecTime", {digits}});
        return withDate(kDate, tags);
    };
    const ClockCase cases[] = {
        {"plain", withDate(kDate, utc), 0.0},
        {"dashes", withDate("2017-10-19T20:42:11", utc), 1.0},
        {"digits", fraction("200159489"), 0.200159489},
        {"leading zeros count", fraction("050"), 0.05},
        {"negative", fraction("-182458"), -0.182458},
        {"nanoseconds without leading zeros", fraction("89040255"), 0.089040255},
        {"a few nanoseconds", fraction("9040255"), 0.009040255},
        {"longer than nanoseconds", fraction("1234567891"), 0.1234567891},
        {"padded", fraction("50  "), 0.5},
        {"no digits", fraction("1e3"), 0.0},
        {"a lone sign", fraction("-"), 0.0},
        {"leap day", withDate("2020:02:29 00:00:00", utc), 1582934400.0 - kSeconds},
        {"month 13", withDate("2017:13:19 20:42:10", utc), NAN},
        {"zeros", withDate("0000:00:00 00:00:00", utc), NAN},
        {"blank", withDate("    :  :     :  :  ", utc), NAN},
        {"clock not set", withDate("1970:01:01 00:02:30", utc), NAN},
        {"satellite clock not set", withDate("1980:01:06 00:00:10", utc), NAN}};
    for (const ClockCase& c : cases) {
        const double time = interpret(tagFile(c.tags)).geo.captureTime;
        EXPECT_NEAR(time, std::isnan(c.seconds) ? 0.0 : kSeconds + c.seconds, 1e-6) << c.what;
    }
}

struct ZoneCase {
    const char* what;
    TagList tags;
    std::optional<double> option;
    double hours; ///< taken off
    std::size_t warnings;
};

TEST(CaptureTime, theZoneIsStatedOrGivenOrEstimatedForClocksThatShowLocalTime) {
    const TagList west = {{"Exif.GPSInfo.GPSLatitudeRef", {"N"}},
                          {"Exif.GPSInfo.GPSLatitude", {"40/1", "29/1", "0/1"}},
                          {"Exif.GPSInfo.GPSLongitudeRef", {"W"}},
                          {"Exif.GPSInfo.GPSLongitude", {"83/1", "0/1", "0/1"}}};
    const auto with = [&west](const char* make, const char* model, const TagList& more) {
        TagList tags = west;
        tags.push_back({"Exif.Image.Make", {make}});
        tags.push_back({"Exif.Image.Model", {model}});
        tags.insert(tags.end(), more.begin(), more.end());
        return tags;
    };
    const TagList zone = {{"Exif.Photo.OffsetTimeOriginal", {"+05:30"}}};
    const auto stamps =
        [](const char* date, const char* hours, const char* minutes, TagList more = {}) {
            more.push_back({"Exif.GPSInfo.GPSDateStamp", {date}});
            more.push_back({"Exif.GPSInfo.GPSTimeStamp", {hours, minutes, "110/10"}});
            return more;
        };
    const TagList exposed = {{"Xmp.drone-dji.UTCAtExposure", {"2017-10-20T00:42:10.000000"}}};
    const ZoneCase cases[] = {
        {"estimated: 83 degrees are 5.5 hours", with("DJI", "X", {}), {}, -6.0, 1},
        {"given", with("DJI", "X", {}), -4.0, -4.0, 0},
        {"stated", with("DJI", "X", zone), -4.0, 5.5, 0},
        {"no maker", west, {}, -6.0, 1},
        {"receiver", with("DJI", "X", stamps("2017:10:20", "2", "12")), 7.0, -5.5, 0},
        {"receiver writes UTC too", with("DJI", "X", stamps("2017:10:19", "20", "42")), {}, 0.0, 0},
        {"receiver without a fix",
         with("DJI", "X", stamps("2017:10:20", "2", "12", {{"Exif.GPSInfo.GPSStatus", {"V"}}})),
         {},
         0.0,
         1},
        {"receiver days off", with("DJI", "X", stamps("2017:10:25", "2", "12")), -4.0, -4.0, 1},
        {"receiver minutes off", with("DJI", "X", stamps("2017:10:20", "2", "16")), {}, -5.5, 1},
        {"receiver of nonsense", with("DJI", "X", stamps("2017:10:20", "-2", "12")), 3.0, 3.0, 0},
        {"camera that writes UTC",
         with("Parrot", "Sequoia", stamps("2017:10:20", "2", "12")),
         {},
         0.0,
         0},
        {"moment of exposure", with("DJI", "X", exposed), 3.0, -4.0, 0},
        {"no position", {}, {}, 0.0, 1},
        {"no position, given", {}, 2.0, 2.0, 0},
        {"stated nonsense", {{"Exif.Photo.OffsetTimeOriginal", {"+-1:00"}}}, 2.0, 2.0, 0},
        {"stated too large", {{"Exif.Photo.OffsetTimeOriginal", {"+15:00"}}}, 2.0, 2.0, 0},
        {"MicaSense writes UTC", with("MicaSense", "RedEdge", {}), -4.0, 0.0, 0},
        {"so does the Sequoia", with("Parrot", "Sequoia", {}), -4.0, 0.0, 0},
        {"but not where a zone is stated", with("MicaSense", "Altum", zone), {}, 5.5, 0}};
    for (const ZoneCase& c : cases) {
        const ImageMetadata read = interpret(tagFile(withDate(kDate, c.tags)), {c.option});
        EXPECT_EQ(read.geo.captureTime, kSeconds - 3600.0 * c.hours) << c.what;
        EXPECT_EQ(read.warnings.size(), c.warnings) << c.what;
    }
}

} // namespace
} // namespace tessik::exif
