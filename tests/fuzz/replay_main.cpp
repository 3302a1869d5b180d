// Runs each file of the directories and each file named on the command line once. Any compiler
// builds it; the names printed before each run tell which file is at fault when one ends it.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

std::vector<std::filesystem::path> find_files(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            files.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string read_file(const std::filesystem::path& path) {
    std::ifstream input(path, std::ios::binary);
    if (!input) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto files = find_files(argc, argv);
        for (const auto& file : files) {
            std::printf("%s\n", file.filename().c_str());
            std::fflush(stdout);
            const auto content = read_file(file);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()),
                                   content.size());
        }
        std::printf("%zu files\n", files.size());
        return files.empty() ? 1 : 0;
    } catch (const std::exception& ex) {
        std::fprintf(stderr, "%s\n", ex.what());
        return 1;
    }
}
