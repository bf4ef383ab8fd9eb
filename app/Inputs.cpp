#include "Inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
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
            found.push_back({entry->path(), entry->path().lexically_relative(folder)});
        }
    }
    if (failure) {
        list.failures.emplace_back(folder.string(), failure.message());
    } else if (found.empty()) {
        list.failures.emplace_back(folder.string(), "no images in this folder");
    }
    std::sort(found.begin(), found.end(), [](const Input& a, const Input& b) {
        return a.relative < b.relative;
    });
    list.images.insert(list.images.end(), found.begin(), found.end());
}

void expand(const std::string& argument, const fs::path& excluded, InputList& list, bool isListed) {
    const fs::path path(argument);
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        walk(path, excluded, list);
    } else if (isListed && path.is_relative()) {
        list.images.push_back({path, path.lexically_normal()});
    } else {
        list.images.push_back({path, path.filename()});
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
    if (!input.relative.empty() && *input.relative.begin() == "..") {
        input.relative = input.path.filename();
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
    std::set<fs::path> seen;
    std::vector<Input> unique;
    for (Input& input : list.images) {
        keepInside(input);
        if (seen.insert(input.path.lexically_normal()).second) {
            unique.push_back(std::move(input));
        }
    }
    list.images = std::move(unique);
    return list;
}

} // namespace tessik::app
