// Gives inputs that are kept to a fuzz target: each file named on the command line, and each in
// a directory that is. Every input has a heap block of exactly its size, so that a sanitizer
// sees a read behind its end.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/Fuzz.h"

std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) {
    return size;
}

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
                files.push_back(entry.path());
            }
        } else {
            files.emplace_back(argv[i]);
        }
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
        // Which input it was shows when the target aborts.
        std::cout << file.string() << std::endl;
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            std::cerr << "cannot be read: " << file << '\n';
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[bytes.size()]);
        std::copy(bytes.begin(), bytes.end(), exact.get());
        LLVMFuzzerTestOneInput(exact.get(), bytes.size());
    }
    std::cout << files.size() << " inputs replayed\n";
    return files.empty() ? 1 : 0;
}
