// What stands in the header of a .npy file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct NpyHeader {
    std::string elementType;  // byte order, kind and size in bytes, such as "<f8"
    bool fortranOrder;        // whether the first dimension varies fastest
    std::vector<std::uint64_t> shape;
};

// Reads the text of a header: a Python dict literal with the keys descr, fortran_order and shape, in any order. Raises
// std::runtime_error with one line that says what is wrong.
NpyHeader parseNpyHeader(std::string_view text);

// The text in quotation marks, fit for one line of a message: other than printable ASCII characters become '?', and
// what exceeds 40 characters is left out.
std::string inQuotes(std::string_view text);
