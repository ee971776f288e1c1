// How a task is set up for several contenders that are measured in one run.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

// Measures body() as the work of one contender. All contenders of a task do the same work and free their results in
// the body; one of them is called "ours", and the table shows it beside each of the others.
template <class Body>
void addContender(const std::string& task, const char* contender, Body body) {
    benchmark::RegisterBenchmark((task + '/' + contender).c_str(), [body = std::move(body)](benchmark::State& state) {
        for (auto _ : state) {
            body();
        }
    });
}

// One function for each file of tasks.
void addScalars();
void addArrays();
void addConversions();
void addComparisons();
void addReorders();
void addSlices();
void addCalls();
void addTexts();
void addTrees();
void addViews();
