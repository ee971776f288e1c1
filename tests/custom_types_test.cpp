// Classes of a client and paths as elements of values, their codecs, and the registry.
#include "values.h"

#include <pyx/pyx.h>

namespace Quorvane::Pyx {
namespace {

struct Point {
    double x = 0, y = 0;
    // Nothing may ask for an element's address in this way.
    void operator&() const = delete;
    friend bool operator==(const Point& left, const Point& right) { return left.x == right.x && left.y == right.y; }
};

PropertyMap toMap(const Point& point) {
    return {{"x", point.x}, {"y", point.y}};
}

Point fromMap(const PropertyMap& map) {
    return {map.at("x").value().as<double>(), map.at("y").value().as<double>()};
}

TEST(CustomTypes, BecomeDefaultsOrNothing) {
    // A shape that hides an element, and one that promises elements that the storage does not have.
    auto hiding = ZVariant::fromVector(std::vector<Point>{{}, {}, {}, {1, 2}}, {2, 2});
    std::vector<Point> room;
    room.reserve(3);
    auto promising = ZVariant::fromVector(std::move(room));
    hiding.reshapeNoRealloc({3});
    promising.reshapeNoRealloc({3});
    const ZVariant refused[] = {ZVariant::fromCustom(Point{1, 2}), ZVariant::fromData({Point(), Point{1, 2}}),
                                ZVariant::allocate<Point>({0, 2})};
    for (const WellKnownType type : elementTypes) {
        for (const ZVariant& value : refused) {
            EXPECT_TRUE(value.convertTo(type, ConversionMode::Exact).isNull());
        }
        Internal::dispatchElementType(type, [&](auto tag) {
            const typename decltype(tag)::type defaults[3] = {};
            for (const ZVariant& value : {ZVariant::fromCustom(Point()), hiding, promising}) {
                const ZVariant converted = value.convertTo(type, ConversionMode::Exact);
                EXPECT_EQ(converted, ZVariant::fromData(defaults, value.elementCount()));
                EXPECT_EQ(converted.isScalarStorage(), value.isScalarStorage());
                EXPECT_TRUE(value.convertTo(type, ConversionMode::Cast).isNull());
            }
        });
    }
}

TEST(CustomTypes, PathsAreElementsLikeAnyOther) {
    const PropertyPath path{"a", 3, "b"};
    const auto scalar = ZVariant::fromCustom(path);
    EXPECT_TRUE(scalar.wellKnownDataType() == WellKnownType::customType && scalar.isScalarStorage());
    EXPECT_TRUE(scalar.isElementType<PropertyPath>());
    EXPECT_FALSE(scalar.isElementType<std::string>() || scalar.isElementType<Point>() || scalar.isNull());
    EXPECT_RAISES(std::runtime_error, "unknown type", scalar.convertOrThrow(WellKnownType::int64));
    const PropertyPath others[] = {path / "c", {}};
    EXPECT_EQ(ZVariant::fromData(others, 2).reshaped({3}).elementAt<PropertyPath>(2), PropertyPath{});

    // The sharable side cannot tell a class.
    Internal::IVariantData* const data = new Internal::ScalarVariantDataRefCounted<PropertyPath>(path);
    EXPECT_FALSE(Internal::ZVariantDataSharable::adopt(data).holdsCustomElement<PropertyPath>());
}

TEST(Codecs, TakeScalarsAndArraysToTreesAndBack) {
    const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
    const auto encode = [](const ZVariant& value) { return testing::PrintToString(encodeCustomType(value).values); };
    const auto scalar = ZVariant::fromCustom(Point{1, 2});
    EXPECT_EQ(encode(scalar), "{{'x', 1}, {'y', 2}}");
    EXPECT_EQ(decodeCustomType(encodeCustomType(scalar)), scalar);
    const auto row = ZVariant::fromData({Point{1, 2}, Point{3, 4}}, {1, 2});
    EXPECT_EQ(encode(row), "{{{'x', 1}, {'y', 2}}, {{'x', 3}, {'y', 4}}}");
    EXPECT_EQ(decodeCustomType(encodeCustomType(row)), row.reshaped({2}));
    EXPECT_EQ(encode(ZVariant::fromData({Point{1, 2}})), "{{{'x', 1}, {'y', 2}}}");
    EXPECT_TRUE(decodeCustomType({"Point", PropertyList{}}).dimensions().empty());
    for (const PropertyNode& wrong : {PropertyNode(), PropertyNode(1), PropertyNode(PropertyList{1})}) {
        EXPECT_RAISES(std::out_of_range, "PropertyNode is not a map", decodeCustomType({"Point", wrong}));
    }
    // An exception of a client's function releases the lock.
    EXPECT_RAISES(std::out_of_range, "Key not found: x", decodeCustomType({"Point", PropertyMap{}}));
    EXPECT_EQ(encodeCustomType(scalar).typeName, "Point");
}

TEST(Codecs, HaveOneNameAndOneClass) {
    const ZVariant point = ZVariant::fromCustom(Point{});
    const std::string notEncoded = std::string("No codec found to encode type ") + typeid(Point).name();
    EXPECT_RAISES(std::runtime_error, notEncoded, encodeCustomType(point));
    EXPECT_RAISES(std::runtime_error, "No codec found to decode type Point", decodeCustomType({"Point", {}}));
    {
        const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
        auto codec = buildCustomTypeCodec<Point>("Point", toMap, fromMap);
        const auto expectConflict = [&] {
            EXPECT_RAISES(std::runtime_error, "The proposed addition conflicts with a previously registered codec.",
                          Internal::registerCustomTypeCodec(std::move(codec)));
            EXPECT_TRUE(codec.encoder && codec.decoder);
        };
        expectConflict();
        codec.typeName = "Point 2";
        expectConflict();
        codec.typeName = "Point";
        codec.typeInfo = &typeid(int);
        expectConflict();
        // What has taken the place of a registration outlasts it.
        EXPECT_TRUE(Internal::unregisterCustomTypeCodec(typeid(Point)));
        registerCustomType<Point>("Point", toMap, fromMap);
    }
    EXPECT_EQ(encodeCustomType(point).typeName, "Point");
    EXPECT_TRUE(Internal::unregisterCustomTypeCodec(typeid(Point)));
    EXPECT_FALSE(Internal::unregisterCustomTypeCodec(typeid(Point)));
    EXPECT_RAISES(std::runtime_error, notEncoded, encodeCustomType(point));
}

TEST(Codecs, OfPathsAreBuiltIn) {
    const ZVariant paths = ZVariant::fromData({PropertyPath{"a", 3}, PropertyPath{}, PropertyPath{~0ULL, ""}});
    const EncodedCustomTypeValues encoded = encodeCustomType(paths);
    EXPECT_EQ(encoded.typeName, "PropertyPath");
    EXPECT_EQ(testing::PrintToString(encoded.values),
              "{{{'path', {'a', 3}}}, {{'path', {}}}, {{'path', {18446744073709551615, ''}}}}");
    EXPECT_EQ(encoded.values.at({0, "path", 1}).value().wellKnownDataType(), WellKnownType::unsignedInt64);
    EXPECT_EQ(decodeCustomType(encoded), paths);

    const auto decode = [](const PropertyMap& values) {
        return decodeCustomType({"PropertyPath", values}).elementAt<PropertyPath>(0);
    };
    // Numbers of other types and arrays of one element are single values too.
    const PropertyList single{2.0, true, ZVariant::fromData({"a"}, {1, 1})};
    EXPECT_EQ(decode({{"path", single}}), (PropertyPath{2, 1, "a"}));
    EXPECT_RAISES(std::out_of_range, "Key not found: path", decode({{"pat", 1}}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a list", decode({{"path", 1}}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a value", decode({{"path", PropertyList{PropertyMap()}}}));
    EXPECT_RAISES(std::runtime_error, "unknown type", decode({{"path", PropertyList{ZVariant()}}}));
    EXPECT_RAISES(std::runtime_error,
                  "Cannot convert Quorvane::Pyx::ZVariant of type 'std::string' (size: 2) to 'std::string'",
                  decode({{"path", PropertyList{ZVariant::fromData({"a", "b"})}}}));
    EXPECT_THROW(decode({{"path", PropertyList{Duration()}}}), std::runtime_error);
}

}  // namespace
}  // namespace Quorvane::Pyx
