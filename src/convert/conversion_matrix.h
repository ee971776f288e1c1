// The matrix of element conversions: which rule stands in the cell of each pair of types, and what the rule does in
// each mode.
#pragma once

#include "convert/number_runs.h"
#include "convert/text_rules.h"

#include <pyx/types/element_types.h>
#include <pyx/variant/ConversionMode.h>
#include <pyx/variant/ElementOperations.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace Quorvane::Pyx::Internal {

enum class CellRule {
    numbers,              // by cast, and in Exact only where each value stays
    same,                 // a copy in every mode
    durationToTimePoint,  // the words as they are, one way only; in Exact only defaults
    numbersToTexts,       // in CastOrText; in Exact only defaults
    textsToNumbers,       // in CastOrText; in Exact only defaults
    defaults,             // in Exact, when every element is the default of its type, and then gives defaults
};

//                     to real       to complex    to string        to duration   to time point
//  from real          numbers       numbers       numbersToTexts   defaults      defaults
//  from complex       numbers       numbers       defaults         defaults      defaults
//  from string        textsToNumb.  defaults      same             defaults      defaults
//  from duration      defaults      defaults      defaults         same          durationToTimePoint
//  from time point    defaults      defaults      defaults         defaults      same
//
// bool counts as real and complexBool as complex.
template <class S, class T>
constexpr CellRule cellRule() {
    constexpr bool fromReal = isNumericElement<S> && !isComplexElement<S>;
    constexpr bool toReal = isNumericElement<T> && !isComplexElement<T>;
    if constexpr (isNumericElement<S> && isNumericElement<T>) {
        return CellRule::numbers;
    } else if constexpr (std::is_same_v<S, T>) {
        return CellRule::same;
    } else if constexpr (std::is_same_v<S, Duration> && std::is_same_v<T, TimePoint>) {
        return CellRule::durationToTimePoint;
    } else if constexpr (fromReal && std::is_same_v<T, std::string>) {
        return CellRule::numbersToTexts;
    } else if constexpr (std::is_same_v<S, std::string> && toReal) {
        return CellRule::textsToNumbers;
    } else {
        return CellRule::defaults;
    }
}

// Zero (-0.0 too), false, empty, or both words zero.
template <class S>
bool isDefault(const S* element) {
    if constexpr (isComplexElement<S>) {
        const auto* const parts = componentsOf(element);
        return isDefault(parts) && isDefault(parts + 1);
    } else if constexpr (isNumericElement<S>) {
        return loadNumber(element) == S{};
    } else {
        return *element == S{};
    }
}

template <class S, class T>
bool convertDefaults(const S* source, T* target, std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        if (!isDefault(source + i)) {
            return false;
        }
    }
    std::fill_n(target, count, T{});
    return true;
}

// Fills `count` elements at `target`, which are constructed or plain memory; false refuses the conversion, and the
// target holds anything then. Numbers to numbers do not look at the mode of an empty run, and most other pairs of types
// refuse one.
template <class S, class T>
bool convertElements(const S* source, T* target, std::uint64_t count, ConversionMode mode) {
    constexpr CellRule rule = cellRule<S, T>();
    const bool exact = mode == ConversionMode::Exact;
    if (!exact && mode != ConversionMode::Cast && mode != ConversionMode::CastOrText) {
        return rule == CellRule::numbers && count == 0;
    }
    if constexpr (rule == CellRule::numbers) {
        return convertNumbers(source, target, count, exact);
    } else if constexpr (rule == CellRule::same) {
        copyElements(target, source, count);
        return true;
    } else if constexpr (rule == CellRule::durationToTimePoint) {
        if (exact) {
            return convertDefaults(source, target, count);
        }
        std::transform(source, source + count, target,
                       [](const Duration& span) { return TimePoint(span.firstWord, span.secondWord); });
        return true;
    } else {
        if (count == 0) {
            return false;
        }
        if constexpr (rule == CellRule::numbersToTexts) {
            if (mode == ConversionMode::CastOrText) {
                convertNumbersToTexts(source, target, count);
                return true;
            }
        } else if constexpr (rule == CellRule::textsToNumbers) {
            if (mode == ConversionMode::CastOrText) {
                return convertTextsToNumbers(source, target, count);
            }
        }
        return exact && convertDefaults(source, target, count);
    }
}

// convertElements for a source whose type is known at run time only.
using ConvertCell = bool (*)(const void* source, void* target, std::uint64_t count, ConversionMode mode);

// The cells into groups of target types, each compiled in a file of its own. The target must be of the group. Raise as
// dispatchElementType does.
ConvertCell cellIntoReal(WellKnownType source, WellKnownType target);
ConvertCell cellIntoComplex(WellKnownType source, WellKnownType target);
ConvertCell cellIntoBoolean(WellKnownType source, WellKnownType target);
ConvertCell cellIntoOther(WellKnownType source, WellKnownType target);

template <class T>
ConvertCell conversionCell(WellKnownType source) {
    constexpr WellKnownType target = ElementTraits<T>::code;
    switch (ElementTraits<T>::family) {
        case ElementFamily::floating:
        case ElementFamily::integer:
            return cellIntoReal(source, target);
        case ElementFamily::complex:
            return cellIntoComplex(source, target);
        case ElementFamily::boolean:
        case ElementFamily::complexBoolean:
            return cellIntoBoolean(source, target);
        default:
            return cellIntoOther(source, target);
    }
}

}  // namespace Quorvane::Pyx::Internal
