// What is compiled for every element type, in more shapes than random operations come to: the matrix of conversions in
// every mode, comparison by wide vectors, and reordering of large arrays.
#include "convert/wide_vectors.h"
#include "value_model.h"
#include "values.h"

#include <pyx/pyx.h>
#include <pyx/variant/OwnedData.h>
#include <pyx/variant/factories.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using namespace Internal;
using testing::PrintToString;

constexpr auto modes = {ConversionMode::Exact, ConversionMode::Cast, ConversionMode::CastOrText,
                        static_cast<ConversionMode>(3)};

// The default element comes first, then an ordinary one.
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

struct Source {
    Pattern pattern;
    OwnedData<> data;
};

// Whether each sample has become what is wanted of it.
bool holds(const IVariantData& data, const Pattern& pattern, const std::vector<Converted>& wanted) {
    const bool isText = data.wellKnownDataType() == WellKnownType::string;
    const auto* const texts = static_cast<const std::string*>(data.constStoredData());
    const auto* stored = static_cast<const char*>(data.constStoredData());
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const Bytes& bytes = *wanted[pattern[i]];
        if (isText ? texts[i] != bytes : std::memcmp(stored, bytes.data(), bytes.size()) != 0) {
            return false;
        }
        stored += bytes.size();
    }
    return data.numberAllocatedElements() == pattern.size();
}

struct Conversion : testing::TestWithParam<WellKnownType> {};
INSTANTIATE_TEST_SUITE_P(From, Conversion, testing::ValuesIn(elementTypes), testing::PrintToStringParamName());

TEST_P(Conversion, FollowsTheModel) {
    const WellKnownType from = GetParam();
    const std::vector<Sample> samples = samplesOf(from);
    std::vector<Source> sources;
    const auto add = [&](const Pattern& pattern, IVariantData* data) {
        sources.push_back({pattern, OwnedData<>(data)});
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            writeElement(from, data->mutableStoredData(), i, samples[pattern[i]].bytes);
        }
    };
    const auto addArray = [&](const Pattern& pattern) {
        const std::uint64_t length = pattern.size();
        add(pattern, constructDefaultArray(from, {&length, 1}, DataOrdering::RowMajor));
    };
    // As long as registers and blocks, or a little off.
    for (const std::size_t length :
         {0U, 1U, 2U, 3U, 4U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 32U, 33U, 63U, 64U, 65U, 1023U, 1024U, 1025U}) {
        Pattern all(length), ordinary(length);
        for (std::size_t i = 0; i < length; ++i) {
            all[i] = i % samples.size();
            ordinary[i] = i % 2;
        }
        addArray(all);
        addArray(ordinary);
        // Every sample at the ends and in the middle.
        const std::size_t places[] = {0, length / 2, length - 1};
        for (std::size_t sample = 0; sample < samples.size() && length != 0; ++sample) {
            for (const std::size_t place : places) {
                if (length < 100 || place == places[sample % 3]) {
                    // Among empty texts nothing becomes a number, so every other array is of "1".
                    Pattern one(length, from == WellKnownType::string ? place % 2 : 0);
                    one[place] = sample;
                    addArray(one);
                }
            }
        }
    }
    for (std::size_t sample = 0; sample < samples.size(); ++sample) {
        add({sample}, constructDefaultScalar(from));
    }
    for (const WellKnownType to : elementTypes) {
        for (const ConversionMode mode : modes) {
            std::vector<Converted> wanted;
            for (const Sample& sample : samples) {
                wanted.push_back(converted(from, to, sample, mode));
            }
            for (const bool wide : {false, true}) {
                allowWideVectors(wide);
                for (const auto& [pattern, data] : sources) {
                    const OwnedData<> result(data->convertDataTo(to, mode));
                    const auto isAccepted = [&](std::size_t sample) { return wanted[sample].has_value(); };
                    const bool accepted = pattern.empty() ? convertsEmptyArray(from, to, mode)
                                                          : std::all_of(pattern.begin(), pattern.end(), isAccepted);
                    ASSERT_TRUE(accepted ? result != nullptr && holds(*result, pattern, wanted) : result == nullptr)
                        << "to " << to << " in mode " << static_cast<int>(mode) << ", wide vectors "
                        << usesWideVectors() << ", samples " << PrintToString(pattern);
                }
            }
        }
    }
}

TEST(WideVectors, CompareAsAllOthers) {
    for (const bool wide : {false, true}) {
        allowWideVectors(wide);
        for (std::size_t position = 0; position < 77; ++position) {
            std::vector<double> left(77, -0.0), right(77, 0.0);
            const auto areEqual = [&] { return ZVariant::fromData(left) == ZVariant::fromData(right); };
            EXPECT_TRUE(areEqual());
            left[position] = right[position] = std::nan("");
            EXPECT_FALSE(areEqual()) << position;
            left[position] = 1;
            EXPECT_FALSE(areEqual()) << position;
        }
    }
}

TEST(Reorder, MovesEachElementOfLargeArrays) {
    // Tiles and their edges, few rows and columns, and many dimensions.
    const Shape shapes[] = {{65, 130}, {270, 290}, {3, 300},      {300, 3},         {2, 400},
                            {400, 4},  {5, 200},   {4, 1, 5, 60}, {70, 2, 3, 2, 9}, Shape(12, 2)};
    std::mt19937 random;
    for (const WellKnownType type : elementTypes) {
        for (const Shape& shape : shapes) {
            for (const DataOrdering from : {DataOrdering::RowMajor, DataOrdering::ColumnMajor}) {
                const OwnedData<> data(constructDefaultArray(type, shape, from));
                Array array{type, shape, from, std::vector<Bytes>(data->numberAllocatedElements()), false};
                for (std::size_t i = 0; i < array.elements.size(); ++i) {
                    Bytes& element = array.elements[i];
                    // Also of bool, every byte is an element; texts are short or need a buffer.
                    element.resize(type == WellKnownType::string ? random() % 40 : sizeOfElement(type));
                    std::generate(element.begin(), element.end(), [&] { return static_cast<char>(random()); });
                    writeElement(type, data->mutableStoredData(), i, element);
                }
                const auto to = static_cast<DataOrdering>(from == DataOrdering::RowMajor);
                const OwnedData<> reordered(data->reorderData(to));
                const Array expected = reorderedArray(array, to);
                ASSERT_TRUE(storesAll(reordered->constStoredData(), expected, expected.elements.size()))
                    << type << PrintToString(shape) << static_cast<int>(from);
            }
        }
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
