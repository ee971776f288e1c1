// Runs a fuzz target over the files of a folder, so that what it once found is tested with any compiler.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
            // Tells which one it is, should it end the process.
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++count;
        }
    }
    return count == 0 ? 1 : 0;
}
