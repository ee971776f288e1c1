// The contenders of this library, as C functions for measure.py.

#include "contenders.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

namespace {

struct Contender {
    std::string task;
    std::string name;
    std::function<Run()> prepare;
    bool isSize;
    Run run;
};

// Never ends, since contenders hold objects that their libraries take back at the end of the process.
std::vector<Contender>& contenders = *new std::vector<Contender>;

constexpr std::size_t mebibyte = std::size_t{1} << 20;

}  // namespace

void addRun(std::string task, std::string contender, std::function<Run()> prepare, bool isSize) {
    contenders.push_back({std::move(task), std::move(contender), std::move(prepare), isSize, {}});
}

void addMemcpy(const std::string& task, std::size_t size) {
    addContender(task, "memcpy",
                 [source = std::vector<char>(size, 1)] { copyBytes(source.data(), source.size(), source.size()); });
}

extern "C" {

// Until keepMemory is called, every large result stands in pages that the system has just handed out.
std::size_t addContenders() {
    mallopt(M_MMAP_THRESHOLD, mebibyte);
    // Most programs have started a thread at some time, and then pay for atomic operations.
    std::thread([] {}).join();
    addConversions();
    addComparisons();
    addScalars();
    addSharing();
    addCalls();
    addTexts();
    addTrees();
    addArrays();
    addViews();
    addMemory();
    addGrowth();
    return contenders.size();
}

const char* taskOf(std::size_t contender) {
    return contenders[contender].task.c_str();
}

const char* nameOf(std::size_t contender) {
    return contenders[contender].name.c_str();
}

bool isSize(std::size_t contender) {
    return contenders[contender].isSize;
}

void prepareContender(std::size_t contender) {
    contenders[contender].run = contenders[contender].prepare();
}

double runContender(std::size_t contender, std::uint64_t calls) {
    return contenders[contender].run(calls);
}

void endContender(std::size_t contender) {
    contenders[contender].run = {};
}

// From now on results stand in memory that the process has used before and keeps, as small ones always do: otherwise
// tasks would measure how long the system takes to hand out pages.
void keepMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    const std::vector<char> memory(256 * mebibyte, 1);
    benchmark::DoNotOptimize(memory.data());
}

void copyBytes(const void* source, std::size_t sourceSize, std::size_t size) {
    const std::unique_ptr<void, decltype(&std::free)> copy(std::malloc(size), &std::free);
    if (size >= 4 * mebibyte) {
        // The hint that NumPy gives for its results: fresh pages are handed out in large ones.
        const auto begin = reinterpret_cast<std::uintptr_t>(copy.get());
        const std::uintptr_t page = (begin + 4095) & ~std::uintptr_t{4095};
        madvise(reinterpret_cast<void*>(page), begin + size - page, MADV_HUGEPAGE);
    }
    for (std::size_t done = 0; done < size; done += sourceSize) {
        std::memcpy(static_cast<char*>(copy.get()) + done, source, std::min(sourceSize, size - done));
    }
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
}

}  // extern "C"
