#include "flight/Observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace tessik::flight {
namespace {

using testing::ElementsAre;

class Witness : public Observer {
public:
    void warning(const Warning& warning) override {
        heard.push_back("w " + warning.path + warning.text);
    }
    void failure(const Failure& failure) override {
        heard.push_back("f " + failure.path + failure.reason);
    }
    void note(const std::string& path, const std::string& text) override {
        heard.push_back("n " + path + text);
    }
    std::vector<std::string> heard;
};

void log(int level, const char* text) {
    logging::write({level, {"file", 1}, text});
}

class ListeningTest : public testing::Test {
protected:
    ListeningTest() {
        logging::setLevel(logging::kInfo);
        logging::setSink([this](const logging::Record& record) { others.push_back(record.text); });
    }
    ~ListeningTest() override {
        logging::setSink({});
        logging::setLevel(logging::kWarning);
    }
    Witness witness;
    std::vector<std::string> others; ///< messages that nobody listens to
};

TEST_F(ListeningTest, takesWhatItsThreadLogsAndTheInnermostHasIt) {
    log(logging::kWarning, "before");
    {
        Warnings warnings(witness);
        const Listening outer(witness, warnings);
        log(logging::kWarning, "one");
        log(logging::kWarning, "one");
        {
            const Listening inner(witness, "a.tif ");
            log(logging::kError, "two");
            log(logging::kInfo, "three");
        }
        log(logging::kWarning, "four");
        std::thread([] { log(logging::kWarning, "elsewhere"); }).join();
        ASSERT_EQ(warnings.list().size(), 2U);
        EXPECT_EQ(warnings.list()[1].text, "four");
    }
    log(logging::kWarning, "after");
    EXPECT_THAT(witness.heard, ElementsAre("w one", "f a.tif two", "n a.tif three", "w four"));
    EXPECT_THAT(others, ElementsAre("before", "elsewhere", "after"));
}

TEST_F(ListeningTest, warningsThatAreJoinedAreNotToldAgain) {
    Warnings warnings(witness);
    warnings.add("a.tif ", "clipped");
    warnings.join({{"b.tif ", "clipped"}, {"b.tif ", "dark"}});
    warnings.add("c.tif ", "dark");
    EXPECT_THAT(witness.heard, ElementsAre("w a.tif clipped"));
    ASSERT_EQ(warnings.list().size(), 2U);
    EXPECT_EQ(warnings.list()[1].path, "b.tif ");
}

} // namespace
} // namespace tessik::flight
