#include "NpyHeader.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace {

constexpr std::string_view whiteSpace = " \t\r\n\f";

// Reads from the front of the text; what has been read is cut off.
class HeaderParser {
public:
    explicit HeaderParser(std::string_view text) : text_(text), rest_(text) {}

    NpyHeader parse() {
        std::optional<std::string> elementType;
        std::optional<bool> fortranOrder;
        std::optional<std::vector<std::uint64_t>> shape;

        expect('{');
        while (!accept('}')) {
            const std::string key = readString();
            expect(':');
            if (key == "descr" && !elementType) {
                elementType = readElementType();
            } else if (key == "fortran_order" && !fortranOrder) {
                fortranOrder = readTruth();
            } else if (key == "shape" && !shape) {
                shape = readShape();
            } else {
                throw std::runtime_error("the header has an unknown or repeated key " + inQuotes(key));
            }
            if (!accept(',')) {
                expect('}');
                break;
            }
        }
        skipWhiteSpace();
        if (!rest_.empty()) {
            fail();
        }
        if (!elementType || !fortranOrder || !shape) {
            throw std::runtime_error("the header lacks one of the keys 'descr', 'fortran_order' and 'shape'");
        }
        return {*elementType, *fortranOrder, *shape};
    }

private:
    [[noreturn]] void fail() const {
        throw std::runtime_error("the header does not read as a dict (at character " +
                                 std::to_string(text_.size() - rest_.size()) + ")");
    }

    void skipWhiteSpace() { rest_.remove_prefix(std::min(rest_.find_first_not_of(whiteSpace), rest_.size())); }

    bool startsWith(char character) {
        skipWhiteSpace();
        return !rest_.empty() && rest_.front() == character;
    }

    bool accept(char character) {
        if (!startsWith(character)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    bool accept(std::string_view word) {
        skipWhiteSpace();
        if (rest_.substr(0, word.size()) != word) {
            return false;
        }
        rest_.remove_prefix(word.size());
        return true;
    }

    void expect(char character) {
        if (!accept(character)) {
            fail();
        }
    }

    // A text without escapes: none of the keys and type names needs one.
    std::string readString() {
        const char quotationMark = startsWith('"') ? '"' : '\'';
        expect(quotationMark);
        const std::size_t length = rest_.find(quotationMark);
        if (length == std::string_view::npos || rest_.substr(0, length).find('\\') != std::string_view::npos) {
            fail();
        }
        std::string result(rest_.substr(0, length));
        rest_.remove_prefix(length + 1);
        return result;
    }

    std::string readElementType() {
        if (startsWith('[')) {
            throw std::runtime_error("records of several fields are not supported");
        }
        return readString();
    }

    bool readTruth() {
        const bool isTrue = accept("True");
        if (!isTrue && !accept("False")) {
            fail();
        }
        return isTrue;
    }

    std::uint64_t readLength() {
        if (startsWith('-')) {
            throw std::runtime_error("the shape has a negative length");
        }
        std::uint64_t length = 0;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), length);
        if (error == std::errc::result_out_of_range) {
            throw std::runtime_error("the shape has a length beyond 64 bits");
        }
        if (error != std::errc()) {
            fail();
        }
        rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
        return length;
    }

    // A tuple: (), (3,), (3, 4) or (3, 4,). In Python, (3) is a number and no tuple.
    std::vector<std::uint64_t> readShape() {
        std::vector<std::uint64_t> shape;
        expect('(');
        while (!accept(')')) {
            shape.push_back(readLength());
            if (!accept(',')) {
                if (shape.size() == 1) {
                    fail();
                }
                expect(')');
                break;
            }
        }
        return shape;
    }

    std::string_view text_;
    std::string_view rest_;
};

}  // namespace

NpyHeader parseNpyHeader(std::string_view text) {
    return HeaderParser(text).parse();
}

std::string inQuotes(std::string_view text) {
    constexpr std::size_t longest = 40;
    std::string result(text.substr(0, longest));
    std::replace_if(
        result.begin(), result.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
    return '\'' + result + (text.size() > longest ? "...'" : "'");
}
