// Measures the library beside what a user would take instead. Run by scripts/bench, which makes the table.

#include "contenders.h"

#include <malloc.h>

#include <cstddef>
#include <limits>
#include <vector>

namespace {

// Lets all tasks work in memory that the process has used before and keeps: with the usual settings of glibc, tasks on
// large arrays would measure how long the kernel takes to hand out pages, which is most of their time and the same for
// all contenders.
void keepMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    constexpr std::size_t enoughForEachTask = std::size_t{1} << 28;
    std::vector<char> memory(enoughForEachTask, 1);
    benchmark::DoNotOptimize(memory.data());
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    addScalars();
    addArrays();
    addConversions();
    addComparisons();
    addReorders();
    addSlices();
    addCalls();
    addTexts();
    addTrees();
    addViews();
    keepMemory();
    const bool anyMatched = benchmark::RunSpecifiedBenchmarks() != 0;
    benchmark::Shutdown();
    return anyMatched ? 0 : 1;
}
