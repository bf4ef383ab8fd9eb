#include "flight/run/Records.h"

#include "support/Support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;
using test::TemporaryFolder;
using testing::ElementsAre;

class Records : public testing::Test {
protected:
    void addDone(RecordFile& records, const std::string& output, bool appears) const {
        image.path = QString::fromStdString("in/" + output);
        records.addDone({output, "camera", image, {}, {}, {}, {}});
        if (appears) {
            std::ofstream(folder.path() / output) << "an image";
        }
    }
    /// "output status" of each line.
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> found;
        const std::size_t damaged = readRecords(file, [&](const ReadRecord& record) {
            const std::map<Status, const char*> words = {
                {Status::Done, " done"}, {Status::Kept, " kept"}, {Status::Failed, " failed"}};
            found.push_back(record.path + words.at(record.status));
        });
        EXPECT_EQ(damaged, 0U);
        return found;
    }
    TemporaryFolder folder;
    fs::path file = folder.path() / "corrections.jsonl";
    mutable InputImage image;
};

TEST_F(Records, afterARunThatWasKilledNameEachImageOnceAndOnlyOutputsThatAreThere) {
    {
        RecordFile records(file, false);
        addDone(records, "a.tif", true);
        addDone(records, "b.tif", false); // killed before it appeared
        records.addFailed("in/c.tif", "c.tif", "no such file");
    }
    std::ofstream(file, std::ios::app) << R"({"file":"in/d.tif","outp)";
    {
        const RecordFile records(file, false);
        EXPECT_THAT(lines(), ElementsAre("in/a.tif done", "in/c.tif failed"));
    }
    {
        RecordFile records(file, false);
        records.addKept("in/a.tif", "a.tif"); // is known already
        addDone(records, "c.tif", true);
        addDone(records, "b.tif", true);
        addDone(records, "a.tif", true); // with other settings
    }
    EXPECT_THAT(lines(), ElementsAre("in/c.tif done", "in/b.tif done", "in/a.tif done"));
    {
        RecordFile records(file, true);
        records.addKept("in/e.tif", "e.tif");
        records.addFailed("in/a.tif", "a.tif", "no such file"); // whose output is an earlier one
    }
    EXPECT_THAT(lines(), ElementsAre("in/e.tif kept", "in/a.tif failed"));
    std::ofstream(folder.path() / "e.tif") << "an image";
    {
        RecordFile records(file, false);
        records.addKept("in/a.tif", "a.tif");
    }
    EXPECT_THAT(lines(), ElementsAre("in/e.tif kept", "in/a.tif kept"));
}

TEST_F(Records, comeBackAsTheyWereWritten) {
    image.path = "in/a.tif";
    image.cameraId = 7;
    image.geo.captureTime = 1.6e9;
    image.geo.position = GeoPosition{46.5, 6.6, 400.0};
    image.exif.exposureTime = 0.001;
    image.exif.iso = 200;
    image.exif.apertureFNumber = 2.8;
    image.exif.sunIrradiance = {1.25};
    const std::vector<double> sensitivity = {655.36};
    Applied applied;
    applied.accounts = {
        {"SunSensor", {{"irradiance", "", {1.5}}, {"sun_elevation", "deg", {40.0}}}},
        {"ConvertNanToNodata", {{"pixels", "", {12.0}}, {"masked", "", {3.0}}}}};
    applied.sun = {40.0, 120.0, 5.0};
    {
        RecordFile records(file, false);
        records.addDone({"a.tif", "camera", image, applied, sensitivity, {1.25}, {}});
    }
    std::vector<ReadRecord> read;
    EXPECT_EQ(readRecords(file, [&](ReadRecord one) { read.push_back(std::move(one)); }), 0U);
    ASSERT_EQ(read.size(), 1U);
    const ReadRecord& record = read.front();
    EXPECT_EQ(record.timeUnix, 1.6e9);
    EXPECT_EQ(record.latitudeDeg, 46.5);
    EXPECT_EQ(record.longitudeDeg, 6.6);
    EXPECT_EQ(record.exposureSeconds, 0.001F);
    EXPECT_EQ(record.iso, 200.0F);
    EXPECT_EQ(record.fNumber, 2.8F);
    EXPECT_EQ(record.pixels, 12.0);
    EXPECT_EQ(record.maskedPixels, 3.0);
    EXPECT_EQ(record.sunElevationDeg, 40.0F);
    EXPECT_EQ(record.sensorTiltDeg, 5.0F);
    EXPECT_THAT(record.irradiance, ElementsAre(1.25F));
    EXPECT_THAT(record.irradianceCorrected, ElementsAre(1.5F));
    EXPECT_THAT(record.steps, ElementsAre("SunSensor", "ConvertNanToNodata"));
    const std::string line = test::readAll(file);
    for (const char* part : {R"("camera":"7")",
                             R"("altitude_m":400.0)",
                             R"("sun_azimuth_deg":120.0)",
                             R"("sensitivity":[655.36])",
                             R"("correction_type":"camera")"}) {
        EXPECT_THAT(line, testing::HasSubstr(part));
    }
}

TEST_F(Records, readBackWhatIsKnownAndNothingElse) {
    std::ofstream(file)
        << R"({"file": "a", "status": "done", "capture_time_unix": 0.0, "pixels": 12,
        "sun_irradiance": [1.5, null], "iso": "x", "correctors": [{"name": "Vignetting"}, 3]})"
           "\n\n[1]\n{\"file\": 7}\n"
        << R"({"file": "b", "status": "failed", "reason": "dark"})";
    std::string text = test::readAll(file);
    text.erase(text.find('\n'), 1); // one line a record
    std::ofstream(file) << text;
    std::vector<ReadRecord> records;
    EXPECT_EQ(readRecords(file, [&](ReadRecord record) { records.push_back(std::move(record)); }),
              2U);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_TRUE(std::isnan(records[0].timeUnix)); // 0 is no time
    EXPECT_EQ(records[0].pixels, 12.0);
    EXPECT_EQ(records[0].irradiance.at(0), 1.5F);
    EXPECT_TRUE(std::isnan(records[0].irradiance.at(1)));
    EXPECT_TRUE(std::isnan(records[0].iso));
    EXPECT_THAT(records[0].steps, ElementsAre("Vignetting", ""));
    EXPECT_EQ(records[1].failure, "dark");
    EXPECT_FALSE(records[1].isCorrected());
}

TEST_F(Records, filesOfPartsAreFoundBesideThatOfAWholeRun) {
    EXPECT_EQ(recordFileName(1, 1), "corrections.jsonl");
    EXPECT_EQ(recordFileName(2, 3), "corrections-2-of-3.jsonl");
    for (const char* name :
         {"corrections.jsonl", "corrections-2-of-3.jsonl", "other.jsonl", "plan.json"}) {
        std::ofstream(folder.path() / name) << "";
    }
    EXPECT_EQ(recordFiles(folder.path()).size(), 2U);
}

} // namespace
} // namespace tessik::flight
