#include "flight/report/Report.h"

#include "flight/json/Json.h"
#include "flight/report/PageData.h"
#include "flight/report/PageParts.h"
#include "flight/report/RunFiles.h"

#include <string>
#include <string_view>

namespace tessik::flight::report {
namespace {

namespace fs = std::filesystem;

/// JSON that may stand in a script element: "<" occurs in its strings only, and as an escape it
/// can neither end the element nor open a comment. Bytes that are not UTF-8 are replaced.
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

/// The template with a part in place of each mark "{{name}}". Marks in what is put in stay.
std::string page(const std::string& data) {
    std::string result;
    std::string_view rest = kPageTemplate;
    for (auto open = rest.find("{{"); open != std::string_view::npos; open = rest.find("{{")) {
        const auto close = rest.find("}}", open);
        const std::string_view name = rest.substr(open + 2, close - open - 2);
        result += rest.substr(0, open);
        if (name == "style") {
            result += kStyle;
        } else if (name == "charts") {
            result += kChartLibrary;
        } else if (name == "script") {
            result += kScript;
        } else if (name == "data") {
            result += data;
        }
        rest = rest.substr(close + 2);
    }
    result += rest;
    return result;
}

} // namespace

void writeReport(const fs::path& outputFolder, const fs::path& reportFile) {
    writeWhole(reportFile.string(), page(scriptText(pageData(readRunFiles(outputFolder)))));
}

} // namespace tessik::flight::report
