// Random operations on values beside a model of them: the strongest test of the library, and a target of the fuzzer.
#pragma once

#include "random_input.h"

#include <vector>

namespace Quorvane::Pyx {

// How the library is called: plainly, or with each allocation of a call failing in turn before it passes. After each
// failure nothing may have changed, and in the end nothing may be left.
enum class Calls { plain, withFailingMemory };

// Does what the input asks for, with one of the two value types and the flat functions. Ends the process where the
// library does anything else than the model.
void runOperations(Input input, Calls calls);

// The same on as many threads as there are inputs behind the first one, over copies of the values that the first makes.
void runOperationsOnThreads(const std::vector<Input>& inputs);

}  // namespace Quorvane::Pyx
