#include "platform/exif/TagFile.h"

#include "platform/log/Log.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <mutex>

namespace tessik::exif {
namespace {

/// Longer values (maker notes, opcodes, previews) hold nothing that is asked for.
constexpr long kMaxComponents = 256;

/// Messages that Exiv2 emits in this thread while a file is read.
thread_local std::vector<std::string>* currentWarnings = nullptr;

void handleMessage(int level, const char* message) {
    if (currentWarnings == nullptr || level < Exiv2::LogMsg::warn) {
        return;
    }
    std::string text(message);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0) {
        text.pop_back();
    }
    // Said whenever two makers' name spaces share a prefix; names are looked up by prefix here.
    if (text.rfind("Updating namespace URI", 0) == 0) {
        return;
    }
    // One damaged directory can give thousands of these.
    constexpr std::size_t kMaxWarnings = 20;
    if (currentWarnings->size() < kMaxWarnings) {
        currentWarnings->push_back(std::move(text));
    }
}

class WarningScope {
public:
    explicit WarningScope(std::vector<std::string>& warnings) { currentWarnings = &warnings; }
    WarningScope(const WarningScope&) = delete;
    WarningScope& operator=(const WarningScope&) = delete;
    ~WarningScope() { currentWarnings = nullptr; }
};

/// Held while a file's metadata is decoded or encoded. Exiv2 has one table of name spaces a
/// process, and one prefix in it stands for one URI: a file whose maker uses another URI under the
/// same prefix replaces the entry that a file read at the same time still needs, and that one then
/// fails as a whole. The lock that the toolkit itself asks for does not cover the table.
std::mutex& exiv2Mutex() {
    static std::mutex mutex;
    return mutex;
}

/// The XMP toolkit inside Exiv2 keeps global tables; it asks for a lock to guard them.
void lockXmp(void* mutex, bool lock) {
    auto* xmpMutex = static_cast<std::recursive_mutex*>(mutex);
    if (lock) {
        xmpMutex->lock();
    } else {
        xmpMutex->unlock();
    }
}

void initialiseOnce() {
    static std::once_flag done;
    std::call_once(done, [] {
        static std::recursive_mutex xmpMutex;
        Exiv2::XmpParser::initialize(&lockXmp, &xmpMutex);
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::warn);
        Exiv2::LogMsg::setHandler(&handleMessage);
    });
}

/// "Camera" for "Camera_1_": XMP toolkits rename the second name space that they meet under one
/// prefix, so files rewritten by other programs hold such names.
std::string plainPrefix(std::string prefix) {
    if (prefix.size() < 3 || prefix.back() != '_') {
        return prefix;
    }
    auto digit = prefix.size() - 1;
    while (digit > 0 && std::isdigit(static_cast<unsigned char>(prefix[digit - 1])) != 0) {
        --digit;
    }
    if (digit == prefix.size() - 1 || digit == 0 || prefix[digit - 1] != '_') {
        return prefix;
    }
    prefix.resize(digit - 1);
    return prefix;
}

void collectExif(const Exiv2::ExifData& data, Tags& tags) {
    constexpr std::array<const char*, 3> kGroups = {"Image", "Photo", "GPSInfo"};
    for (const Exiv2::Exifdatum& datum : data) {
        const std::string group = datum.groupName();
        if (std::find(kGroups.begin(), kGroups.end(), group) == kGroups.end()) {
            continue;
        }
        const bool isText = datum.typeId() == Exiv2::asciiString;
        Tags::Value value;
        if (isText) {
            value.push_back(datum.toString());
        } else if (datum.count() <= kMaxComponents) {
            for (long i = 0; i < datum.count(); ++i) {
                value.push_back(datum.toString(i));
            }
        } else {
            continue;
        }
        tags.addExif(datum.key(), std::move(value));
    }
}

void collectXmp(const Exiv2::XmpData& data, Tags& tags) {
    for (const Exiv2::Xmpdatum& datum : data) {
        Tags::Value value;
        const Exiv2::TypeId type = datum.typeId();
        if (type == Exiv2::xmpSeq || type == Exiv2::xmpBag || type == Exiv2::xmpAlt) {
            for (long i = 0; i < datum.count(); ++i) {
                value.push_back(datum.toString(i));
            }
        } else {
            value.push_back(datum.toString());
        }
        tags.addXmp(plainPrefix(datum.groupName()), datum.tagName(), std::move(value));
    }
}

/// To be done after a file was read and before a tag is set: the last file may have put its own
/// name space under a prefix.
void registerOwnNamespaces() {
    for (const char* prefix : {"Camera", "MicaSense", "DLS", "Tessik"}) {
        std::string name(prefix);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) {
            return static_cast<char>(std::tolower(c));
        });
        Exiv2::XmpProperties::registerNs("urn:tessik:xmp:" + name + ":1.0/", prefix);
    }
}

void setTag(Exiv2::Image& image, const NewTag& tag) {
    if (tag.key.rfind("Exif.", 0) == 0) {
        std::string joined;
        for (const std::string& value : tag.values) {
            joined += (joined.empty() ? "" : " ") + value;
        }
        image.exifData()[tag.key] = joined;
        return;
    }
    Exiv2::XmpData& xmp = image.xmpData();
    const Exiv2::XmpKey key(tag.key);
    if (const auto old = xmp.findKey(key); old != xmp.end()) {
        xmp.erase(old);
    }
    if (tag.values.size() == 1) {
        Exiv2::XmpTextValue value(tag.values.front());
        xmp.add(key, &value);
    } else {
        Exiv2::XmpArrayValue value(Exiv2::xmpSeq);
        for (const std::string& item : tag.values) {
            value.read(item);
        }
        xmp.add(key, &value);
    }
}

} // namespace

TagFile readTags(const std::string& path) {
    initialiseOnce();
    TagFile file;
    const WarningScope scope(file.warnings);
    try {
        const Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path);
        {
            const std::lock_guard lock(exiv2Mutex());
            image->readMetadata();
        }
        collectExif(image->exifData(), file.tags);
        collectXmp(image->xmpData(), file.tags);
        file.pixelWidth = static_cast<std::uint64_t>(std::max(0, image->pixelWidth()));
        file.pixelHeight = static_cast<std::uint64_t>(std::max(0, image->pixelHeight()));
        file.isJpeg = image->mimeType() == "image/jpeg";
    } catch (const Exiv2::AnyError& failure) {
        throw Error(std::string("the metadata cannot be read: ") + failure.what());
    }
    return file;
}

void writeTags(const std::string& path, const std::vector<NewTag>& tags) {
    initialiseOnce();
    std::vector<std::string> warnings;
    const WarningScope scope(warnings);
    try {
        const Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path);
        const std::lock_guard lock(exiv2Mutex());
        image->readMetadata();
        registerOwnNamespaces();
        for (const NewTag& tag : tags) {
            setTag(*image, tag);
        }
        image->writeMetadata();
    } catch (const Exiv2::AnyError& failure) {
        throw Error(std::string("the metadata cannot be written: ") + failure.what());
    }
}

} // namespace tessik::exif
