// A client of the sharable value type, built as a program and as a module of many kinds. Uses no test framework, since
// that would be built for one of them only.
#include <pyx/abi/guardAbiCall.h>
#include <pyx/pyx.h>

#include <complex>
#include <iostream>
#include <limits>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

int failures = 0;

void check(bool holds, const char* what, int line) {
    if (!holds) {
        std::cerr << "line " << line << ": " << what << '\n';
        ++failures;
    }
}
#define CHECK(condition) check((condition), #condition, __LINE__)

std::string textOf(const ZVariantAbi& value) {
    std::ostringstream out;
    out << value;
    return out.str();
}

// Whether `action` throws exactly Error, caught by its class in this module, with this text.
template <class Error, class Action>
bool throws(const char* text, Action action) {
    try {
        action();
    } catch (const Error& error) {
        return typeid(error) == typeid(Error) && (text == nullptr || std::string(error.what()) == text);
    } catch (...) {
    }
    return false;
}

void valuesCrossTheBoundary() {
    ZVariantAbi grid = ZVariantAbi::fromData({0.5, 1.5, 2.5, 3.5, 4.5, 5.5}, {2, 3});
    CHECK(grid.dimensions() == ArrayDimensionsView({2, 3}) && grid.elementAt<double>(4) == 4.5);
    CHECK(textOf(grid.convertTo(WellKnownType::int32)) == "[0, 1, 2, 3, 4, 5]");
    const ZVariantAbi columns = grid.convertTo(WellKnownType::float_).reordered(DataOrdering::ColumnMajor);
    CHECK(textOf(columns) == "[0.5, 3.5, 1.5, 4.5, 2.5, 5.5]");
    CHECK(grid.isEquivalentTo(columns) && !grid.isIdenticalTo(columns) && grid != columns && grid == ZVariantAbi(grid));
    CHECK(textOf(grid.reshaped({2, 2})) == "[0.5, 1.5, 2.5, 3.5]");
    CHECK(textOf(ZVariantAbi(std::complex<float>(1, -2))) == "(1,-2)");
    CHECK(textOf(ZVariantAbi(true)) == "true" && textOf(ZVariantAbi()) == "null");
    CHECK(ZVariantAbi(std::numeric_limits<long>::min()).as<long>() == std::numeric_limits<long>::min());
    CHECK(textOf(ZVariantAbi::fromData({1., 2., 3., 4.}).asComplex()) == "[(1,2), (3,4)]");

    // Index sets are compiled by the client.
    CHECK(textOf(grid.slice({last, seq(0, last, 2)})) == "[3.5, 5.5]");
    CHECK(textOf(grid.flatSlice({0, lastN(2)}, UseDataOrdering::WalkColumnMajor)) == "[0.5, 2.5, 5.5]");
    const ZVariantAbi kept = grid;
    grid.assignSlice({all, 0}, 0);
    grid.mutableElementAt<double>(1) = 7;
    CHECK(textOf(grid) == "[0, 7, 2.5, 0, 4.5, 5.5]" && grid.element<double>({1, 1}) == 4.5);
    double sum = 0;
    for (const double element : kept.valueRange<double>()) {
        sum += element;
    }
    CHECK(sum == 18);

    const WellKnownType type("COMPLEXint16");
    std::ostringstream out;
    out << type;
    CHECK(type == WellKnownType::complexInt16 && type.toString() == "complexInt16" && out.str() == "complexInt16");
}

void failuresComeBackAsTheSameExceptions() {
    const ZVariantAbi grid = ZVariantAbi::fromData({1., 2., 3., 4., 5., 6.}, {2, 3});
    CHECK(throws<std::runtime_error>(
        "Cannot convert Quorvane::Pyx::ZVariantAbi of type 'double' (size: 6) to 'Quorvane::Pyx::Duration'",
        [&] { (void)grid.convertOrThrow(WellKnownType::duration); }));
    CHECK(throws<std::invalid_argument>("slice dimensions are out of bounds", [&] { (void)grid.slice({2, all}); }));
    CHECK(throws<std::out_of_range>("Indices out of bounds.", [&] { (void)grid.elementAt<double>(6); }));
    CHECK(throws<std::bad_alloc>(nullptr, [] {
        (void)ZVariantAbi::allocate<double>({std::numeric_limits<std::uint64_t>::max() / sizeof(double)});
    }));
    // A handler that does not match must not stop the search, in whichever runtime that is.
    CHECK(throws<std::length_error>("dimensions do not match data length", [] {
        try {
            ZVariantAbi::fromData({1, 2, 3}, {2, 2});
        } catch (const std::runtime_error&) {
        }
    }));
}

const std::vector<std::string> names{
    "", "a", std::string(15, 'b'), std::string(16, 'c'), {"d\0e", 3}, std::string(5000, 'f')};

void stringsCrossTheBoundary() {
    ZVariantAbi grid = ZVariantAbi::fromData(names, {2, 3});
    for (std::uint64_t i = 0; i < names.size(); ++i) {
        CHECK(grid.element<std::string>({i / 3, i % 3}) == names[i] &&
              ZVariantAbi(names[i]).as<std::string>() == names[i]);
    }
    const ZVariantAbi before = grid;
    CHECK(textOf(grid.slice({0, {0, 1}})) == "['', 'a']" && grid.slice({all, all}) == grid);
    grid.assignSlice({0, all}, "x");
    grid.assignSlice({1, {0, 1}}, before.slice({0, {0, 1}}));
    grid.assignElement<std::string>({1, 2}, "y");
    CHECK(textOf(grid) == "['x', 'x', 'x', '', 'a', 'y']" && before.element<std::string>({1, 2}) == names[5]);
    CHECK(textOf(grid.flatSlice(lastN(2)).reordered(DataOrdering::ColumnMajor)) == "['a', 'y']");
    ZVariantAbi scalar = "short";
    scalar.assignSlice({0}, names[5]);
    CHECK(scalar.isScalarStorage() && *extractSingleValue<std::string>(scalar) == names[5]);
    CHECK(ZVariantAbi(2).convertTo(WellKnownType::string, ConversionMode::CastOrText).as<std::string>() == "2");
    CHECK(ZVariantAbi(std::string_view(names[4])) == ZVariantAbi(names[4]));
    CHECK(ZVariantAbi::fromVector(std::vector<std::string>(names), {2, 3}) == before);
    CHECK(textOf(ZVariantAbi::allocate<std::string>({2})) == "['', '']");
    CHECK(throws<std::invalid_argument>("Wrong data type.", [] { (void)ZVariantAbi(1).element<std::string>({0}); }));
}

void handlesAreLentAndGiven() {
    ZVariantAbi value = "a";
    PyxVariantData* const handle = value.handle();
    const ZVariantAbi shared = ZVariantAbi::share(handle);
    CHECK(shared.handle() == handle && std::move(value).release() == handle && value.handle() == nullptr);
    value = ZVariantAbi::adopt(handle);
    CHECK(value.handle() == handle && value == shared && ZVariantAbi::adopt(nullptr).isNull());
}

}  // namespace

// What modules of one process ask of each other: a value, whose reference stays with the taker's caller, and a failure.
extern "C" PYXCORE_API PyxVariantData* giveToModule(AbiErrorRecord* failure) {
    guardAbiCall(failure, [] { throw std::length_error("given"); });
    return ZVariantAbi::fromData(names).release();
}

extern "C" PYXCORE_API bool takeFromModule(const AbiErrorRecord* failure, PyxVariantData* handle) {
    return ZVariantAbi::share(handle) == ZVariantAbi::fromData(names) &&
           throws<std::length_error>("given", [&] { Internal::rethrowAbiError(*failure); });
}

// Modules of one kind share classes: what one throws, another one catches.
extern "C" PYXCORE_API const char* kindOfModule() {
    return typeid(ZVariantAbi).name();
}

extern "C" PYXCORE_API void throwDoubled(ZVariantAbi& value) {
    value = value.as<int>() * 2;
    throw ZVariantAbi(value);
}

extern "C" PYXCORE_API bool catchesDoubled(void (*throwDoubledOf)(ZVariantAbi&)) {
    ZVariantAbi value = 4;
    try {
        throwDoubledOf(value);
    } catch (const ZVariantAbi& thrown) {
        return thrown == value && value.as<int>() == 8;
    }
    return false;
}

int main() {
    valuesCrossTheBoundary();
    failuresComeBackAsTheSameExceptions();
    stringsCrossTheBoundary();
    handlesAreLentAndGiven();
    return failures != 0;
}
