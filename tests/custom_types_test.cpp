// The registry of codecs, with the built-in codec and with classes of a client.
#include "element_sequence.h"

#include <gmock/gmock.h>
#include <pyx/pyx.h>

#include <functional>
#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

using testing::ThrowsMessage;

struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point& left, const Point& right) { return left.x == right.x && left.y == right.y; }
};

struct Other {
    friend bool operator==(const Other&, const Other&) { return true; }
};

PropertyMap toMap(const Point& point) {
    return {{"x", point.x}, {"y", point.y}};
}

Point fromMap(const PropertyMap& map) {
    return {map.at("x").value().as<double>(), map.at("y").value().as<double>()};
}

constexpr const char* conflictText = "The proposed addition conflicts with a previously registered codec.";

PropertyPath decodedPath(PropertyList segments) {
    return decodeCustomType({"PropertyPath", PropertyMap{{"path", std::move(segments)}}}).elementAt<PropertyPath>(0);
}

template <class T>
struct CustomElementsTo : testing::Test {};
TYPED_TEST_SUITE(CustomElementsTo, AllElementTypes, );

TYPED_TEST(CustomElementsTo, EveryTypeAreDefaultsOrRefused) {
    using T = TypeParam;
    const WellKnownType target = Internal::ElementTraits<T>::code;
    const auto convert = [target](const ZVariant& value, ConversionMode mode = ConversionMode::Exact) {
        return value.convertTo(target, mode);
    };
    EXPECT_EQ(convert(ZVariant::fromCustom(Point())), ZVariant(T{}));
    EXPECT_TRUE(convert(ZVariant::fromCustom(Point{1, 2})).isNull());
    EXPECT_TRUE(convert(ZVariant::fromCustom(Point()), ConversionMode::Cast).isNull());

    auto points = ZVariant::fromVector(std::vector<Point>{{}, {}, {}, {1, 2}}, {2, 2}, DataOrdering::ColumnMajor);
    EXPECT_TRUE(convert(points).isNull());
    points.reshapeNoRealloc({3});
    const ZVariant defaults = convert(points);
    EXPECT_EQ(defaults.dataOrdering(), DataOrdering::ColumnMajor);
    ASSERT_EQ(defaults.dimensions(), ArrayDimensionsView({3}));
    EXPECT_EQ(defaults.template elementAt<T>(2), T{});
    EXPECT_TRUE(convert(points, ConversionMode::Cast).isNull());
}

TEST(CustomTypes, ScalarsAndArraysGoToTreesAndBack) {
    const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
    const auto scalar = ZVariant::fromCustom(Point{1, 2});
    const EncodedCustomTypeValues encoded = encodeCustomType(scalar);
    EXPECT_EQ(encoded.typeName, "Point");
    EXPECT_EQ(testing::PrintToString(encoded.values), "{{'x', 1}, {'y', 2}}");
    const ZVariant decoded = decodeCustomType(encoded);
    EXPECT_TRUE(decoded.isScalarStorage());
    EXPECT_EQ(decoded.elementAt<Point>(0), (Point{1, 2}));

    const auto array = ZVariant::fromData({Point{1, 2}, Point{3, 4}}, {1, 2});
    const EncodedCustomTypeValues list = encodeCustomType(array);
    EXPECT_EQ(testing::PrintToString(list.values), "{{{'x', 1}, {'y', 2}}, {{'x', 3}, {'y', 4}}}");
    const ZVariant flat = decodeCustomType(list);
    EXPECT_EQ(flat.dimensions(), ArrayDimensionsView({2}));
    EXPECT_EQ(flat.elementAt<Point>(1), (Point{3, 4}));
    EXPECT_TRUE(decodeCustomType({"Point", PropertyList{}}).dimensions().empty());

    for (const PropertyNode& wrong : {PropertyNode(), PropertyNode(1), PropertyNode(PropertyList{1})}) {
        EXPECT_THAT(
            [&] {
                decodeCustomType({"Point", wrong});
            },
            ThrowsMessage<std::out_of_range>("PropertyNode is not a map"));
    }
    // An exception of a client's function releases the lock.
    EXPECT_THAT(
        [&] {
            decodeCustomType({"Point", PropertyMap{}});
        },
        ThrowsMessage<std::out_of_range>("Key not found: x"));
    EXPECT_EQ(encodeCustomType(scalar).typeName, "Point");
}

TEST(CustomTypes, NamesAndClassesAreTakenOnce) {
    const auto encodes = [] { return encodeCustomType(ZVariant::fromCustom(Point{})); };
    const std::string notEncoded = std::string("No codec found to encode type ") + typeid(Point).name();
    EXPECT_THAT(encodes, ThrowsMessage<std::runtime_error>(notEncoded));
    EXPECT_THAT(
        [] {
            decodeCustomType({"Point", PropertyMap{}});
        },
        ThrowsMessage<std::runtime_error>("No codec found to decode type Point"));
    EXPECT_THROW(encodeCustomType(ZVariant(1)), std::runtime_error);
    EXPECT_THROW(encodeCustomType(ZVariant()), std::runtime_error);
    {
        const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
        auto codec = buildCustomTypeCodec<Point>("Point", toMap, fromMap);
        EXPECT_THAT([&] { Internal::registerCustomTypeCodec(std::move(codec)); },
                    ThrowsMessage<std::runtime_error>(conflictText));
        EXPECT_TRUE(codec.typeName == "Point" && codec.encoder);
        codec.typeName = "Point 2";
        EXPECT_THAT([&] { Internal::registerCustomTypeCodec(std::move(codec)); },
                    ThrowsMessage<std::runtime_error>(conflictText));
        codec.typeInfo = &typeid(Other);
        codec.encoder = nullptr;
        Internal::registerCustomTypeCodec(std::move(codec));
        EXPECT_THROW(encodeCustomType(ZVariant::fromCustom(Other{})), std::bad_function_call);
    }
    EXPECT_THAT(encodes, ThrowsMessage<std::runtime_error>(notEncoded));
    EXPECT_TRUE(Internal::unregisterCustomTypeCodec(typeid(Other)));
    EXPECT_FALSE(Internal::unregisterCustomTypeCodec(typeid(Other)));
    // A failed registration does not unregister what stands.
    EXPECT_THROW(
        registerCustomType<Other>(
            "PropertyPath", [](const Other&) { return PropertyMap{}; }, [](const PropertyMap&) { return Other{}; }),
        std::runtime_error);
}

TEST(CustomTypes, PathsAreBuiltIn) {
    const PropertyPath path{"a", 3, "b"};
    const EncodedCustomTypeValues encoded = encodeCustomType(ZVariant::fromCustom(path));
    EXPECT_EQ(encoded.typeName, "PropertyPath");
    EXPECT_EQ(testing::PrintToString(encoded.values), "{{'path', {'a', 3, 'b'}}}");
    const ZVariant& index = encoded.values.at({"path", 1}).value();
    EXPECT_EQ(index.wellKnownDataType(), WellKnownType::unsignedInt64);
    EXPECT_EQ(decodeCustomType(encoded).elementAt<PropertyPath>(0), path);
    EXPECT_EQ(testing::PrintToString(encodeCustomType(ZVariant::fromCustom(PropertyPath{})).values), "{{'path', {}}}");
    const auto paths = encodeCustomType(ZVariant::fromData({path, PropertyPath{}, path}));
    EXPECT_EQ(decodeCustomType(paths).elementAt<PropertyPath>(2), path);

    // Numbers of other types and arrays of one element are single values too.
    EXPECT_EQ(decodedPath({2.0, true, ZVariant::fromData({"a"}, {1, 1})}), (PropertyPath{2, 1, "a"}));
    const std::pair<PropertyNode, const char*> failures[] = {
        {PropertyMap{{"pat", 1}}, "Key not found: path"},
        {PropertyMap{{"path", 1}}, "PropertyNode is not a list"},
        {PropertyMap{{"path", PropertyList{PropertyNode(PropertyList())}}}, "PropertyNode is not a value"}};
    for (const auto& [values, text] : failures) {
        EXPECT_THAT(([values = values] {
                        decodeCustomType({"PropertyPath", values});
                    }),
                    ThrowsMessage<std::out_of_range>(text));
    }
    const std::pair<ZVariant, const char*> refusals[] = {
        {ZVariant::fromData({"a", "b"}),
         "Cannot convert Quorvane::Pyx::ZVariant of type 'std::string' (size: 2) to 'std::string'"},
        {ZVariant::fromData({1., 2., 3.}),
         "Cannot convert Quorvane::Pyx::ZVariant of type 'double' (size: 3) to 'uint64_t'"},
        {ZVariant(Duration()),
         "Cannot convert Quorvane::Pyx::ZVariant of type 'Quorvane::Pyx::Duration' (size: 1) to 'uint64_t'"},
        {ZVariant(), "unknown type"}};
    for (const auto& [value, text] : refusals) {
        EXPECT_THAT(([value = value] { decodedPath({value}); }), ThrowsMessage<std::runtime_error>(text));
    }
}

}  // namespace
}  // namespace Quorvane::Pyx
