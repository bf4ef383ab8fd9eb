#include "flight/input/Inputs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <set>

namespace tessik::flight {
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

constexpr auto kNotRegular = "not a regular file (a pipe, a device or a socket)";

/// GDAL's own file systems hold no other files than regular ones.
bool isVirtual(const fs::path& path) {
    return path.string().rfind("/vsi", 0) == 0;
}

/// Opening a pipe waits for somebody to write into it. What is not there is found later.
bool isIrregular(const fs::path& path) {
    std::error_code ignored;
    return !isVirtual(path) && fs::exists(path, ignored) && !fs::is_regular_file(path, ignored);
}

/// An image, and the folder that it came from: the one that was named, or its own. Absent where the
/// path under the output is settled.
struct Found {
    Input input;
    std::optional<fs::path> folder;
};

/// What arguments stand for, so far.
struct Expansion {
    std::vector<Found> images;
    std::vector<Failure> failures;
};

void walk(const fs::path& folder, const fs::path& excluded, Expansion& list) {
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
            if (isIrregular(entry->path())) {
                list.failures.push_back({entry->path().string(), kNotRegular});
                continue;
            }
            found.push_back(
                {entry->path().string(), entry->path().lexically_relative(folder).string()});
        }
    }
    if (failure) {
        list.failures.push_back({folder.string(), failure.message()});
    } else if (found.empty()) {
        list.failures.push_back({folder.string(), "no images in this folder"});
    }
    std::sort(found.begin(), found.end(), isBefore);
    for (Input& input : found) {
        list.images.push_back({std::move(input), folder});
    }
}

void expand(const std::string& argument, const fs::path& excluded, Expansion& list, bool isListed) {
    const fs::path path(argument);
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        walk(path, excluded, list);
    } else if (isIrregular(path)) {
        list.failures.push_back({argument, kNotRegular});
    } else if (isListed && path.is_relative()) {
        list.images.push_back({{argument, path.lexically_normal().string()}, std::nullopt});
    } else {
        // What is not there does not change where the others go.
        const bool isThere = isVirtual(path) || fs::exists(path, ignored);
        list.images.push_back({{argument, path.filename().string()},
                               isThere ? std::optional(path.parent_path()) : std::nullopt});
    }
}

void readList(const std::string& name, const fs::path& excluded, Expansion& list) {
    std::ifstream file(name);
    if (!file) {
        list.failures.push_back({name, "the list cannot be read"});
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

/// Names of its own for each of several folders: the last part of its path, or as many of the last
/// ones as tell it from all others.
std::map<fs::path, fs::path> namesOf(const std::set<fs::path>& folders) {
    std::map<fs::path, fs::path> names;
    for (std::size_t parts = 1; names.size() < folders.size(); ++parts) {
        std::map<fs::path, std::vector<fs::path>> byName;
        for (const fs::path& folder : folders) {
            const auto count =
                static_cast<std::size_t>(std::distance(folder.begin(), folder.end()));
            fs::path name;
            for (auto part = std::next(folder.begin(),
                                       static_cast<std::ptrdiff_t>(count - std::min(count, parts)));
                 part != folder.end();
                 ++part) {
                name /= part->relative_path();
            }
            byName[name].push_back(folder);
        }
        const bool areDistinct = byName.size() == folders.size();
        for (const auto& [name, named] : byName) {
            if (areDistinct) {
                names[named.front()] = name;
            }
        }
    }
    return names;
}

fs::path realPath(const fs::path& folder) {
    std::error_code failure;
    const fs::path real = fs::canonical(folder.empty() ? fs::path(".") : folder, failure);
    return failure ? folder.lexically_normal() : real;
}

/// Puts the folder's name before the path under the output where there are several folders.
std::vector<Input> tellFoldersApart(std::vector<Found> images) {
    std::map<fs::path, fs::path> known; // as given, canonical
    std::set<fs::path> folders;
    for (const Found& found : images) {
        if (found.folder && known.count(*found.folder) == 0) {
            known[*found.folder] = realPath(*found.folder);
            folders.insert(known[*found.folder]);
        }
    }
    const std::map<fs::path, fs::path> names =
        folders.size() > 1 ? namesOf(folders) : std::map<fs::path, fs::path>();
    std::vector<Input> inputs;
    inputs.reserve(images.size());
    for (Found& found : images) {
        if (!names.empty() && found.folder) {
            const fs::path& name = names.at(known.at(*found.folder));
            found.input.relative = (name / found.input.relative).string();
        }
        inputs.push_back(std::move(found.input));
    }
    return inputs;
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
    Expansion expansion;
    for (const std::string& argument : arguments) {
        if (argument.rfind('@', 0) == 0) {
            readList(argument.substr(1), excluded, expansion);
        } else {
            expand(argument, excluded, expansion, false);
        }
    }
    std::set<std::string> seen;
    std::vector<Found> unique;
    for (Found& found : expansion.images) {
        keepInside(found.input);
        if (seen.insert(fs::path(found.input.path).lexically_normal().string()).second) {
            unique.push_back(std::move(found));
        }
    }
    return {tellFoldersApart(std::move(unique)), std::move(expansion.failures)};
}

} // namespace tessik::flight
