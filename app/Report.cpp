#include "Report.h"

#include "platform/image/PendingFile.h"
#include "platform/image/Raster.h"
#include "radiometry/core/Types.h"
#include "report/PageData.h"
#include "report/PageParts.h"
#include "report/RunFiles.h"

#include <cerrno>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

/// JSON that may stand in a script element: "<" occurs in its strings alone, and as an escape it
/// can neither end the element nor open a comment. Bytes that are no UTF-8 are replaced.
std::string scriptText(const nlohmann::json& data) {
    const std::string text = data.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        if (c == '<') {
            escaped += "\\u003c";
        } else {
            escaped += c;
        }
    }
    return escaped;
}

/// Writes the template, a part in place of each mark "{{name}}". What is put in is not looked into.
void writePage(std::ostream& stream, const std::string& data) {
    std::string_view rest = report::kPageTemplate;
    for (auto open = rest.find("{{"); open != std::string_view::npos; open = rest.find("{{")) {
        const auto close = rest.find("}}", open);
        const std::string_view name = rest.substr(open + 2, close - open - 2);
        stream << rest.substr(0, open);
        if (name == "style") {
            stream << report::kStyle;
        } else if (name == "charts") {
            stream << report::kChartLibrary;
        } else if (name == "script") {
            stream << report::kScript;
        } else if (name == "data") {
            stream << data;
        }
        rest = rest.substr(close + 2);
    }
    stream << rest;
}

} // namespace

void writeReport(const fs::path& outputFolder, const fs::path& reportFile) {
    const std::string data = scriptText(report::pageData(report::readRunFiles(outputFolder)));
    image::PendingFile pending(reportFile.u8string());
    try {
        std::ofstream stream(fs::u8path(pending.temporaryPath()),
                             std::ios::binary | std::ios::trunc);
        writePage(stream, data);
        stream.close();
        if (!stream) {
            throw image::Error("cannot be written: " + std::generic_category().message(errno));
        }
        pending.commit();
    } catch (const image::Error& failure) {
        throw radiometry::error(reportFile.string() + ": " + failure.what());
    }
}

} // namespace tessik::app
