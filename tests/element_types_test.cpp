// Type codes, element classes, dispatch and portable names.
#include "values.h"

#include <pyx/types/dispatch.h>
#include <pyx/types/portable_type_names.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using namespace Internal;

TEST(ElementTypes, CodesStandInTheOrderOfInstantiation) {
    // The codes are what crosses the boundary, so they are written out once more here.
    const std::vector<std::uint16_t> codes{0x0001, 0x0002, 0x0004, 0x0005, 0x0006, 0x0007, 0x8001, 0x8002, 0x8004,
                                           0x8005, 0x8006, 0x8007, 0x4003, 0x4004, 0x4005, 0x4006, 0x4007, 0xC003,
                                           0xC004, 0xC005, 0xC006, 0xC007, 0x0010, 0x0030, 0x0040};
    std::vector<std::uint16_t> found;
    for (const WellKnownType type : elementTypes) {
        found.push_back(type.code());
    }
    EXPECT_EQ(found, codes);
}

TEST(ElementTypes, FamiliesAndWidthsFollowFromTheCode) {
    const std::map<int, std::size_t> widthOfKind{{1, 8}, {2, 4}, {3, 1}, {4, 1}, {5, 2}, {6, 4}, {7, 8}};
    for (const WellKnownType type : elementTypes) {
        const unsigned code = type.code();
        const int kind = static_cast<int>(code & 15);
        EXPECT_EQ(type.isNumeric(), kind != 0) << code;
        EXPECT_EQ(type.isComplex(), code >= 0x8000) << code;
        EXPECT_EQ(type.isUnsigned(), (code & 0x4000) != 0) << code;
        EXPECT_EQ(type.isFloating(), kind == 1 || kind == 2) << code;
        EXPECT_EQ(type.isSigned(), kind != 0 && code % 0x8000 < 0x4000) << code;
        if (kind != 0) {
            const auto width = dispatchElementType(type, [](auto tag) { return sizeof(typename decltype(tag)::type); });
            EXPECT_EQ(width, widthOfKind.at(kind) * (type.isComplex() ? 2 : 1)) << code;
            EXPECT_EQ(type.complexType().componentType(), type.componentType()) << code;
        }
    }
    EXPECT_EQ(WellKnownType::complexBool.componentType(), WellKnownType::bool_);
    EXPECT_FALSE(WellKnownType::customType.isNumeric() || WellKnownType::unknown.isNumeric());
}

TEST(ElementTypes, DispatchReachesEachTypeAndRefusesTheRest) {
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const WellKnownType type = WellKnownType::fromCode(static_cast<std::uint16_t>(code));
        std::string outcome;
        try {
            const auto codeOf = [](auto tag) {
                return WellKnownType(ElementTraits<typename decltype(tag)::type>::code);
            };
            outcome = dispatchElementType(type, codeOf) == type ? "reached" : "another type";
        } catch (const std::runtime_error& error) {
            outcome = error.what();
        }
        const bool known = std::count(std::begin(elementTypes), std::end(elementTypes), type) != 0;
        ASSERT_EQ(outcome, known ? "reached" : (code & 15) != 0 ? "not a numeric type" : "unknown type") << code;
    }
}

TEST(ElementClasses, DefaultsAreZeroAndEqualityLooksAtBothParts) {
    EXPECT_EQ(Complex<bool>(), Complex<bool>(false, false));
    EXPECT_EQ(Complex<int>(3), Complex<int>(3, 0));
    EXPECT_NE(Complex<int>(3, 1), Complex<int>(3, 2));
    EXPECT_TRUE(Duration().isZero() && TimePoint().isZero());
    EXPECT_FALSE(Duration(0, 1).isZero() || Duration(1, 0).isZero());
    EXPECT_NE(TimePoint(1, 2), TimePoint(1, 3));
}

TEST(PortableNames, AreTheSameOnEveryCompiler) {
    const auto nameOf = [](std::uint16_t code) {
        return normalizeTypeName(typeNameOfWellKnownType(WellKnownType::fromCode(code)));
    };
    const std::map<std::uint16_t, std::string> names{{0x0001, "double"},
                                                     {0x0006, "int"},
                                                     {0x0007, "int64_t"},
                                                     {0x4006, "unsigned int"},
                                                     {0x0010, "std::string"},
                                                     {0x8001, "std::complex<double>"},
                                                     {0x0030, "Quorvane::Pyx::Duration"},
                                                     {0x8007, "Quorvane::Pyx::Complex<__int64,void>"},
                                                     {0xC003, "Quorvane::Pyx::Complex<bool,void>"},
                                                     {0xC007, "Quorvane::Pyx::Complex<unsigned __int64,void>"}};
    for (const auto& [code, name] : names) {
        EXPECT_EQ(nameOf(code), name);
    }
    for (const WellKnownType nameless : {WellKnownType::unknown, WellKnownType::customType}) {
        EXPECT_RAISES(std::runtime_error, "unknown type", nameOf(nameless.code()));
    }
    EXPECT_EQ(
        normalizeTypeName(CtTypeExtractor<TypeList<Complex<int>>>::n()).find("Quorvane::Pyx::Internal::TypeList<"), 0u);
}

TEST(PortableNames, NormalisationRemovesWhatDiffers) {
    const std::vector<std::pair<CtTypeName, std::string>> table{
        {{"class std::complex<double> >::n", 4}, "std::complex<double>"},
        {{"class Quorvane::Pyx::Complex<class A,struct B>>::n", 4}, "Quorvane::Pyx::Complex<A,B>"},
        {{"class std::__1::vector<int>", 0}, "std::vector<int>"},
        {{"std::__1", 0}, "std::__1"},
        {{"std::__1::a<std::__1", 0}, "std::a<std"},
        {{"clasclass s x", 0}, "class x"},
        {{"uint64_t", 0}, "uint64_t"}};
    for (const auto& [name, normalized] : table) {
        EXPECT_EQ(normalizeTypeName(name), normalized);
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
