// Paths as values, as elements of variants, and as the built-in custom class.
#include <gmock/gmock.h>
#include <pyx/pyx.h>
#include <pyx/types/dispatch.h>

#include <string>
#include <utility>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ThrowsMessage;

const PropertyPath path{"a", 3, "b"};

TEST(PropertyPath, IsASequenceOfNamesAndPositions) {
    PropertyPath built;
    built.append(InternedString("a"));
    built.append(3u);
    EXPECT_EQ(built / "b", path);
    EXPECT_EQ(path.parent(), built);
    EXPECT_NE(built, path);
    EXPECT_EQ(PropertyPath(), PropertyPath{});
    EXPECT_NE(PropertyPath{"0"}, PropertyPath{0});
    EXPECT_TRUE(path[0].isName() && path.at(1).isIndex());
    EXPECT_EQ(path[2].name(), InternedString("b"));
    EXPECT_EQ(path[1].index(), 3u);
    EXPECT_THAT([] { (void)path[0].index(); },
                ThrowsMessage<std::runtime_error>("Property Path segment is a name, not an index."));
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
    EXPECT_THAT([&] { (void)scalar.convertOrThrow(WellKnownType::int64); },
                ThrowsMessage<std::runtime_error>("unknown type"));

    auto array = ZVariant::fromData({path, PropertyPath{}, PropertyPath{"c"}, PropertyPath{7}}, {2, 2});
    const ZVariant copy = array;
    array.mutableElementAt<PropertyPath>(1) = path;
    EXPECT_EQ(copy.elementAt<PropertyPath>(1), PropertyPath{});
    EXPECT_EQ(array.reordered(DataOrdering::ColumnMajor).elementAt<PropertyPath>(2), path);
    EXPECT_EQ(array.reshaped({6}).elementAt<PropertyPath>(5), PropertyPath{});
    EXPECT_THROW((void)ZVariant::fromData({path, path}, {3}), std::length_error);
    auto adopted = ZVariant::fromVector(std::vector<PropertyPath>{path, path}, {2, 1});
    EXPECT_EQ(adopted.dimensions(), ArrayDimensionsView({2, 1}));

    // The same from the sharable side, but for the class, which cannot be told there.
    Internal::IVariantData* const data = new Internal::ScalarVariantDataRefCounted<PropertyPath>(path);
    const Internal::ZVariantDataSharable sharable = Internal::ZVariantDataSharable::adopt(data);
    EXPECT_FALSE(sharable.holdsCustomElement<PropertyPath>());
    const auto* const operations = data->customTypeOperations();
    EXPECT_TRUE(operations->compareElements(data->constStoredData(), &path, 1, 1));
    EXPECT_FALSE(operations->compareElements(data->constStoredData(), &array.elementAt<PropertyPath>(2), 1, 0));
    EXPECT_TRUE(operations->compareElements(nullptr, nullptr, 0, 0));
}

TEST(PropertyPath, ConvertsOnlyAsADefaultAndExactly) {
    const auto isDefaultOf = [](const ZVariant& converted, WellKnownType target) {
        return Internal::dispatchElementType(target, [&](auto tag) {
            using T = typename decltype(tag)::type;
            return converted.isElementType<T>() && converted.elementAt<T>(0) == T{};
        });
    };
    const auto emptyPaths = ZVariant::fromData({PropertyPath{}, PropertyPath{}}, {1, 2}, DataOrdering::ColumnMajor);
    const auto mixed = ZVariant::fromData({PropertyPath{}, path});
#define PYXCORE_ELEMENT_TYPE(name, enumerator, code, family, type, portableName) WellKnownType::enumerator,
    for (const WellKnownType target : {
#include <pyx/types/element_types.def>
         }) {
        const ZVariant scalar = ZVariant::fromCustom(PropertyPath{}).convertTo(target, ConversionMode::Exact);
        EXPECT_TRUE(scalar.isScalarStorage() && isDefaultOf(scalar, target));
        const ZVariant array = emptyPaths.convertTo(target, ConversionMode::Exact);
        EXPECT_TRUE(isDefaultOf(array, target));
        EXPECT_EQ(array.dimensions(), ArrayDimensionsView({1, 2}));
        EXPECT_EQ(array.dataOrdering(), DataOrdering::ColumnMajor);
        for (const ConversionMode mode : {ConversionMode::Exact, ConversionMode::Cast, ConversionMode::CastOrText}) {
            EXPECT_TRUE(ZVariant::fromCustom(path).convertTo(target, mode).isNull());
            EXPECT_TRUE(mixed.convertTo(target, mode).isNull());
            EXPECT_TRUE(ZVariant::allocate<PropertyPath>({0, 2}).convertTo(target, mode).isNull());
        }
        EXPECT_TRUE(emptyPaths.convertTo(target, ConversionMode::Cast).isNull());
    }
    EXPECT_THAT([&] { (void)emptyPaths.convertTo(WellKnownType::unknown, ConversionMode::Exact); },
                ThrowsMessage<std::runtime_error>("unknown type"));
}

}  // namespace
}  // namespace Quorvane::Pyx
