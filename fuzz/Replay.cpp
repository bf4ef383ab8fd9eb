#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// Passes each file of the corpus to its target once, without libFuzzer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            std::copy(fs::directory_iterator(argv[i]),
                      fs::directory_iterator(),
                      std::back_inserter(files));
        } else {
            files.emplace_back(argv[i]);
        }
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& path : files) {
        std::printf("%s\n", path.c_str());
        std::fflush(stdout); // so that a crash appears below the name of its input
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        if (!file) {
            std::fprintf(stderr, "cannot be read\n");
            return 1;
        }
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    if (files.empty()) {
        std::fprintf(stderr, "no inputs\n");
        return 1;
    }
    return 0;
}
