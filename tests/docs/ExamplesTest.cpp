#include "ExampleCamera.h"
#include "PathRadiance.h"
#include "platform/exif/TagBuilders.h"
#include "radiometry/corrector/SunSensor.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

namespace tessik {
namespace {

using radiometry::CorrectionType;

BandImage withoutPathRadiance(const test::ImageSetup& setup,
                              CorrectionType type,
                              radiometry::Accounts& accounts) {
    BandImage bands = {test::band(1, 3, {0.0F, 100.0F, 350.0F})};
    radiometry::corrector::Chain chain = radiometry::corrector::create(setup.image.exif);
    const auto before = std::find_if(chain.begin(), chain.end(), [](const auto& corrector) {
        return dynamic_cast<const radiometry::corrector::SunSensor*>(corrector.get()) != nullptr;
    });
    chain.insert(before, std::make_unique<example::PathRadiance>(std::vector<double>{50.0}));
    radiometry::corrector::apply(chain, setup.sources(type), bands, {0, 0}, accounts);
    return bands;
}

TEST(ExampleCorrector, actsInAChainWhereItWasPut) {
    ExifInfo exif = test::plainExif(3, 1);
    exif.exposureTime = 0.5; // the camera's factor is 1 / 0.5
    exif.sunIrradiance = {10.0};
    const test::ImageSetup setup(exif);
    radiometry::Accounts accounts;
    const BandMatrix corrected =
        withoutPathRadiance(setup, CorrectionType::CameraAndSunIrradiance, accounts)[0];
    EXPECT_EQ(corrected, test::band(1, 3, {radiometry::kNoData, 15.0F, 65.0F}));
    ASSERT_EQ(accounts.size(), 5U);
    EXPECT_EQ(accounts[2].name, "PathRadiance");
    EXPECT_EQ(accounts[2].numbersOf("radiance"), std::vector<double>{50.0});
    const BandMatrix asStored =
        withoutPathRadiance(setup, CorrectionType::NoCorrection, accounts)[0];
    EXPECT_EQ(asStored, test::band(1, 3, {radiometry::kNoData, 100.0F, 350.0F}));
}

TEST(ExampleCamera, isReadOrMarkedAsNotToBeCorrected) {
    for (const auto& [gain, indicator] :
         {std::pair{"2.5", ExifInfo::kIndicatorNotStated}, {"0", 0U}, {"", 0U}}) {
        const exif::TagFile file =
            test::tagFile({{"Exif.Image.Make", {"Example"}}, {"Xmp.Example.Gain", {gain}}});
        ASSERT_TRUE(exif::kExample.matches(file.tags));
        exif::ImageMetadata metadata;
        exif::kExample.read(file.tags, metadata);
        EXPECT_EQ(metadata.exif.radiometricIndicator, indicator) << gain;
        EXPECT_EQ(metadata.exif.sensitivity.empty(), indicator == 0) << gain;
    }
    EXPECT_FALSE(exif::kExample.matches(test::tagFile({}).tags));
}

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> linesOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        line.erase(0, line.find_first_not_of(' '));
        lines.push_back(line);
    }
    return lines;
}

TEST(FileFormats, theNamesOfAllCorrectorsAreDocumentedAndHaveWordsInTheReport) {
    const std::filesystem::path sources = RADIOMETRY_SOURCE_DIR;
    const std::string page = textOf(sources / "flight/report/format.js");
    const std::string formats = textOf(sources / "docs/file-formats.md");
    EXPECT_EQ(radiometry::corrector::names().size(), 16U);
    for (const std::string& name : radiometry::corrector::names()) {
        EXPECT_NE(page.find("\n  " + name + ": \""), std::string::npos) << name;
        EXPECT_NE(formats.find("\n| `" + name + "` | "), std::string::npos) << name;
    }
}

/// Words of small letters, digits and hyphens.
std::set<std::string> wordsIn(const std::string& text) {
    const std::regex word("[a-z0-9-]+");
    return {std::sregex_token_iterator(text.begin(), text.end(), word),
            std::sregex_token_iterator()};
}

TEST(Contract, eachPromiseHasItsPlaceInTheCodeAndEachPlaceItsPromise) {
    const std::filesystem::path root = RADIOMETRY_SOURCE_DIR;
    std::set<std::string> promises; // in backquotes at the beginning of a row
    for (const std::string& line : linesOf(root / "docs/contract.md")) {
        if (line.rfind("| `", 0) == 0) {
            promises.insert(line.substr(3, line.find('`', 3) - 3));
        }
    }
    EXPECT_GT(promises.size(), 20U);
    std::set<std::string> named;
    for (const char* folder : {"include", "src", "platform"}) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
            const std::vector<std::string> lines = linesOf(entry.path());
            for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
                const std::size_t at = lines[i].find("docs/contract.md");
                if (at == std::string::npos) {
                    continue;
                }
                bool isPromise = false;
                for (const std::string& word : wordsIn(lines[i].substr(at) + " " + lines[i + 1])) {
                    isPromise = isPromise || promises.count(word) > 0;
                    named.insert(word);
                }
                EXPECT_TRUE(isPromise) << entry.path() << ": " << lines[i];
            }
        }
    }
    for (const std::string& promise : promises) {
        EXPECT_EQ(named.count(promise), 1U) << promise << " is named nowhere";
    }
}

TEST(Guides, showCodeThatIsCompiled) {
    const std::filesystem::path sources = RADIOMETRY_SOURCE_DIR;
    std::set<std::string> compiled;
    for (const char* file : {"docs/examples/BlockCorrector.cpp",
                             "docs/examples/PathRadiance.h",
                             "docs/examples/PathRadiance.cpp",
                             "docs/examples/ExampleCamera.cpp",
                             "tests/docs/EmbeddingTest.cpp",
                             "tests/docs/ExamplesTest.cpp"}) {
        for (const std::string& line : linesOf(sources / file)) {
            compiled.insert(line);
        }
    }
    for (const char* guide :
         {"docs/adding-a-corrector.md", "docs/adding-a-camera.md", "docs/embedding.md"}) {
        bool isCode = false;
        int checked = 0;
        for (const std::string& line : linesOf(sources / guide)) {
            if (line.rfind("```", 0) == 0) {
                isCode = line == "```cpp";
            } else if (isCode) {
                EXPECT_EQ(compiled.count(line), 1U) << guide << ": " << line;
                ++checked;
            }
        }
        EXPECT_GT(checked, 10) << guide;
    }
}

} // namespace
} // namespace tessik
