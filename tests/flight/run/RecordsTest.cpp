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
        records.addDone({output, "camera", image, {}, {}});
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
    }
    EXPECT_THAT(lines(), ElementsAre("in/e.tif kept"));
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
