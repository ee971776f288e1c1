// Measures the library beside what a user would take instead. Run by scripts/bench, which makes the table.

#include "contenders.h"

#include <malloc.h>

#include <limits>

namespace {

// Freed memory stays with the process and is used again: with the usual settings of glibc, tasks on large arrays would
// measure how long the kernel takes to hand out pages, which is most of their time and the same for all contenders.
void keepFreedMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

}  // namespace

int main(int argc, char** argv) {
    keepFreedMemory();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    addScalars();
    addArrays();
    addConversions();
    addReorders();
    addCalls();
    addTexts();
    addTrees();
    const bool anyMatched = benchmark::RunSpecifiedBenchmarks() != 0;
    benchmark::Shutdown();
    return anyMatched ? 0 : 1;
}
