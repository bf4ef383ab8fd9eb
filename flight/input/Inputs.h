#pragma once

#include "flight/Observer.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tessik::flight {

/// One image that the user named, and where its result belongs.
struct Input {
    std::string path;
    /// Path under an output folder, with the extension of the input: below a folder that was named,
    /// as there; a file that was named itself, or listed with an absolute path, by its name. Where
    /// inputs come from several folders, the name of its folder stands before it (and as much of
    /// that folder's path as distinguishes it from the others). A relative path in a list stays as
    /// it is.
    std::string relative;
};

/// A list of inputs, and what is wrong with some of the arguments.
struct InputList {
    std::vector<Input> images;
    std::vector<Failure> failures;
};

/// Expands arguments: an image, a folder (walked recursively for .tif .tiff .jpg .jpeg .dng, hidden
/// files and `excluded` left out, in the order of names), or "@list.txt" with a path a line.
InputList expandInputs(const std::vector<std::string>& arguments,
                       const std::filesystem::path& excluded = {});

} // namespace tessik::flight
