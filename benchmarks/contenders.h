// How a task is set up for several contenders that are measured in turn. All contenders of a task do the same work and
// free their results; the one called "ours" is compared with each of the others. measure.py runs them, and adds those
// that are driven from Python.
#pragma once

#include <benchmark/benchmark.h>

#include <ctime>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

// Does the work so many times and gives the processor time of all calls in nanoseconds, or measures a size in bytes.
using Run = std::function<double(std::uint64_t calls)>;

// A task is called "kind: detail", where tasks of one kind make one line of the chart. `prepare` makes the data that
// are worked on, which end with the Run.
void addRun(std::string task, std::string contender, std::function<Run()> prepare, bool isSize = false);

inline double processorNanoseconds() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

// makeBody() prepares the data and gives the body that does the work.
template <class MakeBody>
void addPrepared(const std::string& task, const std::string& contender, MakeBody makeBody) {
    addRun(task, contender, [makeBody = std::move(makeBody)]() -> Run {
        return [body = makeBody()](std::uint64_t calls) {
            const double start = processorNanoseconds();
            for (; calls != 0; --calls) {
                body();
            }
            return processorNanoseconds() - start;
        };
    });
}

template <class Body>
void addContender(const std::string& task, const std::string& contender, Body body) {
    addPrepared(task, contender, [body = std::move(body)] { return body; });
}

// Measures body(state) alone: setUp() makes the state before each call, and its end is not measured either.
template <class SetUp, class Body>
void addWithState(const std::string& task, const std::string& contender, SetUp setUp, Body body) {
    addRun(task, contender, [=]() -> Run {
        return [=](std::uint64_t calls) {
            double elapsed = 0;
            for (; calls != 0; --calls) {
                auto state = setUp();
                const double start = processorNanoseconds();
                body(state);
                elapsed += processorNanoseconds() - start;
            }
            return elapsed;
        };
    });
}

// Measures a size: bytes() gives it.
template <class Bytes>
void addSize(const std::string& task, const std::string& contender, Bytes bytes) {
    addRun(
        task, contender,
        [bytes = std::move(bytes)]() -> Run { return [bytes](std::uint64_t) { return static_cast<double>(bytes()); }; },
        true);
}

// How the time grows from 10^2 to 10^7 elements: makeBody(count) prepares so many and gives the body.
template <class MakeBody>
void addGrowthOf(const std::string& work, MakeBody makeBody) {
    std::uint64_t count = 100;
    for (const char* power : {"10^2", "10^3", "10^4", "10^5", "10^6", "10^7"}) {
        addPrepared("growth, " + work + ": " + power, "ours", [=] { return makeBody(count); });
        count *= 10;
    }
}

// Bytes on the heap that are in use, with what the allocator adds to each piece.
std::size_t heapBytes();

// Fills a new result of `size` bytes with copies of the source, which is what nothing can beat that makes such a
// result.
extern "C" void copyBytes(const void* source, std::size_t sourceSize, std::size_t size);
void addMemcpy(const std::string& task, std::size_t size);

// One function for each file of tasks.
void addConversions();
void addComparisons();
void addScalars();
void addSharing();
void addCalls();
void addTexts();
void addTrees();
void addArrays();
void addViews();
void addMemory();
void addGrowth();
