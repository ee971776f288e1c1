#include "convert/text_rules.h"

#include "convert/number_rules.h"

#include <cfenv>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <ios>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

namespace {

template <class T>
std::string textFromStream(const T& value) {
    // Room for every number, digit groups included: a stream that must allocate would keep exhausted memory to itself
    // and give a part of the text. Deliberately, its state is not read.
    constexpr std::size_t room = 64;
    std::ostringstream stream(std::string(room, '\0'));
    stream.precision(std::numeric_limits<T>::digits10);
    stream << value;
    const auto length = stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::out);
    return stream.str().substr(0, static_cast<std::size_t>(length));
}

// Byte for byte what the stream gives where streamsArePlain.
template <class T>
std::string textFromCharconv(const T& value) {
    char buffer[32];
    std::to_chars_result result;
    if constexpr (std::is_floating_point_v<T>) {
        result = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general,
                               std::numeric_limits<T>::digits10);
    } else {
        result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    }
    return std::string(buffer, result.ptr);
}

// Whether the processor rounds to nearest and keeps denormal numbers, as <charconv> relies on. The mode of the vector
// unit, which computes, may differ from the one that fegetround tells, so it is seen in what is computed.
bool arithmeticIsPlain() {
    const volatile double one = 1;
    const volatile double smallest = std::numeric_limits<double>::min();
    const volatile double denormal = std::numeric_limits<double>::denorm_min();
    return one + smallest == one - smallest && denormal != 0 && std::fegetround() == FE_TONEAREST;
}

// Whether a stream writes numbers as std::to_chars does. It takes the global locale at its birth, and only the classic
// one has no digit groups and a '.'.
bool streamsArePlain() {
    return std::locale() == std::locale::classic() && arithmeticIsPlain();
}

template <class T>
std::string numberToText(const T& value, bool plain) {
    if constexpr (sizeof(T) == 1) {
        return std::string(1, static_cast<char>(value));
    } else {
        std::string text = plain ? textFromCharconv(value) : textFromStream(value);
        if (std::is_floating_point_v<T> && text.find('.') == std::string::npos && text.find('e') == std::string::npos) {
            text += ".0";
        }
        return text;
    }
}

// Whether strtod reads decimal numbers as std::from_chars does, which knows no locale. Asked of strtod itself: any
// thread may rewrite what std::localeconv gives.
bool strtodIsPlain() {
    return std::strtod("1.5", nullptr) == 1.5 && arithmeticIsPlain();
}

// Whether the text begins with a decimal number, of which std::from_chars reads as much as strtod. All other forms are
// left to strtod: white space, '+', hexadecimal numbers, infinity and NaN.
bool beginsWithPlainDecimal(const char* text) {
    const char* const digits = text[0] == '-' ? text + 1 : text;
    const bool isHexadecimal = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    return digits[0] >= '0' && digits[0] <= '9' && !isHexadecimal;
}

// The number that strtod reads at the start of the text, if there is one.
std::optional<double> readNumber(const std::string& text, bool plain) {
    const char* const begin = text.c_str();
    if (plain && beginsWithPlainDecimal(begin)) {
        double number = 0;
        if (std::from_chars(begin, begin + text.size(), number).ec == std::errc()) {
            return number;
        }
    }
    char* end = nullptr;
    const double number = std::strtod(begin, &end);
    return end == begin ? std::nullopt : std::optional(number);
}

}  // namespace

template <class T>
void convertNumbersToTexts(const T* source, std::string* target, std::uint64_t count) {
    if constexpr (std::is_same_v<T, bool>) {
        for (std::uint64_t i = 0; i < count; ++i) {
            target[i] = loadNumber(source + i) ? "true" : "false";
        }
    } else {
        const bool plain = streamsArePlain();
        for (std::uint64_t i = 0; i < count; ++i) {
            target[i] = numberToText(source[i], plain);
        }
    }
}

template <class T>
bool convertTextsToNumbers(const std::string* source, T* target, std::uint64_t count) {
    const bool plain = strtodIsPlain();
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::optional<double> number = readNumber(source[i], plain);
        if constexpr (std::is_same_v<T, bool>) {
            // A text without a number is false: deliberately not a refusal.
            target[i] = source[i] == "true" || number.value_or(0) != 0;
        } else {
            if (!number) {
                return false;
            }
            target[i] = castNumber<T>(*number);
        }
    }
    return true;
}

#define PYXCORE_TEXT_RULES_boolean(type)                                                 \
    template void convertNumbersToTexts<type>(const type*, std::string*, std::uint64_t); \
    template bool convertTextsToNumbers<type>(const std::string*, type*, std::uint64_t);
#define PYXCORE_TEXT_RULES_integer PYXCORE_TEXT_RULES_boolean
#define PYXCORE_TEXT_RULES_floating PYXCORE_TEXT_RULES_boolean
#define PYXCORE_TEXT_RULES_complex(type)
#define PYXCORE_TEXT_RULES_complexBoolean(type)
#define PYXCORE_TEXT_RULES_text(type)
#define PYXCORE_TEXT_RULES_opaque(type)
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) PYXCORE_TEXT_RULES_##family(type)
#include <pyx/types/element_types.def>

}  // namespace Quorvane::Pyx::Internal
