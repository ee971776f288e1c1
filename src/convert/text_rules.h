// How real numbers and booleans become texts, and texts become them.
#pragma once

#include <pyx/types/element_types.h>

#include <cstdint>
#include <string>

namespace Quorvane::Pyx::Internal {

// The text of each number as a fresh std::ostringstream gives it with the precision digits10 of T; a floating number
// without '.' and 'e' gets ".0" behind it. Deliberately the two 8-bit types give the one character of that code. bool
// gives "true" and "false".
template <class T>
void convertNumbersToTexts(const T* source, std::string* target, std::uint64_t count);

// Reads each text with strtod, in the locale in force, and casts the double; what follows the number is ignored. False
// when a text does not begin with a number. For bool the exact text "true" is true, a number is true unless it is zero,
// and everything else is false.
template <class T>
bool convertTextsToNumbers(const std::string* source, T* target, std::uint64_t count);

}  // namespace Quorvane::Pyx::Internal
