// The random operations of the tests on the inputs of a fuzzer.
#include "random_operations.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace Quorvane::Pyx;
    Input input(bytes, size);
    const Calls calls = input.oneIn(4) ? Calls::withFailingMemory : Calls::plain;
    runOperations(input, calls);
    return 0;
}
