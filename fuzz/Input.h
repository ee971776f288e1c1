// What a target asks for, taken out of the bytes of a fuzzer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace Quorvane::Pyx {

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

}  // namespace Quorvane::Pyx
