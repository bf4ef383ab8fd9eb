#include "platform/exif/TagFile.h"

#include "support/Support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <thread>

namespace tessik::exif {
namespace {

/// Bytes of a TIFF of one 16-bit pixel with an XMP packet whose prefix stands for the URI.
std::string tinyTiff(const std::string& uri,
                     const std::string& bandName,
                     const std::string& prefix = "Camera") {
    const std::string packet = R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>)"
                               R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF )"
                               R"(xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
                               R"(<rdf:Description rdf:about="" xmlns:)" +
                               prefix + "=\"" + uri + "\"><" + prefix + ":BandName>" + bandName +
                               "</" + prefix +
                               ":BandName></rdf:Description></rdf:RDF></x:xmpmeta>"
                               R"(<?xpacket end="w"?>)";
    std::string bytes = {'I', 'I', 42, 0, 10, 0, 0, 0, 1, 2};
    const auto number = [&bytes](std::size_t value, int size) {
        for (int i = 0; i < size; ++i) {
            bytes += static_cast<char>((value >> (8 * i)) & 0xFFU);
        }
    };
    constexpr std::size_t kShort = 3;
    const std::size_t shortTags[][2] = {
        {256, 1}, {257, 1}, {258, 16}, {259, 1}, {262, 1}, {273, 8}, {277, 1}, {278, 1}, {279, 2}};
    constexpr std::size_t kEntries = std::size(shortTags) + 1;
    number(kEntries, 2);
    for (const auto& [tag, value] : shortTags) {
        number(tag, 2);
        number(kShort, 2);
        number(1, 4);
        number(value, 4);
    }
    number(700, 2); // XMP, as bytes
    number(1, 2);
    number(packet.size(), 4);
    number(bytes.size() + 8, 4);
    number(0, 4);
    return bytes + packet;
}

const char* const kUris[] = {
    "http://a.example/camera/1.0/", "http://a.example/camera/1.0", "http://b.example/1.0"};

/// Files whose makers use one prefix for several name spaces; the band is named as the file.
std::vector<std::string> filesOfManyMakers(const test::TemporaryFolder& folder) {
    std::vector<std::string> paths;
    for (const char* uri : kUris) {
        const std::string name = "Band" + std::to_string(paths.size());
        paths.push_back(folder.file(name));
        std::ofstream(paths.back(), std::ios::binary) << tinyTiff(uri, name);
    }
    return paths;
}

bool readsItsBand(const std::string& path) {
    const TagFile file = readTags(path);
    return file.warnings.empty() &&
           file.tags.xmpText("Camera", "BandName") == path.substr(path.rfind('/') + 1);
}

TEST(TagFile, onePrefixOfSeveralNameSpacesIsReadInAnyOrder) {
    const test::TemporaryFolder folder;
    const std::vector<std::string> paths = filesOfManyMakers(folder);
    for (const std::size_t i : {0U, 1U, 2U, 1U, 0U, 2U, 0U}) {
        EXPECT_TRUE(readsItsBand(paths[i])) << kUris[i];
    }
}

TEST(TagFile, aPrefixThatAnotherProgramRenamedKeepsItsMeaning) {
    const test::TemporaryFolder folder;
    for (const char* prefix : {"DLS", "DLS_1_", "DLS_12_"}) {
        const std::string path = folder.file(prefix);
        // The toolkit remembers the first prefix of a URI, so each has one of its own.
        const std::string uri = std::string("http://c.example/") + prefix + "/";
        std::ofstream(path, std::ios::binary) << tinyTiff(uri, "Red", prefix);
        const Tags tags = readTags(path).tags;
        EXPECT_EQ(tags.xmpText("DLS", "BandName"), "Red") << prefix;
        EXPECT_EQ(tags.xmpText("Camera", "BandName"), "") << prefix; // what it is not
    }
}

TEST(TagFile, onePrefixOfSeveralNameSpacesIsReadByThreadsAtOnce) {
    const test::TemporaryFolder folder;
    const std::vector<std::string> paths = filesOfManyMakers(folder);
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (std::size_t i = 0; i < 300; ++i) {
                try {
                    failures += readsItsBand(paths[(i + t) % paths.size()]) ? 0 : 1;
                } catch (const Error&) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST(TagFile, writtenTagsAreInOurNameSpaceWhateverWasReadBefore) {
    const test::TemporaryFolder folder;
    const std::vector<std::string> paths = filesOfManyMakers(folder);
    for (const std::string& path : paths) {
        readsItsBand(path);
        const std::string written = folder.file("written.tif");
        std::ofstream(written, std::ios::binary) << tinyTiff(kUris[0], "old");
        writeTags(written, {{"Xmp.Camera.BandName", {"new"}}});
        EXPECT_EQ(readTags(written).tags.xmpText("Camera", "BandName"), "new");
        std::ifstream in(written, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        EXPECT_NE(bytes.find(R"(xmlns:Camera="urn:tessik:xmp:camera:1.0/")"), std::string::npos);
    }
}

TEST(TagFile, realFilesOfSeveralMakersAreReadInAnyOrder) {
    const auto samples = test::samplesFolder();
    if (!samples) {
        GTEST_SKIP() << "no sample images; set RADIOMETRY_SAMPLES";
    }
    const std::pair<const char*, const char*> files[] = {
        {"rededge/IMG_0001_1.tif", "Blue"},
        {"sequoia/IMG_180413_080658_0000_GRE.TIF", "Green"},
        {"p4m/DJI_0015.TIF", "NIR"},
        {"sequoia/IMG_180413_080658_0000_RED.TIF", "Red"},
        {"rededge/IMG_0001_4.tif", "NIR"}};
    for (const auto& [name, band] : files) {
        const TagFile file = readTags((*samples / name).string());
        EXPECT_EQ(file.tags.xmpText("Camera", "BandName"), band) << name;
        EXPECT_TRUE(file.warnings.empty()) << name;
    }
}

} // namespace
} // namespace tessik::exif
