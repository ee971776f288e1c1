// The matrix of conversions against a model of its own, for every pair of element types in every mode.
#include "conversion_model.h"
#include "convert/wide_vectors.h"
#include "values.h"

#include <pyx/abi/rethrowAbiError.h>
#include <pyx/pyx.h>
#include <pyx/variant/ScalarVariantData.h>
#include <pyx/variant/VectorVariantData.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using namespace Internal;
using testing::PrintToString;

constexpr auto modes = {ConversionMode::Exact, ConversionMode::Cast, ConversionMode::CastOrText,
                        static_cast<ConversionMode>(3)};

// The default element comes first, then an ordinary one, and one that hardly any type takes in Exact last.
std::vector<Sample> samplesOf(WellKnownType type) {
    std::vector<Sample> samples;
    const auto add = [&](Number number, const Bytes& bytes) {
        if (std::none_of(samples.begin(), samples.end(), [&](const Sample& s) { return s.bytes == bytes; })) {
            samples.push_back({number, bytes});
        }
    };
    if (type == WellKnownType::string) {
        for (const char* text : {"", "1", "0", "true", "-1.5", "12abc", "3e9", "nan", " 9223372036854775807", "abc"}) {
            add({}, text);
        }
    } else if (!type.isNumeric()) {
        samples = {{{}, Bytes(16, '\0')}, {{}, Bytes(16, '\1')}, {{}, Bytes(15, '\0') + '\x80'}};
    } else if (type == WellKnownType::bool_) {
        samples = {{{0}, {0}}, {{1}, {1}}, {{1}, {2}}, {{1}, {'\xff'}}};
    } else if (type == WellKnownType::complexBool) {
        samples = {{{0, 0}, {0, 0}}, {{1, 0}, {1, 0}}, {{0, 1}, {0, 2}}, {{1, 1}, {2, '\xff'}}};
    } else {
        for (const long double part : interestingNumbers()) {
            if (std::isnan(part) ? type.isFloating() : castPart(part, type.componentType()) == part) {
                add({part, 0}, bytesOf(type, {part, 0}));
                add({1, type.isComplex() ? part : 0}, bytesOf(type, {1, part}));
            }
        }
    }
    return samples;
}

// Which sample stands at each place of a data object.
using Pattern = std::vector<std::size_t>;

class Conversion : public testing::TestWithParam<WellKnownType> {
protected:
    struct Cell {
        WellKnownType to;
        ConversionMode mode;
        std::vector<Converted> converted;  // each sample
    };

    Conversion() {
        for (const WellKnownType to : elementTypes) {
            for (const ConversionMode mode : modes) {
                cells.push_back({to, mode, {}});
                for (const Sample& sample : samples) {
                    cells.back().converted.push_back(converted(from, to, sample, mode));
                }
            }
        }
    }

    // A scalar, or an array, which is a column-major matrix where the number of elements is even.
    OwnedData<> make(const Pattern& pattern, bool isScalar) const {
        std::vector<std::string> texts;
        Bytes bytes;
        for (const std::size_t sample : pattern) {
            texts.push_back(samples[sample].bytes);
            bytes += samples[sample].bytes;
        }
        const void* const data = from == WellKnownType::string ? static_cast<void*>(texts.data()) : bytes.data();
        const std::uint64_t count = pattern.size();
        const bool isMatrix = count % 2 == 0;
        const std::uint64_t lengths[] = {isMatrix ? 2 : count, count / 2};
        return OwnedData<>(callFlat([&](AbiErrorRecord* record) {
            return isScalar ? ZVariantData_C_API_constructScalar(record, data, from.code())
                            : ZVariantData_C_API_constructArray(record, data, from.code(), count,
                                                                {lengths, isMatrix ? 2U : 1U}, isMatrix ? 1 : 0);
        }));
    }

    // `wanted` points to the bytes for each sample.
    template <class Wanted>
    static std::size_t firstDifference(const IVariantData& data, const Pattern& pattern, Wanted wanted) {
        const bool isText = data.wellKnownDataType() == WellKnownType::string;
        const auto* const texts = static_cast<const std::string*>(data.constStoredData());
        const auto* stored = static_cast<const char*>(data.constStoredData());
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            const Bytes& bytes = *wanted(pattern[i]);
            if (isText ? texts[i] != bytes : std::memcmp(stored, bytes.data(), bytes.size()) != 0) {
                return i;
            }
            stored += bytes.size();
        }
        return pattern.size();
    }

    // An object of the class that conversions make, with one reference.
    static bool isNewResult(IVariantData* data, WellKnownType type, bool isScalar) {
        return data->makeUnique() == data && dispatchElementType(type, [&](auto tag) {
                   using T = typename decltype(tag)::type;
                   return isScalar ? dynamic_cast<ScalarVariantDataRefCounted<T>*>(data) != nullptr
                                   : dynamic_cast<VectorVariantData<T>*>(data) != nullptr;
               });
    }

    void expectConversions(IVariantData& source, const Pattern& pattern) const {
        for (const bool wide : {false, true}) {
            allowWideVectors(wide);
            expectConversionsOnTheseVectors(source, pattern);
        }
    }

    void expectConversionsOnTheseVectors(IVariantData& source, const Pattern& pattern) const {
        for (const Cell& cell : cells) {
            const auto convertedAt = [&](std::size_t sample) -> const Converted& { return cell.converted[sample]; };
            const bool accepted = pattern.empty() ? convertsEmptyArray(from, cell.to, cell.mode)
                                                  : std::all_of(pattern.begin(), pattern.end(), convertedAt);
            const OwnedData<> result(source.convertDataTo(cell.to, cell.mode));
            const auto where = [&] {
                return testing::Message()
                       << "to " << cell.to << " in mode " << static_cast<int>(cell.mode) << ", wide vectors "
                       << usesWideVectors() << ", samples " << PrintToString(pattern);
            };
            ASSERT_EQ(result != nullptr, accepted) << where();
            if (accepted) {
                ASSERT_TRUE(isNewResult(result.get(), cell.to, source.isScalarStorage())) << where();
                ASSERT_TRUE(result->dimensions() == source.dimensions()) << where();
                ASSERT_EQ(result->dataOrdering(), source.dataOrdering()) << where();
                ASSERT_EQ(result->numberAllocatedElements(), pattern.size()) << where();
                ASSERT_EQ(firstDifference(*result, pattern, convertedAt), pattern.size()) << where();
            }
        }
        const auto sampleAt = [&](std::size_t sample) { return &samples[sample].bytes; };
        ASSERT_EQ(firstDifference(source, pattern, sampleAt), pattern.size()) << "The source was written.";
    }

    const WellKnownType from = GetParam();
    const std::vector<Sample> samples = samplesOf(from);
    std::vector<Cell> cells;
};

INSTANTIATE_TEST_SUITE_P(From, Conversion, testing::ValuesIn(elementTypes), testing::PrintToStringParamName());

TEST_P(Conversion, OfScalarsFollowsTheModel) {
    for (std::size_t sample = 0; sample < samples.size() && !HasFatalFailure(); ++sample) {
        const OwnedData<> counted = make({sample}, true);
        expectConversions(*counted, {sample});
        alignas(void*) std::byte room[40];
        IVariantData* const inlined = dispatchElementType(from, [&](auto tag) -> IVariantData* {
            using T = typename decltype(tag)::type;
            return new (room) ScalarVariantDataNonCounted<T>(*static_cast<const T*>(counted->constStoredData()));
        });
        expectConversions(*inlined, {sample});
        inlined->~IVariantData();
    }
}

// Every sample at the ends and in the middle of runs that are as long as registers and blocks, or a little off.
TEST_P(Conversion, OfArraysFollowsTheModel) {
    for (const int number : {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 1023, 1024, 1025}) {
        const auto length = static_cast<std::size_t>(number);
        std::vector<Pattern> patterns(2, Pattern(length));
        for (std::size_t i = 0; i < length; ++i) {
            patterns[0][i] = i % samples.size();
            patterns[1][i] = i % 2;
        }
        const std::size_t places[] = {0, length / 2, length - 1};
        for (std::size_t sample = 1; sample < samples.size() && length != 0; ++sample) {
            for (const std::size_t place : places) {
                if (length < 100 || place == places[sample % 3]) {
                    // Among empty texts nothing becomes a number, so every other run is of "1".
                    patterns.push_back(Pattern(length, from == WellKnownType::string ? place % 2 : 0));
                    patterns.back()[place] = sample;
                }
            }
        }
        for (const Pattern& pattern : patterns) {
            expectConversions(*make(pattern, false), pattern);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_P(Conversion, LeavesOutWhatTheShapeHides) {
    const std::size_t last = samples.size() - 1;
    const OwnedData<> array = make({0, 1, last, last}, false);
    array->reshapeNoRealloc({2});
    expectConversions(*array, {0, 1});
}

TEST_P(Conversion, RaisesForTargetsThatAreNoElementType) {
    const OwnedData<> sources[] = {make({0}, true), make({0}, false), make({}, false)};
    for (const ConversionMode mode : modes) {
        for (const auto& source : sources) {
            for (const unsigned code : {0x0020U, 0x8000U, 0x0003U, 0x4008U, 0x0000U}) {
                const auto target = WellKnownType::fromCode(static_cast<std::uint16_t>(code));
                const char* const text = (code & 0xF) != 0 ? "not a numeric type" : "unknown type";
                EXPECT_RAISES(std::runtime_error, text, source->convertDataTo(target, mode));
            }
        }
        // A null becomes an array without dimensions.
        for (IVariantData* const null : {constructVariantNull(), ZVariantData_C_API_constructNull()}) {
            const OwnedData<> empty(null->convertDataTo(from, mode));
            EXPECT_TRUE(isNewResult(empty.get(), from, false) && empty->dimensions().empty());
            EXPECT_EQ(null->convertDataTo(WellKnownType::unknown, mode), null);
            EXPECT_THROW(null->convertDataTo(WellKnownType::customType, mode), std::runtime_error);
        }
    }
}

TEST(AdoptedVectorConversion, GivesDefaultElementsWhereTheVectorHasNone) {
    std::vector<double> numbers{1, 2.5, 0, 0, 0, 0};
    numbers.resize(2);
    ZVariant value = ZVariant::fromVector(std::move(numbers));
    EXPECT_EQ(PrintToString(value.convertTo(WellKnownType::int32)), "[1, 2]");
    value.reshapeNoRealloc({4});
    EXPECT_EQ(PrintToString(value), "[1, 2.5, 0, 0]");
    EXPECT_EQ(PrintToString(value.convertTo(WellKnownType::int32)), "[1, 2, 0, 0]");
    EXPECT_EQ(PrintToString(value.convertTo(WellKnownType::complexFloat)), "[(1,0), (2.5,0), (0,0), (0,0)]");
    EXPECT_EQ(PrintToString(value.convertTo(WellKnownType::string, ConversionMode::CastOrText)),
              "['1.0', '2.5', '', '']");
    EXPECT_TRUE(value.convertTo(WellKnownType::int32, ConversionMode::Exact).isNull());
}

TEST(WideVectors, CompareAsAllOthers) {
    const double nan = std::nan("");
    for (const bool wide : {false, true}) {
        allowWideVectors(wide);
        for (std::size_t position = 0; position < 77; ++position) {
            std::vector<double> left(77, -0.0);
            std::vector<double> right(77, 0.0);
            const auto areEqual = [&] {
                return ZVariant::fromData(left.data(), left.size()) == ZVariant::fromData(right.data(), right.size());
            };
            EXPECT_TRUE(areEqual());
            left[position] = right[position] = nan;
            EXPECT_FALSE(areEqual()) << position;
            left[position] = 1;
            EXPECT_FALSE(areEqual()) << position;
        }
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
