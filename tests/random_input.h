// What a random test asks for, taken out of bytes: those of a fuzzer, or of a random generator.
#pragma once

#include "value_model.h"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace Quorvane::Pyx {

// What is running, for the message when it fails.
struct RunningInput {
    std::uint64_t number = 0;
    std::uint64_t step = 0;
};
inline thread_local RunningInput runningInput;
inline const char* commandOfInput = nullptr;
inline const char* wayOfInput = nullptr;

inline void tellRunningInput() {
    if (commandOfInput != nullptr) {
        std::fprintf(stderr, "failed in step %llu of: %s %s %llu\n", static_cast<unsigned long long>(runningInput.step),
                     commandOfInput, wayOfInput, static_cast<unsigned long long>(runningInput.number));
    }
}

}  // namespace Quorvane::Pyx

// Of the sanitizers, where there is one.
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace Quorvane::Pyx {

// However the process ends on a failure, the command that repeats it is told.
inline void tellRunningInputAtDeath(const char* command, const char* way) {
    commandOfInput = command;
    wayOfInput = way;
    std::vector<int> signals{SIGABRT};
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(tellRunningInput);
    } else {
        signals.insert(signals.end(), {SIGFPE, SIGSEGV});
    }
    for (const int signal : signals) {
        std::signal(signal, [](int caught) {
            tellRunningInput();
            std::signal(caught, SIG_DFL);
            std::raise(caught);
        });
    }
}

// Ends the process where a result is not what the model says.
inline void require(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (!holds) {
        std::fprintf(stderr, "%s:%d: not what the model says\n", file, line);
        std::abort();
    }
}

// Behind the last byte everything is zero.
class Input {
public:
    Input(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

    bool atEnd() const { return next_ == end_; }

    // A plain number with any bits.
    template <class T>
    T word() {
        T value{};
        const std::size_t size = std::min<std::size_t>(sizeof(T), static_cast<std::size_t>(end_ - next_));
        if (size != 0) {
            std::memcpy(&value, next_, size);
        }
        next_ += size;
        return value;
    }

    std::uint64_t below(std::uint64_t bound) {
        return bound <= 256 ? word<std::uint8_t>() % bound : word<std::uint16_t>() % bound;
    }

    // Something that is to be rare.
    bool oneIn(std::uint64_t chances) { return below(chances) == chances - 1; }

    template <class List>
    auto& pick(List& list) {
        return std::data(list)[below(std::size(list))];
    }

    std::string text(std::uint64_t longest) {
        const std::uint64_t wanted = below(longest + 1);
        const std::size_t length = std::min<std::size_t>(wanted, static_cast<std::size_t>(end_ - next_));
        next_ += length;
        return std::string(reinterpret_cast<const char*>(next_ - length), length);
    }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

// Made at the start, before a target changes the rounding mode.
inline const std::vector<long double> numbersOfInterest = interestingNumbers();

// Digits for the most part, among what strtod understands and what it does not.
inline std::string pickText(Input& input) {
    static const char* const pieces[] = {"",         "+",
                                         "-",        "0x",
                                         "-0X1",     "inf",
                                         "INFINITY", "nan",
                                         "NaN(1)",   "true",
                                         "e+",       "E-",
                                         "p",        "false",
                                         " ",        "\t\n",
                                         "e",        "00",
                                         ".",        "-9007199254740993",
                                         "1e999",    "a text that needs a buffer"};
    std::string text;
    for (std::uint64_t count = input.below(4); count != 0; --count) {
        text += input.pick(pieces);
        text += input.oneIn(8) ? input.text(6) : "";
    }
    for (std::uint64_t count = input.below(2) == 0 ? input.below(24) : 0; count != 0; --count) {
        const std::uint64_t symbol = input.below(64);
        text += symbol < 60 ? static_cast<char>('0' + symbol % 10) : symbol == 63 ? 'e' : '.';
    }
    return text;
}

inline Bytes pickElement(Input& input, WellKnownType type) {
    if (type == WellKnownType::string) {
        return pickText(input);
    } else if (type.isNumeric() && input.below(2) == 0) {
        const WellKnownType part = type.componentType();
        const Number number{castPart(input.pick(numbersOfInterest), part),
                            type.isComplex() ? castPart(input.pick(numbersOfInterest), part) : 0.0L};
        return bytesOf(type, number);
    }
    const std::uint64_t words[] = {input.word<std::uint64_t>(),
                                   sizeOfElement(type) > 8 ? input.word<std::uint64_t>() : 0};
    return Bytes(reinterpret_cast<const char*>(words), sizeOfElement(type));
}

// Few different ones, so that long arrays cost few bytes.
inline std::vector<Bytes> pickElements(Input& input, WellKnownType type, std::uint64_t count) {
    std::vector<Bytes> different;
    const std::uint64_t number = 1 + input.below(6);
    for (std::uint64_t i = 0; i < std::min(number, count); ++i) {
        different.push_back(pickElement(input, type));
    }
    std::vector<Bytes> elements;
    for (std::uint64_t i = 0; i < count; ++i) {
        elements.push_back(different[i % different.size()]);
    }
    if (count > number) {
        elements[input.below(count)] = pickElement(input, type);
    }
    return elements;
}

// At most 625 elements.
inline Shape pickShape(Input& input) {
    switch (input.below(16)) {
        case 0:
            return {};
        case 1:
            return {input.below(200)};
        case 2:
            return {input.below(14), input.below(15)};
        default: {
            Shape shape(1 + input.below(4));
            for (std::uint64_t& length : shape) {
                length = input.oneIn(16) ? 0 : 1 + input.below(5);
            }
            return shape;
        }
    }
}

}  // namespace Quorvane::Pyx
