// Paths as values, as elements of variants, and as the built-in custom class.
#include "values.h"

#include <pyx/pyx.h>

#include <string>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

const PropertyPath path{"a", 3, "b"};

TEST(PropertyPath, IsASequenceOfNamesAndPositions) {
    PropertyPath built;
    built.append(InternedString("a"));
    built.append(3u);
    EXPECT_EQ(built / "b", path);
    EXPECT_EQ(path.parent(), built);
    EXPECT_NE(built, path);
    EXPECT_EQ(PropertyPath(), PropertyPath{});
    // A name is found by its address, which is no index.
    const auto address = reinterpret_cast<std::uintptr_t>(InternedString("a").view().data());
    for (const PropertyPathSegment other : {PropertyPathSegment(address), PropertyPathSegment("b")}) {
        EXPECT_NE(PropertyPath{"a"}, PropertyPath{other});
    }
    EXPECT_NE(PropertyPath{0}, PropertyPath{1});
    EXPECT_TRUE(path[0].isName() && path.at(1).isIndex());
    EXPECT_EQ(path[2].name(), InternedString("b"));
    EXPECT_EQ(path[1].index(), 3u);
    EXPECT_RAISES(std::runtime_error, "Property Path segment is a name, not an index.", path[0].index());
    EXPECT_THROW((void)path[1].name(), std::runtime_error);
    EXPECT_THROW((void)PropertyPath{-1}, std::invalid_argument);
    const std::vector<std::string> names{"a", "b"};
    EXPECT_EQ(PropertyPath(names.begin(), names.end()), (PropertyPath{"a", "b"}));
    EXPECT_FALSE((std::is_constructible_v<PropertyPathSegment, std::nullptr_t>) ||
                 (std::is_constructible_v<PropertyPathSegment, bool>));
    EXPECT_THROW((void)path.at(3), std::out_of_range);
    EXPECT_THROW((void)PropertyPath().parent(), std::out_of_range);
}

TEST(PropertyPath, IsAnElementLikeAnyOther) {
    const auto scalar = ZVariant::fromCustom(path);
    EXPECT_EQ(scalar.wellKnownDataType(), WellKnownType::customType);
    EXPECT_TRUE(scalar.isElementType<PropertyPath>() && scalar.isScalarStorage());
    EXPECT_FALSE(scalar.isElementType<std::string>() || scalar.isElementType<std::vector<int>>() || scalar.isNull());
    EXPECT_EQ(scalar.elementAt<PropertyPath>(0), path);
    EXPECT_RAISES(std::runtime_error, "unknown type", scalar.convertOrThrow(WellKnownType::int64));
    EXPECT_RAISES(std::runtime_error, "unknown type", scalar.convertTo(WellKnownType::unknown, ConversionMode::Exact));

    const auto array = ZVariant::fromData({path, PropertyPath{}, PropertyPath{"c"}, PropertyPath{7}}, {2, 2});
    EXPECT_EQ(array.reordered(DataOrdering::ColumnMajor).elementAt<PropertyPath>(1), PropertyPath{"c"});
    EXPECT_EQ(array.reshaped({6}).elementAt<PropertyPath>(5), PropertyPath{});

    // The same from the sharable side, but for the class, which cannot be told there.
    Internal::IVariantData* const data = new Internal::ScalarVariantDataRefCounted<PropertyPath>(path);
    const Internal::ZVariantDataSharable sharable = Internal::ZVariantDataSharable::adopt(data);
    EXPECT_FALSE(sharable.holdsCustomElement<PropertyPath>());
    const auto* const operations = data->customTypeOperations();
    EXPECT_TRUE(operations->compareElements(data->constStoredData(), &path, 1, 1));
    EXPECT_FALSE(operations->compareElements(data->constStoredData(), &array.elementAt<PropertyPath>(2), 1, 0));
    EXPECT_TRUE(operations->compareElements(nullptr, nullptr, 0, 0));
}

}  // namespace
}  // namespace Quorvane::Pyx
