// The registry of codecs, with the built-in codec and with classes of a client.
#include "values.h"

#include <pyx/pyx.h>

#include <functional>
#include <string>
#include <vector>

namespace Quorvane::Pyx {
namespace {

struct Point {
    double x = 0;
    double y = 0;
    // Nothing may ask for an element's address in this way.
    void operator&() const = delete;
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
ZVariant promised() {
    std::vector<T> room;
    room.reserve(3);
    ZVariant grown = ZVariant::fromVector(std::move(room));
    grown.reshapeNoRealloc({3});
    return grown;
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
    EXPECT_TRUE(convert(ZVariant::allocate<Point>({0, 2})).isNull());
    // Elements that a shape promises and the storage does not have are defaults, of every class.
    EXPECT_EQ(convert(promised<Point>()).elementCount(), 3u);
    if constexpr (!std::is_same_v<T, bool>) {
        const WellKnownType other = target == WellKnownType::string ? WellKnownType::double_ : WellKnownType::string;
        EXPECT_EQ(promised<T>().convertTo(other, ConversionMode::Exact).elementCount(), 3u);
    }
}

TEST(CustomTypes, ScalarsAndArraysGoToTreesAndBack) {
    const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
    const auto scalar = ZVariant::fromCustom(Point{1, 2});
    EXPECT_EQ(testing::PrintToString(encodeCustomType(scalar).values), "{{'x', 1}, {'y', 2}}");
    EXPECT_EQ(decodeCustomType(encodeCustomType(scalar)).elementAt<Point>(0), (Point{1, 2}));
    const EncodedCustomTypeValues list = encodeCustomType(ZVariant::fromData({Point{1, 2}, Point{3, 4}}, {1, 2}));
    EXPECT_EQ(testing::PrintToString(list.values), "{{{'x', 1}, {'y', 2}}, {{'x', 3}, {'y', 4}}}");
    EXPECT_EQ(decodeCustomType(list).dimensions(), ArrayDimensionsView({2}));
    EXPECT_EQ(decodeCustomType(list).elementAt<Point>(1), (Point{3, 4}));
    EXPECT_TRUE(decodeCustomType({"Point", PropertyList{}}).dimensions().empty());
    for (const PropertyNode& wrong : {PropertyNode(), PropertyNode(1), PropertyNode(PropertyList{1})}) {
        EXPECT_RAISES(std::out_of_range, "PropertyNode is not a map", decodeCustomType({"Point", wrong}));
    }
    // An exception of a client's function releases the lock.
    EXPECT_RAISES(std::out_of_range, "Key not found: x", decodeCustomType({"Point", PropertyMap{}}));
    EXPECT_EQ(encodeCustomType(scalar).typeName, "Point");
}

TEST(CustomTypes, NamesAndClassesAreTakenOnce) {
    const ZVariant point = ZVariant::fromCustom(Point{});
    const std::string notEncoded = std::string("No codec found to encode type ") + typeid(Point).name();
    EXPECT_RAISES(std::runtime_error, notEncoded, encodeCustomType(point));
    EXPECT_RAISES(std::runtime_error, "No codec found to decode type Point",
                  decodeCustomType({"Point", PropertyMap{}}));
    EXPECT_THROW(encodeCustomType(ZVariant(1)), std::runtime_error);
    EXPECT_THROW(encodeCustomType(ZVariant()), std::runtime_error);
    {
        const CustomTypeRegistration<Point> registration("Point", toMap, fromMap);
        auto codec = buildCustomTypeCodec<Point>("Point", toMap, fromMap);
        EXPECT_RAISES(std::runtime_error, conflictText, Internal::registerCustomTypeCodec(std::move(codec)));
        EXPECT_TRUE(codec.typeName == "Point" && codec.encoder);
        codec.typeName = "Point 2";
        EXPECT_RAISES(std::runtime_error, conflictText, Internal::registerCustomTypeCodec(std::move(codec)));
        codec.typeInfo = &typeid(Other);
        codec.encoder = nullptr;
        Internal::registerCustomTypeCodec(std::move(codec));
        EXPECT_THROW(encodeCustomType(ZVariant::fromCustom(Other{})), std::bad_function_call);
    }
    EXPECT_RAISES(std::runtime_error, notEncoded, encodeCustomType(point));
    {
        const CustomTypeRegistration<Point> replaced("Point", toMap, fromMap);
        EXPECT_TRUE(Internal::unregisterCustomTypeCodec(typeid(Point)));
        registerCustomType<Point>("Point", toMap, fromMap);
    }
    // The registration has not removed what took its place.
    EXPECT_TRUE(Internal::unregisterCustomTypeCodec(typeid(Point)));
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
    const auto paths = encodeCustomType(ZVariant::fromData({path, PropertyPath{}, path}));
    EXPECT_EQ(decodeCustomType(paths).elementAt<PropertyPath>(2), path);

    // Numbers of other types and arrays of one element are single values too.
    EXPECT_EQ(decodedPath({2.0, true, ZVariant::fromData({"a"}, {1, 1})}), (PropertyPath{2, 1, "a"}));
    const auto decode = [](const PropertyNode& values) { decodeCustomType({"PropertyPath", values}); };
    EXPECT_RAISES(std::out_of_range, "Key not found: path", decode(PropertyMap{{"pat", 1}}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a list", decode(PropertyMap{{"path", 1}}));
    EXPECT_RAISES(std::out_of_range, "PropertyNode is not a value", decodedPath({PropertyNode(PropertyList())}));
    const std::string prefix = "Cannot convert Quorvane::Pyx::ZVariant of type '";
    EXPECT_RAISES(std::runtime_error, prefix + "std::string' (size: 2) to 'std::string'",
                  decodedPath({ZVariant::fromData({"a", "b"})}));
    EXPECT_RAISES(std::runtime_error, prefix + "double' (size: 3) to 'uint64_t'",
                  decodedPath({ZVariant::fromData({1., 2., 3.})}));
    EXPECT_RAISES(std::runtime_error, prefix + "Quorvane::Pyx::Duration' (size: 1) to 'uint64_t'",
                  decodedPath({ZVariant(Duration())}));
    EXPECT_RAISES(std::runtime_error, "unknown type", decodedPath({ZVariant()}));
}

}  // namespace
}  // namespace Quorvane::Pyx
