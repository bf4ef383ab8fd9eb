#include "platform/exif/cameras/Dialects.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessik::exif {
namespace {

bool isBlank(const Tags::Value& texts) {
    return std::all_of(texts.begin(), texts.end(), [](const std::string& text) {
        return text.find_first_not_of(" ,\t\r\n") == std::string::npos;
    });
}

bool areFinite(const std::vector<double>& values) {
    return std::all_of(
        values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

/// A tag that is there, and says something, but not in the form that is asked for.
bool isUnreadable(const Tags& tags, const std::string& name, const std::vector<double>& read) {
    const Tags::Value* texts = tags.xmp("Camera", name);
    return texts != nullptr && read.empty() && !isBlank(*texts);
}

/// An angle that is stated in degrees, minutes and seconds; NaN where it is not stated.
double readAngle(const Tags& tags, const std::string& key, char positive, char negative) {
    const std::vector<double> parts = tags.exifNumbers("Exif.GPSInfo." + key);
    const std::string reference = tags.exifText("Exif.GPSInfo." + key + "Ref");
    const bool isKnown =
        reference == std::string(1, positive) || reference == std::string(1, negative);
    if (parts.size() != 3 || !isKnown ||
        !std::all_of(parts.begin(), parts.end(), [](double part) { return part >= 0.0; })) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const double degrees = parts[0] + parts[1] / 60.0 + parts[2] / 3600.0;
    return reference.front() == negative ? -degrees : degrees;
}

void readPosition(const Tags& tags, GeoData& geo) {
    if (tags.exifText("Exif.GPSInfo.GPSStatus") == "V") {
        return; // the receiver had no fix
    }
    const double latitude = readAngle(tags, "GPSLatitude", 'N', 'S');
    const double longitude = readAngle(tags, "GPSLongitude", 'E', 'W');
    if (!(std::abs(latitude) <= 90.0) || !(std::abs(longitude) <= 180.0)) {
        return;
    }
    if (latitude == 0.0 && longitude == 0.0) {
        return; // what receivers without a fix write
    }
    const auto altitude = tags.exifNumber("Exif.GPSInfo.GPSAltitude");
    const bool isBelowSea = tags.exifNumber("Exif.GPSInfo.GPSAltitudeRef").value_or(0.0) == 1.0;
    geo.position = GeoPosition{latitude,
                               longitude,
                               altitude && std::isfinite(*altitude)
                                   ? (isBelowSea ? -*altitude : *altitude)
                                   : std::numeric_limits<double>::quiet_NaN()};
}

DataType pixelType(double bits, double sampleFormat) {
    constexpr double kSigned = 2.0;
    constexpr double kFloat = 3.0;
    if (sampleFormat == kFloat) {
        return bits == 32.0   ? DataType::Float32
               : bits == 64.0 ? DataType::Float64
                              : DataType::Unknown;
    }
    const bool isSigned = sampleFormat == kSigned;
    if (bits == 8.0 && !isSigned) {
        return DataType::UInt8;
    }
    // Samples of 10, 12 and 14 bits are stored in 16.
    if (bits > 8.0 && bits <= 16.0) {
        return isSigned ? DataType::Int16 : DataType::UInt16;
    }
    if (bits == 32.0) {
        return isSigned ? DataType::Int32 : DataType::UInt32;
    }
    return DataType::Unknown;
}

std::uint64_t asCount(std::optional<double> value) {
    constexpr double kMax = 4294967295.0;
    return value && *value >= 0.0 && *value <= kMax ? static_cast<std::uint64_t>(*value) : 0;
}

void readImageShape(const TagFile& file, ExifInfo& exif) {
    const Tags& tags = file.tags;
    if (file.isJpeg) {
        exif.imageWidth = file.pixelWidth;
        exif.imageHeight = file.pixelHeight;
        exif.pixelType = DataType::UInt8;
        exif.bandCount = 3;
        return;
    }
    exif.imageWidth = asCount(tags.exifNumber("Exif.Image.ImageWidth"));
    exif.imageHeight = asCount(tags.exifNumber("Exif.Image.ImageLength"));
    exif.bandCount = asCount(tags.exifNumber("Exif.Image.SamplesPerPixel").value_or(1.0));
    exif.pixelType = pixelType(tags.exifNumber("Exif.Image.BitsPerSample").value_or(1.0),
                               tags.exifNumber("Exif.Image.SampleFormat").value_or(1.0));
}

/// The value where it is positive and finite, else 0.
double positive(std::optional<double> value) {
    return value && std::isfinite(*value) && *value > 0.0 ? *value : 0.0;
}

void readExposure(const Tags& tags, ExifInfo& exif) {
    exif.exposureTime = positive(tags.exifNumber("Exif.Photo.ExposureTime"));
    exif.apertureFNumber = positive(tags.exifNumber("Exif.Photo.FNumber"));
    double iso = positive(tags.exifNumber("Exif.Photo.ISOSpeed"));
    if (iso == 0.0) {
        iso = positive(tags.exifNumber("Exif.Photo.ISOSpeedRatings"));
    }
    constexpr double kMaxIso = 1e9;
    exif.iso = iso <= kMaxIso ? static_cast<std::int32_t>(iso) : 0;
}

void readBands(const Tags& tags, ExifInfo& exif) {
    if (const Tags::Value* names = tags.xmp("Camera", "BandName"); names != nullptr) {
        const std::vector<std::string> split =
            names->size() == 1 && exif.bandCount > 1 ? splitList(names->front()) : *names;
        if (split.size() == exif.bandCount) {
            for (const std::string& name : split) {
                exif.bandNames.push_back(QString::fromStdString(name).trimmed());
            }
        }
    }
    const std::vector<double> centres = tags.xmpNumbers("Camera", "CentralWavelength");
    const std::vector<double> widths = tags.xmpNumbers("Camera", "WavelengthFWHM");
    const bool hasWidths = widths.size() == exif.bandCount && areFinite(widths);
    if (centres.size() == exif.bandCount && areFinite(centres)) {
        for (std::size_t b = 0; b < centres.size(); ++b) {
            exif.bands.push_back({centres[b], hasWidths ? widths[b] : 0.0});
        }
    }
}

void readDarkLevels(const Tags& tags, ExifInfo& exif) {
    exif.darkLevels = readBlackLevel(tags, exif.bandCount);
    if (!exif.darkLevels.empty()) {
        return;
    }
    const std::vector<double> levels = tags.xmpNumbers("Camera", "BlackCurrent");
    if (levels.size() == exif.bandCount && areFinite(levels)) {
        for (const double level : levels) {
            exif.darkLevels.push_back(Eigen::MatrixXd::Constant(1, 1, level));
        }
    }
}

/// The tag holds "x,y" pairs: for one band all of them, for several one list item a band.
void readBadPixels(const Tags& tags, ImageMetadata& metadata) {
    ExifInfo& exif = metadata.exif;
    const Tags::Value* items = tags.xmp("Camera", "InvalidPixel");
    if (items == nullptr) {
        return;
    }
    std::vector<Tags::Value> perBand;
    if (exif.bandCount == 1) {
        perBand.push_back(*items);
    } else {
        for (const std::string& item : *items) {
            perBand.push_back({item});
        }
    }
    if (perBand.size() != exif.bandCount) {
        metadata.warnings.emplace_back("InvalidPixel does not hold one list a band; not used");
        return;
    }
    for (const Tags::Value& texts : perBand) {
        auto& list = exif.badPixels.emplace_back();
        const std::vector<double> numbers = parseNumbers(texts);
        if (numbers.size() % 2 != 0 || (numbers.empty() && !isBlank(texts))) {
            metadata.warnings.emplace_back("InvalidPixel does not hold pairs of numbers; not used");
            exif.badPixels.clear();
            return;
        }
        for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
            constexpr double kMax = 2147483647.0;
            if (std::abs(numbers[i]) <= kMax && std::abs(numbers[i + 1]) <= kMax) {
                list.emplace_back(static_cast<std::int32_t>(numbers[i]),
                                  static_cast<std::int32_t>(numbers[i + 1]));
            }
        }
    }
}

/// The tags hold flat pairs (power of x, power of y) and a coefficient for each.
void readVignetting2D(const Tags& tags, ImageMetadata& metadata) {
    const std::vector<double> powers = tags.xmpNumbers("Camera", "VignettingPolynomial2DName");
    const std::vector<double> values = tags.xmpNumbers("Camera", "VignettingPolynomial2D");
    if (values.empty() && !isUnreadable(tags, "VignettingPolynomial2D", values)) {
        return;
    }
    constexpr double kMaxPower = 32.0;
    Eigen::Index rows = 0;
    Eigen::Index cols = 0;
    bool isValid = !values.empty() && areFinite(values) && powers.size() == 2 * values.size();
    for (std::size_t i = 0; isValid && i < powers.size(); ++i) {
        isValid = powers[i] >= 0.0 && powers[i] <= kMaxPower && powers[i] == std::floor(powers[i]);
        Eigen::Index& size = i % 2 == 0 ? rows : cols;
        size = std::max(size, static_cast<Eigen::Index>(isValid ? powers[i] : 0.0) + 1);
    }
    if (!isValid) {
        metadata.warnings.emplace_back(
            "VignettingPolynomial2D and its powers are no polynomial; not used");
        return;
    }
    VignettingData& vignetting = metadata.exif.vignetting;
    vignetting.type = VignettingType::Polynomial2D;
    vignetting.coefficients = Eigen::MatrixXd::Zero(rows, cols);
    for (std::size_t i = 0; i < values.size(); ++i) {
        vignetting.coefficients(static_cast<Eigen::Index>(powers[2 * i]),
                                static_cast<Eigen::Index>(powers[2 * i + 1])) += values[i];
    }
}

/// The tag holds bands x bands numbers, row after row.
void readColorMatrix(const Tags& tags, ImageMetadata& metadata) {
    const std::vector<double> values = tags.xmpNumbers("Camera", "ColorTransform");
    if (values.empty() && !isUnreadable(tags, "ColorTransform", values)) {
        return;
    }
    if (values.size() != metadata.exif.bandCount * metadata.exif.bandCount || !areFinite(values)) {
        metadata.warnings.emplace_back("ColorTransform is not a bands x bands matrix; not used");
        return;
    }
    const auto bands = static_cast<Eigen::Index>(metadata.exif.bandCount);
    using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
    metadata.exif.colorConversionMatrix = Eigen::Map<const RowMajor>(values.data(), bands, bands);
}

/// Reads the corners of the target and its reflectance, of an image that is not of a target too:
/// they are what the file says.
void readTarget(const Tags& tags, ImageMetadata& metadata) {
    constexpr double kOfTarget = 2.0;
    RecordedTarget& target = metadata.exif.recordedTarget;
    target.isTarget = tags.xmpNumber("Camera", "CalibrationPicture") == kOfTarget;
    const std::vector<double> corners = tags.xmpNumbers("Camera", "ReflectArea");
    if (corners.size() % 2 != 0 || !areFinite(corners) ||
        isUnreadable(tags, "ReflectArea", corners)) {
        metadata.warnings.emplace_back("ReflectArea does not hold pairs of numbers; not used");
    } else {
        for (std::size_t i = 0; i < corners.size(); i += 2) {
            target.corners.emplace_back(corners[i], corners[i + 1]);
        }
    }
    const std::vector<double> albedo = tags.xmpNumbers("Camera", "Albedo");
    if (albedo.size() == metadata.exif.bandCount && areFinite(albedo)) {
        target.reflectance = albedo;
    } else if (!albedo.empty() || isUnreadable(tags, "Albedo", albedo)) {
        metadata.warnings.emplace_back("Albedo does not hold one number a band; not used");
    }
}

void readGamma(const Tags& tags, ExifInfo& exif) {
    const std::vector<double> values = tags.xmpNumbers("Camera", "Gamma");
    if (values.empty() || values.size() != 3 * exif.bandCount || !areFinite(values)) {
        return;
    }
    for (std::size_t b = 0; b < exif.bandCount; ++b) {
        exif.gamma.push_back({values[3 * b], values[3 * b + 1], values[3 * b + 2]});
    }
}

std::optional<Eigen::Vector3d> readAngles(const Tags& tags, const std::string& stem) {
    const auto yaw = tags.xmpNumber("Camera", stem + "Yaw");
    const auto pitch = tags.xmpNumber("Camera", stem + "Pitch");
    const auto roll = tags.xmpNumber("Camera", stem + "Roll");
    if (!yaw || !pitch || !roll) {
        return std::nullopt;
    }
    const Eigen::Vector3d angles(*yaw, *pitch, *roll);
    return angles.allFinite() ? std::optional<Eigen::Vector3d>(angles) : std::nullopt;
}

void readIrradiance(const Tags& tags, ExifInfo& exif) {
    exif.sunIrradiance = tags.xmpNumbers("Camera", "Irradiance");
    if (exif.sunIrradiance.empty()) {
        exif.sunIrradiance = tags.xmpNumbers("Camera", "SunSensor");
    }
    exif.sunSensorYawPitchRoll = readAngles(tags, "Irradiance");
}

/// The point is stated in mm; the focal plane resolution gives px per unit.
void readPrincipalPoint(const Tags& tags, ExifInfo& exif) {
    const std::vector<double> point = tags.xmpNumbers("Camera", "PrincipalPoint");
    const double x = positive(tags.exifNumber("Exif.Photo.FocalPlaneXResolution"));
    const double y = positive(tags.exifNumber("Exif.Photo.FocalPlaneYResolution"));
    const double unit = tags.exifNumber("Exif.Photo.FocalPlaneResolutionUnit").value_or(2.0);
    const double mmPerUnit = unit == 2.0 ? 25.4 : unit == 3.0 ? 10.0 : unit == 4.0 ? 1.0 : 0.0;
    if (point.size() == 2 && x > 0.0 && y > 0.0 && mmPerUnit > 0.0) {
        exif.principalPoint = Eigen::Vector2d(point[0] * x / mmPerUnit, point[1] * y / mmPerUnit);
    }
}

void readIdentity(const Tags& tags, ExifInfo& exif) {
    exif.make = QString::fromStdString(tags.exifText("Exif.Image.Make"));
    exif.model = QString::fromStdString(tags.exifText("Exif.Image.Model"));
    std::string serial = tags.exifText("Exif.Photo.BodySerialNumber");
    if (serial.empty()) {
        serial = tags.exifText("Exif.Image.CameraSerialNumber");
    }
    exif.serialNumber = QString::fromStdString(serial);
    exif.rigName = QString::fromStdString(tags.xmpText("Camera", "RigName"));
    if (const auto index = tags.xmpNumber("Camera", "RigCameraIndex");
        index && *index >= 0.0 && *index <= 1000.0) {
        exif.rigCameraIndex = static_cast<std::int32_t>(*index);
    }
    for (const auto& [prefix, name] : {std::pair{"Camera", "CaptureUUID"},
                                       std::pair{"MicaSense", "CaptureId"},
                                       std::pair{"drone-dji", "CaptureUUID"}}) {
        if (exif.captureId.isEmpty()) {
            exif.captureId = QString::fromStdString(tags.xmpText(prefix, name));
        }
    }
}

} // namespace

std::vector<Eigen::MatrixXd> readBlackLevel(const Tags& tags, std::uint64_t bandCount) {
    // Values are ordered by row, column and sample, the last running fastest.
    const std::vector<double> levels = tags.exifNumbers("Exif.Image.BlackLevel");
    std::vector<double> repeat = tags.exifNumbers("Exif.Image.BlackLevelRepeatDim");
    if (repeat.size() != 2) {
        repeat = {1.0, 1.0};
    }
    const std::uint64_t rows = asCount(repeat[0]);
    const std::uint64_t cols = asCount(repeat[1]);
    constexpr std::uint64_t kMaxRepeat = 64;
    if (levels.empty() || rows == 0 || cols == 0 || rows > kMaxRepeat || cols > kMaxRepeat ||
        levels.size() != rows * cols * bandCount) {
        return {};
    }
    std::vector<Eigen::MatrixXd> perBand(bandCount);
    for (std::uint64_t b = 0; b < bandCount; ++b) {
        Eigen::MatrixXd& pattern = perBand[b];
        pattern.resize(static_cast<Eigen::Index>(rows), static_cast<Eigen::Index>(cols));
        for (std::uint64_t r = 0; r < rows; ++r) {
            for (std::uint64_t c = 0; c < cols; ++c) {
                pattern(static_cast<Eigen::Index>(r), static_cast<Eigen::Index>(c)) =
                    levels[(r * cols + c) * bandCount + b];
            }
        }
        if (!pattern.allFinite()) {
            return {};
        }
        if ((pattern.array() == pattern(0, 0)).all()) {
            pattern = Eigen::MatrixXd::Constant(1, 1, pattern(0, 0));
        }
    }
    return perBand;
}

void readCommon(const TagFile& file, ImageMetadata& metadata) {
    const Tags& tags = file.tags;
    ExifInfo& exif = metadata.exif;
    readImageShape(file, exif);
    readIdentity(tags, exif);
    readExposure(tags, exif);
    readBands(tags, exif);
    readDarkLevels(tags, exif);
    readBadPixels(tags, metadata);
    readVignetting2D(tags, metadata);
    readColorMatrix(tags, metadata);
    readTarget(tags, metadata);
    readGamma(tags, exif);
    readIrradiance(tags, exif);
    readPrincipalPoint(tags, exif);
    exif.sensitivity = tags.xmpNumbers("Camera", "BandSensitivity");
    exif.sensorTemperature = tags.xmpNumber("Camera", "SensorTemperature");
    exif.cameraYawPitchRoll = readAngles(tags, "");
    if (tags.xmpNumber("Camera", "IsNormalized").value_or(0.0) == 1.0) {
        exif.isNormalized = true;
        exif.radiometricIndicator = 0;
    }
    readPosition(tags, metadata.geo);
}

} // namespace tessik::exif
