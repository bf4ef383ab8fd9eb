#include "flight/run/Output.h"

#include "flight/input/Pixels.h"
#include "flight/json/Json.h"
#include "flight/plan/Plan.h"
#include "platform/image/PendingFile.h"

#include <algorithm>
#include <cmath>

namespace tessik::flight {
namespace {

namespace fs = std::filesystem;

image::WriteOptions writeOptions(const InputImage& image,
                                 const std::vector<BandUncertainty>& uncertainty,
                                 const std::vector<std::string>& creationOptions) {
    image::WriteOptions options;
    options.noData = static_cast<double>(radiometry::kNoData);
    options.creationOptions = creationOptions;
    if (image.exif.isThermal) {
        options.unit = kCelsius;
    }
    for (const QString& name : image.exif.bandNames) {
        options.bandNames.push_back(name.toStdString());
    }
    for (const BandInfo& band : image.exif.bands) {
        options.bandItems.push_back({{"wavelength", exactText(band.wavelengthNm)},
                                     {"fwhm", exactText(band.fwhmNm)},
                                     {"wavelength_units", "Nanometers"}});
    }
    for (std::size_t b = 0; b < uncertainty.size(); ++b) {
        options.bandItems.resize(std::max(options.bandItems.size(), uncertainty.size()));
        auto& items = options.bandItems[b];
        for (const auto kind : {UncertaintyTerm::Kind::Systematic, UncertaintyTerm::Kind::Random}) {
            if (const double value = uncertainty[b].of(kind); std::isfinite(value)) {
                items.emplace_back("relative_uncertainty_" + wordOf(kind), exactText(value));
            }
        }
    }
    eraseUseless(image.exif, options.bandNames);
    eraseUseless(image.exif, options.bandItems);
    return options;
}

} // namespace

std::string fingerprint(const fs::path& input,
                        const std::string& settings,
                        const std::vector<std::string>& creationOptions) {
    std::string text =
        std::string(RADIOMETRY_VERSION) + " " + std::to_string(fs::file_size(input)) + " " +
        std::to_string(fs::last_write_time(input).time_since_epoch().count()) + " " + settings;
    for (const std::string& option : creationOptions) {
        text += " " + option;
    }
    return text;
}

std::string fingerprintOf(const fs::path& output) {
    std::error_code ignored;
    if (!fs::is_regular_file(output, ignored)) {
        return {};
    }
    try {
        return exif::readTags(output.string()).tags.xmpText("Tessik", "Fingerprint");
    } catch (const exif::Error&) {
        return {};
    }
}

void writeOutput(const fs::path& output,
                 const InputImage& image,
                 const exif::RawMetadata& metadata,
                 const BandImage& bands,
                 const std::string& type,
                 const std::vector<BandUncertainty>& uncertainty,
                 const std::string& fingerprint,
                 const std::vector<std::string>& creationOptions) {
    image::PendingFile file(output.string());
    image::WriteOptions options = writeOptions(image, uncertainty, creationOptions);
    std::vector<std::string> omitted;
    if (!image.exif.uselessBands.empty()) {
        omitted = {"BandName", "CentralWavelength", "WavelengthFWHM"}; // one a band of the source
    }
    options.describe = [&](const std::string& head) {
        return exif::copyDescription(metadata,
                                     head,
                                     {{"Xmp.Tessik.Correction", {type}},
                                      {"Xmp.Tessik.Version", {RADIOMETRY_VERSION}},
                                      {"Xmp.Tessik.Fingerprint", {fingerprint}}},
                                     omitted);
    };
    image::writeFloatRaster(file.temporaryPath(), bands, options);
    file.commit();
}

} // namespace tessik::flight
