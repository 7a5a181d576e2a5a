// Runs a target over files without a fuzzer: each as it is, and cut short at
// every length up to a limit.
//
// usage: replay FILE|FOLDER...
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/target.h"

namespace {

constexpr std::size_t kCuts = 200;

using Data = std::vector<std::uint8_t>;

/// In a block of exactly its size, so that reads behind it are noticed.
void Run(const Data& data, std::size_t size)
{
    const Data input(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(size));
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

bool RunFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const Data data((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    Run(data, data.size());
    for (std::size_t size = 0; size < std::min(data.size(), kCuts); ++size)
        Run(data, size);
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            files.emplace_back(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fputs("no files to replay\n", stderr);
        return 1;
    }
    const bool read = std::all_of(files.begin(), files.end(), RunFile);
    std::fprintf(stderr, "%zu files replayed\n", files.size());
    return read ? 0 : 1;
}
