#include "NpyFile.h"

#include "NpyHeader.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

using namespace Quorvane::Pyx;

namespace {

constexpr bool isLittleEndianMachine = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

// A file that knows how many bytes are left to read.
class InputFile {
public:
    explicit InputFile(const std::string& path) {
        std::error_code error;
        bytesLeft_ = std::filesystem::file_size(path, error);
        if (error) {
            throw std::runtime_error(error.message());
        }
        stream_.open(path, std::ios::binary);
        if (!stream_) {
            throw std::runtime_error("the file cannot be opened for reading");
        }
    }

    std::uint64_t bytesLeft() const { return bytesLeft_; }

    void read(char* target, std::uint64_t count, const char* messageIfTooShort) {
        if (count > bytesLeft_ || !stream_.read(target, static_cast<std::streamsize>(count))) {
            throw std::runtime_error(messageIfTooShort);
        }
        bytesLeft_ -= count;
    }

private:
    std::ifstream stream_;
    std::uint64_t bytesLeft_ = 0;
};

NpyHeader readHeader(InputFile& file) {
    constexpr std::string_view magic("\x93NUMPY", 6);
    std::array<char, 6> start{};
    file.read(start.data(), start.size(), "not a .npy file: too short");
    if (std::string_view(start.data(), start.size()) != magic) {
        throw std::runtime_error("not a .npy file: it starts with other bytes");
    }
    std::array<unsigned char, 2> version{};
    file.read(reinterpret_cast<char*>(version.data()), version.size(), "the file ends inside its header");
    if (version != std::array<unsigned char, 2>{1, 0}) {
        throw std::runtime_error("format version " + std::to_string(version[0]) + '.' + std::to_string(version[1]) +
                                 " is not supported, only 1.0");
    }
    std::array<unsigned char, 2> length{};
    file.read(reinterpret_cast<char*>(length.data()), length.size(), "the file ends inside its header");
    std::string text(length[0] + 256U * length[1], '\0');
    file.read(text.data(), text.size(), "the file ends inside its header");
    return parseNpyHeader(text);
}

// The number of elements of the shape. Raises std::runtime_error when it is not the number that the file holds; the
// arithmetic never leaves the range of that number, so that no product wraps.
std::uint64_t countElements(const std::vector<std::uint64_t>& shape, std::uint64_t bytesLeft,
                            std::uint64_t elementSize) {
    std::uint64_t count = 1;
    if (std::find(shape.begin(), shape.end(), 0U) != shape.end()) {
        count = 0;
    } else {
        for (const std::uint64_t length : shape) {
            if (length > bytesLeft / elementSize / count) {
                throw std::runtime_error("the shape needs more elements than the file holds");
            }
            count *= length;
        }
    }
    const std::uint64_t bytesNeeded = count * elementSize;
    if (bytesNeeded != bytesLeft) {
        throw std::runtime_error("the elements take " + std::to_string(bytesNeeded) + " bytes, and the file holds " +
                                 std::to_string(bytesLeft));
    }
    return count;
}

// Reads elements that each consist of one or two numbers.
template <class Element, class Number = Element>
ZVariantAbi readElements(InputFile& file, const NpyHeader& header) {
    const std::uint64_t count = countElements(header.shape, file.bytesLeft(), sizeof(Element));
    const bool isScalar = header.shape.empty();
    const std::vector<std::uint64_t> shape = isScalar ? std::vector<std::uint64_t>{1} : header.shape;
    const DataOrdering ordering = header.fortranOrder ? DataOrdering::ColumnMajor : DataOrdering::RowMajor;
    ZVariantAbi array = ZVariantAbi::allocate<Element>(shape, ordering);
    if (count == 0) {
        return array;
    }
    char* const bytes = reinterpret_cast<char*>(array.mutableData<Element>());
    char* const end = bytes + count * sizeof(Element);
    file.read(bytes, count * sizeof(Element), "the file ends inside its elements");
    if constexpr (std::is_same_v<Element, bool>) {
        // A file may hold any bytes, an object of type bool only two.
        std::transform(bytes, end, bytes, [](char byte) { return byte == 0 ? '\0' : '\1'; });
    }
    const bool isByteOrderForeign = header.elementType.front() == (isLittleEndianMachine ? '>' : '<');
    if (isByteOrderForeign) {
        for (char* number = bytes; number != end; number += sizeof(Number)) {
            std::reverse(number, number + sizeof(Number));
        }
    }
    return isScalar ? ZVariantAbi(array.elementAt<Element>(0)) : array;
}

// The element types of NumPy that PyxCore holds. 64-bit integers are `long long` there, whatever std::int64_t is.
struct ElementType {
    std::string_view kindAndSize;
    ZVariantAbi (*readElements)(InputFile&, const NpyHeader&);
};
constexpr ElementType elementTypes[] = {
    {"b1", readElements<bool>},
    {"i1", readElements<signed char>},
    {"i2", readElements<short>},
    {"i4", readElements<int>},
    {"i8", readElements<long long>},
    {"u1", readElements<unsigned char>},
    {"u2", readElements<unsigned short>},
    {"u4", readElements<unsigned int>},
    {"u8", readElements<unsigned long long>},
    {"f4", readElements<float>},
    {"f8", readElements<double>},
    {"c8", readElements<std::complex<float>, float>},
    {"c16", readElements<std::complex<double>, double>},
};

}  // namespace

ZVariantAbi readNpyFile(const std::string& path) {
    InputFile file(path);
    const NpyHeader header = readHeader(file);
    for (const ElementType& type : elementTypes) {
        // '|' stands for elements of one byte, which have no order of bytes.
        const std::string_view byteOrders = type.kindAndSize.back() == '1' ? "|<>" : "<>";
        for (const char byteOrder : byteOrders) {
            if (header.elementType == byteOrder + std::string(type.kindAndSize)) {
                return type.readElements(file, header);
            }
        }
    }
    throw std::runtime_error("element type " + inQuotes(header.elementType) + " is not supported");
}
