// Conversion of numbers to texts and back, against the stream, strtod and strtoll, in every rounding mode.
#include "value_model.h"

#include <pyx/variant/ZVariant.h>

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace Quorvane::Pyx {
namespace {

constexpr auto withText = ConversionMode::CastOrText;

template <class T>
ZVariant valueOf(WellKnownType type, const std::vector<Bytes>& elements) {
    NativeElements native(type, elements);
    return ZVariant::fromData(static_cast<const T*>(native.data()), elements.size());
}

// All elements, or nothing.
template <class T>
void requireConverted(const ZVariant& result, const std::optional<Array>& wanted) {
    require(result.isNull() == !wanted);
    require(!wanted || storesAll(result.data<T>(), *wanted, wanted->elements.size()));
}

// An integer text that a double holds is read as strtoll reads it.
template <class T>
void requireIntegersAsByStrtoll(const std::vector<Bytes>& texts, const ZVariant& numbers) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        char* end = nullptr;
        errno = 0;
        const long long number = std::strtoll(texts[i].c_str(), &end, 10);
        const bool isInteger = end != texts[i].c_str() && std::string(".xXeE").find(*end) == std::string::npos;
        if (isInteger && errno == 0 && std::llabs(number) <= 1LL << 53) {
            require(!numbers.isNull() && numbers.elementAt<T>(i) == static_cast<T>(number));
        }
    }
}

template <class T>
void writeNumbers(Input& input) {
    const WellKnownType type = Internal::ElementTraits<T>::code;
    Array numbers{type, {}, DataOrdering::RowMajor, pickElements(input, type, 1 + input.below(3)), false};
    numbers.shape = {numbers.elements.size()};
    const ZVariant value = valueOf<T>(type, numbers.elements);
    const ZVariant texts = value.convertTo(WellKnownType::string, withText);
    requireConverted<std::string>(texts, convertedArray(numbers, WellKnownType::string, withText));
    requireConverted<std::string>(value.convertTo(WellKnownType::string, ConversionMode::Exact),
                                  convertedArray(numbers, WellKnownType::string, ConversionMode::Exact));
    // Whole numbers that are written in full come back.
    if constexpr (std::is_integral_v<T> && sizeof(T) > 1 && sizeof(T) < 8) {
        requireConverted<T>(texts.convertTo(type, withText), numbers);
    }
}

template <class T>
void readTexts(Input& input) {
    const WellKnownType type = Internal::ElementTraits<T>::code;
    Array texts{WellKnownType::string, {}, DataOrdering::RowMajor, {}, false};
    static const char* const pieces[] = {"+",  "-",  "0x", "0X",    "inf", "INFINITY", "nan", "NaN(1)", "true",
                                         "e+", "E-", "p",  "false", " ",   "\t\n",     "e",   "00",     "."};
    do {
        std::string text;
        for (std::uint64_t count = input.below(4); count != 0; --count) {
            text += input.pick(pieces);
            text += input.text(24);
        }
        // Mostly digits.
        for (std::uint64_t count = input.below(24); count != 0 && !input.atEnd(); --count) {
            const std::uint64_t symbol = input.below(64);
            text += symbol < 60 ? static_cast<char>('0' + symbol % 10) : symbol == 63 ? 'e' : '.';
        }
        texts.elements.push_back(text + input.text(6));
    } while (input.oneIn(4));
    texts.shape = {texts.elements.size()};
    const ZVariant numbers = valueOf<std::string>(texts.type, texts.elements).convertTo(type, withText);
    requireConverted<T>(numbers, convertedArray(texts, type, withText));
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
        if (!numbers.isNull()) {
            requireIntegersAsByStrtoll<T>(texts.elements, numbers);
        }
    }
}

}  // namespace
}  // namespace Quorvane::Pyx

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace Quorvane::Pyx;
    Input input(bytes, size);
    const int modes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
    const auto mode = input.pick(modes);
    static const std::vector<WellKnownType> realTypes = [] {
        std::vector<WellKnownType> types;
        std::copy_if(std::begin(elementTypes), std::end(elementTypes), std::back_inserter(types),
                     [](WellKnownType type) { return type.isNumeric() && !type.isComplex(); });
        return types;
    }();
    const WellKnownType type = input.pick(realTypes);
    const bool writesNumbers = input.oneIn(4);
    std::fesetround(mode);
    Internal::dispatchElementType(type, [&](auto tag) {
        using T = typename decltype(tag)::type;
        if constexpr (isRealElement<T>) {
            if (writesNumbers) {
                writeNumbers<T>(input);
            } else {
                readTexts<T>(input);
            }
        }
    });
    std::fesetround(FE_TONEAREST);
    return 0;
}
