#include "Inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <set>

namespace tessik::app {
namespace {

namespace fs = std::filesystem;

bool isImageName(const fs::path& path) {
    constexpr std::array<const char*, 5> kEndings = {".tif", ".tiff", ".jpg", ".jpeg", ".dng"};
    std::string ending = path.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return std::find(kEndings.begin(), kEndings.end(), ending) != kEndings.end();
}

bool isHidden(const fs::path& path) {
    return path.filename().string().rfind('.', 0) == 0;
}

/// As paths are ordered, folder by folder: a separator comes before all that a name may hold.
bool isBefore(const Input& a, const Input& b) {
    const auto rank = [](char c) { return c == '/' ? 0 : 1 + static_cast<unsigned char>(c); };
    return std::lexicographical_compare(a.relative.begin(),
                                        a.relative.end(),
                                        b.relative.begin(),
                                        b.relative.end(),
                                        [&rank](char x, char y) { return rank(x) < rank(y); });
}

void walk(const fs::path& folder, const fs::path& excluded, InputList& list) {
    std::error_code failure;
    std::vector<Input> found;
    auto entry = fs::recursive_directory_iterator(folder, failure);
    for (; !failure && entry != fs::end(entry); entry.increment(failure)) {
        std::error_code ignored;
        if (entry->is_directory(ignored)) {
            const bool isExcluded =
                !excluded.empty() && fs::equivalent(entry->path(), excluded, ignored);
            if (isHidden(entry->path()) || isExcluded) {
                entry.disable_recursion_pending();
            }
        } else if (isImageName(entry->path()) && !isHidden(entry->path())) {
            found.push_back(
                {entry->path().string(), entry->path().lexically_relative(folder).string()});
        }
    }
    if (failure) {
        list.failures.emplace_back(folder.string(), failure.message());
    } else if (found.empty()) {
        list.failures.emplace_back(folder.string(), "no images in this folder");
    }
    std::sort(found.begin(), found.end(), isBefore);
    std::move(found.begin(), found.end(), std::back_inserter(list.images));
}

void expand(const std::string& argument, const fs::path& excluded, InputList& list, bool isListed) {
    const fs::path path(argument);
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        walk(path, excluded, list);
    } else if (isListed && path.is_relative()) {
        list.images.push_back({argument, path.lexically_normal().string()});
    } else {
        list.images.push_back({argument, path.filename().string()});
    }
}

void readList(const std::string& name, const fs::path& excluded, InputList& list) {
    std::ifstream file(name);
    if (!file) {
        list.failures.emplace_back(name, "the list cannot be read");
        return;
    }
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty()) {
            expand(line, excluded, list, true);
        }
    }
}

/// A path that leads out of the output folder would write where nobody expects it.
void keepInside(Input& input) {
    const fs::path relative(input.relative);
    if (!relative.empty() && *relative.begin() == "..") {
        input.relative = fs::path(input.path).filename().string();
    }
}

} // namespace

InputList expandInputs(const std::vector<std::string>& arguments, const fs::path& excluded) {
    InputList list;
    for (const std::string& argument : arguments) {
        if (argument.rfind('@', 0) == 0) {
            readList(argument.substr(1), excluded, list);
        } else {
            expand(argument, excluded, list, false);
        }
    }
    std::set<std::string> seen;
    std::vector<Input> unique;
    for (Input& input : list.images) {
        keepInside(input);
        if (seen.insert(fs::path(input.path).lexically_normal().string()).second) {
            unique.push_back(std::move(input));
        }
    }
    list.images = std::move(unique);
    return list;
}

} // namespace tessik::app
