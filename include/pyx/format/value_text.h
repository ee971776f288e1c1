// The one text of a value, for both storage policies and for streams of any standard library.
#pragma once

#include <pyx/abi/c_api.h>
#include <pyx/abi/rethrowAbiError.h>
#include <pyx/types/standard_library.h>
#include <pyx/variant/ZVariantGeneric.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <ios>
#include <ostream>
#include <string>
#include <string_view>

namespace Quorvane::PYXCORE_PYX::Internal {

// Calls writeElement(i) for the position of each element of `value` that is stored, and writeMissing() for each that
// the shape promises and the storage does not have. Writes ", " between them.
template <class Storage, class WriteElement, class WriteMissing>
void writeEach(const ZVariantGeneric<Storage>& value, std::ostream& out, WriteElement writeElement,
               WriteMissing writeMissing) {
    const std::uint64_t allocated = value.numberAllocatedElements();
    const std::uint64_t count = value.elementCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (i != 0) {
            out << ", ";
        }
        if (i < allocated) {
            writeElement(i);
        } else {
            writeMissing();
        }
    }
}

// The value stores Element. Elements that a shape promises and the storage does not have are default.
template <class Element, class Storage, class WriteElement>
void writeElements(const ZVariantGeneric<Storage>& value, std::ostream& out, WriteElement writeElement) {
    const Element* const elements = value.template data<Element>();
    writeEach(
        value, out, [&](std::uint64_t i) { writeElement(elements[i]); }, [&] { writeElement(Element{}); });
}

template <class Storage>
void writeStrings(const ZVariantGeneric<Storage>& value, std::ostream& out) {
    const auto write = [&](std::string_view string) { out << '\'' << string << '\''; };
    if constexpr (sharesStandardLibrary) {
        writeElements<std::string>(value, out, write);
    } else {
        const auto* const strings =
            static_cast<const PyxString*>(callFlat(ZVariantData_C_API_constStoredData, value.handle()));
        writeEach(
            value, out,
            [&](std::uint64_t i) {
                write({strings[i].data, strings[i].length});
            },
            [&] { write(""); });
    }
}

// Writes a null as "null", a value without elements as "[]", a single element as itself and everything else in one
// pair of brackets, whatever the rank, in storage order. Numbers go through the stream with its settings, integers at
// their full width. Raises std::runtime_error "Cannot convert ..." for durations and time points and "unknown type" for
// custom elements, which have no text; a bracket is in the stream by then.
template <class Storage>
void writeValueText(const ZVariantGeneric<Storage>& value, std::ostream& out) {
    const ArrayDimensionsView dimensions = value.dimensions();
    if (dimensions.elementCount() == 0) {
        out << (value.isNull() ? "null" : "[]");
        return;
    }
    const bool bracketed =
        !std::all_of(dimensions.begin(), dimensions.end(), [](std::uint64_t length) { return length == 1; });
    if (bracketed) {
        out << '[';
    }
    const auto insert = [&](const auto& element) { out << element; };
    const WellKnownType type = value.wellKnownDataType();
    if (type == WellKnownType::string) {
        writeStrings(value, out);
    } else if (type == WellKnownType::bool_) {
        // Deliberately left set afterwards: later output of the caller relies on it.
        out << std::boolalpha;
        writeElements<bool>(value, out, [&](const bool& element) { out << readElement(element); });
    } else if (type == WellKnownType::double_ || type == WellKnownType::float_) {
        writeElements<double>(value.convertOrThrow(WellKnownType::double_), out, insert);
    } else if (type.isComplex()) {
        writeElements<std::complex<double>>(value.convertOrThrow(WellKnownType::complexDouble), out, insert);
    } else if (type.isUnsigned()) {
        writeElements<unsigned long long>(value.convertOrThrow(WellKnownType::unsignedInt64), out, insert);
    } else {
        writeElements<long long>(value.convertOrThrow(WellKnownType::int64), out, insert);
    }
    if (bracketed) {
        out << ']';
    }
}

}  // namespace Quorvane::PYXCORE_PYX::Internal
