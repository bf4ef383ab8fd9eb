#include "platform/exif/TagFile.h"

#include "platform/log/Log.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QString>
#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

namespace tessik::exif {

struct RawMetadata {
    Exiv2::ExifData exif;
    Exiv2::XmpData xmp;
    std::string xmpPacket;
};

namespace {

/// Longer values (maker notes, opcodes, previews) hold nothing that is asked for.
constexpr long kMaxComponents = 256;

/// Messages that Exiv2 emits in this thread while a file is read.
thread_local std::vector<std::string>* currentWarnings = nullptr;

void handleMessage(int level, const char* message) {
    std::string text(message);
    // Warnings speak of directory entries that nobody asks for; that XMP is lost concerns the user.
    const bool isOfInterest =
        level >= Exiv2::LogMsg::error || text.rfind("Failed to decode XMP", 0) == 0;
    if (currentWarnings == nullptr || !isOfInterest) {
        return;
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0) {
        text.pop_back();
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

std::unique_ptr<Exiv2::Image> openImage(const std::string& path) {
    return std::unique_ptr<Exiv2::Image>(Exiv2::ImageFactory::open(path).release());
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

Tags::Value valueOf(const Exiv2::Xmpdatum& datum) {
    const Exiv2::TypeId type = datum.typeId();
    if (type != Exiv2::xmpSeq && type != Exiv2::xmpBag && type != Exiv2::xmpAlt) {
        return {datum.toString()};
    }
    Tags::Value value;
    for (long i = 0; i < datum.count(); ++i) {
        value.push_back(datum.toString(i));
    }
    return value;
}

void collectXmp(const Exiv2::XmpData& data, Tags& tags) {
    for (const Exiv2::Xmpdatum& datum : data) {
        tags.addXmp(plainPrefix(datum.groupName()), datum.tagName(), valueOf(datum));
    }
}

std::string ownNamespace(const std::string& prefix) {
    std::string name = prefix;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return "urn:tessik:xmp:" + name + ":1.0/";
}

/// This has to be done after a file was read and before a tag is set: the last file may have put
/// its own name space under a prefix.
void registerOwnNamespaces() {
    for (const char* prefix : {"Camera", "MicaSense", "DLS", "drone-dji", "Tessik"}) {
        Exiv2::XmpProperties::registerNs(ownNamespace(prefix), prefix);
    }
}

/// Exiv2 itself stores a text that is not of the tag's type as a value without components.
void setExifTag(Exiv2::Image& image, const NewTag& tag) {
    const Exiv2::TypeId type = Exiv2::ExifKey(tag.key).defaultTypeId();
    const bool isFraction = type == Exiv2::unsignedRational || type == Exiv2::signedRational;
    std::string joined;
    for (const std::string& value : tag.values) {
        const bool isWhole = value.find('/') == std::string::npos;
        joined += (joined.empty() ? "" : " ") + value + (isFraction && isWhole ? "/1" : "");
    }
    const std::unique_ptr<Exiv2::Value> value(Exiv2::Value::create(type).release());
    if (value->read(joined) != 0 || value->count() == 0) {
        throw Error("the metadata cannot be written: " + tag.key + " cannot hold \"" + joined +
                    "\"");
    }
    image.exifData()[tag.key].setValue(value.get());
}

void setTag(Exiv2::Image& image, const NewTag& tag) {
    if (tag.key.rfind("Exif.", 0) == 0) {
        setExifTag(image, tag);
        return;
    }
    Exiv2::XmpData& xmp = image.xmpData();
    const Exiv2::XmpKey key(tag.key);
    if (const auto old = xmp.findKey(key); old != xmp.end()) {
        xmp.erase(old);
    }
    if (tag.values.size() == 1 && !tag.isSequence) {
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

template <std::size_t N>
bool isOneOf(const std::array<std::string_view, N>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool describesTheCapture(const Exiv2::Exifdatum& datum) {
    constexpr std::array<std::string_view, 9> kImageTags = {"Make",
                                                            "Model",
                                                            "Software",
                                                            "DateTime",
                                                            "Orientation",
                                                            "ImageDescription",
                                                            "CameraSerialNumber",
                                                            "UniqueCameraModel",
                                                            "Copyright"};
    const std::string group = datum.groupName();
    const std::string name = datum.tagName();
    return (group == "Image" && isOneOf(kImageTags, name)) ||
           (group == "Photo" && name != "MakerNote") || group == "GPSInfo";
}

bool describesTheCapture(const Exiv2::Xmpdatum& datum) {
    constexpr std::array<std::string_view, 24> kRawState = {"BandSensitivity",
                                                            "BlackCurrent",
                                                            "BlackLevel",
                                                            "ColorTransform",
                                                            "DarkRowValue",
                                                            "DirectIrradiance",
                                                            "ExposureTime",
                                                            "Gamma",
                                                            "HorizontalIrradiance",
                                                            "InvalidPixel",
                                                            "IsNormalized",
                                                            "LS_status",
                                                            "LS_type",
                                                            "OffMeasurement",
                                                            "RadiometricCalibration",
                                                            "RawData",
                                                            "RawMeasurement",
                                                            "ScatteredIrradiance",
                                                            "SensorGain",
                                                            "SensorGainAdjustment",
                                                            "SensorModel",
                                                            "SpectralIrradiance",
                                                            "CalibrationMeasurement",
                                                            "BandGain"};
    const std::string name = datum.tagName();
    const auto startsWith = [&name](const char* stem) { return name.rfind(stem, 0) == 0; };
    // An item of a structure or of an array of structures has a path; no description needs them.
    return !isOneOf(kRawState, name) && !startsWith("Irradiance") && !startsWith("SunSensor") &&
           !startsWith("Vignetting") && name.find_first_of("[/") == std::string::npos &&
           plainPrefix(datum.groupName()) != "Tessik" && datum.groupName() != "ILS";
}

std::string xmlEscaped(const std::string& text) {
    return QString::fromStdString(text).toHtmlEscaped().toStdString();
}

/// Name spaces by prefix as a packet declares them, in XML's own escaping. The toolkit's tables
/// hold what the file read last in this process declared.
std::map<std::string, std::string> declaredNamespaces(const std::string& packet) {
    static const QRegularExpression declaration(
        QStringLiteral(R"(xmlns:([A-Za-z_][\w.-]*)\s*=\s*["']([^"'<]*)["'])"));
    std::map<std::string, std::string> namespaces;
    auto match = declaration.globalMatch(QString::fromStdString(packet));
    while (match.hasNext()) {
        const QRegularExpressionMatch found = match.next();
        namespaces.try_emplace(found.captured(1).toStdString(), found.captured(2).toStdString());
    }
    return namespaces;
}

/// The packet is put together here: the toolkit would name prefixes by the order in which the
/// process met them, and equal images must give equal files.
std::string describingPacket(const RawMetadata& source,
                             const std::vector<NewTag>& newTags,
                             const std::vector<std::string>& omitted) {
    const std::map<std::string, std::string> declared = declaredNamespaces(source.xmpPacket);
    std::map<std::string, std::string> namespaces; // of the prefixes in use
    std::string properties;
    const auto add =
        [&](const std::string& prefix, const std::string& name, const Tags::Value& items) {
            const std::string tag = prefix + ":" + name;
            properties += "<" + tag + ">";
            if (items.size() == 1) {
                properties += xmlEscaped(items.front());
            } else {
                properties += "<rdf:Seq>";
                for (const std::string& item : items) {
                    properties += "<rdf:li>" + xmlEscaped(item) + "</rdf:li>";
                }
                properties += "</rdf:Seq>";
            }
            properties += "</" + tag + ">\n";
        };
    for (const Exiv2::Xmpdatum& datum : source.xmp) {
        const std::string prefix = plainPrefix(datum.groupName());
        const auto uri = declared.find(prefix);
        const bool isOmitted =
            std::find(omitted.begin(), omitted.end(), datum.tagName()) != omitted.end();
        if (uri != declared.end() && !isOmitted && describesTheCapture(datum)) {
            namespaces.insert(*uri);
            add(prefix, datum.tagName(), valueOf(datum));
        }
    }
    namespaces.try_emplace("Camera", ownNamespace("Camera"));
    add("Camera", "IsNormalized", {"1"});
    namespaces["Tessik"] = ownNamespace("Tessik");
    for (const NewTag& tag : newTags) {
        add("Tessik", tag.key.substr(tag.key.rfind('.') + 1), tag.values);
    }
    std::string packet = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
                         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n"
                         "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
                         "<rdf:Description rdf:about=\"\"";
    for (const auto& [prefix, uri] : namespaces) {
        packet.append("\n xmlns:").append(prefix).append("=\"").append(uri).append("\"");
    }
    return packet + ">\n" + properties +
           "</rdf:Description>\n</rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"w\"?>";
}

} // namespace

TagFile readTags(const std::string& path) {
    initialiseOnce();
    TagFile file;
    const WarningScope scope(file.warnings);
    try {
        const std::unique_ptr<Exiv2::Image> image = openImage(path);
        {
            const std::lock_guard lock(exiv2Mutex());
            image->readMetadata();
        }
        collectExif(image->exifData(), file.tags);
        collectXmp(image->xmpData(), file.tags);
        file.pixelWidth = static_cast<std::uint64_t>(std::max(0, image->pixelWidth()));
        file.pixelHeight = static_cast<std::uint64_t>(std::max(0, image->pixelHeight()));
        file.isJpeg = image->mimeType() == "image/jpeg";
        auto raw = std::make_shared<RawMetadata>();
        raw->xmpPacket = image->xmpData().xmpPacket();
        raw->exif = std::move(image->exifData());
        raw->xmp = std::move(image->xmpData());
        file.raw = std::move(raw);
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
        const std::unique_ptr<Exiv2::Image> image = openImage(path);
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

std::string copyDescription(const RawMetadata& source,
                            const std::string& target,
                            const std::vector<NewTag>& newTags,
                            const std::vector<std::string>& omitted) {
    initialiseOnce();
    std::vector<std::string> warnings;
    const WarningScope scope(warnings);
    try {
        const std::unique_ptr<Exiv2::Image> image(
            Exiv2::ImageFactory::open(reinterpret_cast<const Exiv2::byte*>(target.data()),
                                      static_cast<long>(target.size()))
                .release());
        {
            const std::lock_guard lock(exiv2Mutex());
            image->readMetadata();
        }
        for (const Exiv2::Exifdatum& datum : source.exif) {
            if (describesTheCapture(datum)) {
                image->exifData().add(datum);
            }
        }
        image->xmpData().setPacket(
            describingPacket(source, newTags, omitted)); // as it is, not decoded
        image->writeXmpFromPacket(true);
        image->writeMetadata();
        Exiv2::BasicIo& bytes = image->io();
        const auto* data = reinterpret_cast<const char*>(bytes.mmap());
        return {data, static_cast<std::size_t>(bytes.size())};
    } catch (const Exiv2::AnyError& failure) {
        throw Error(std::string("the metadata cannot be written: ") + failure.what());
    }
}

} // namespace tessik::exif
