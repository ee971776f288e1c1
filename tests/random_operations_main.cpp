// Runs random operations on random inputs, each of which follows from its number:
//   random_operations plain|failing-memory|threads [first number [how many]]
#include "random_operations.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using InputBytes = std::vector<std::uint8_t>;

InputBytes randomBytes(std::mt19937_64& random) {
    InputBytes bytes(random() % 600);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace Quorvane::Pyx;
    const std::string way = argc > 1 ? argv[1] : "plain";
    const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::uint64_t count = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    tellRunningInputAtDeath(argv[0], way.c_str());
    for (std::uint64_t number = first; number < first + count; ++number) {
        std::mt19937_64 random(number);
        runningInput = {number, 0};
        std::vector<InputBytes> bytes;
        std::vector<Input> inputs;
        for (int i = 0; i < (way == "threads" ? 9 : 1); ++i) {
            bytes.push_back(randomBytes(random));
            inputs.emplace_back(bytes.back().data(), bytes.back().size());
        }
        if (way == "threads") {
            runOperationsOnThreads(inputs);
        } else {
            runOperations(inputs[0], way == "plain" ? Calls::plain : Calls::withFailingMemory);
        }
    }
    std::printf("%llu inputs, %s\n", static_cast<unsigned long long>(count), way.c_str());
}
