// Interned texts: one stored text for equal ones, whatever they were made of.
#include <gtest/gtest.h>
#include <pyx/types/InternedString.h>

#include <sstream>
#include <string>
#include <unordered_set>

namespace Quorvane::Pyx {
namespace {

TEST(InternedString, EqualTextsAreOnePointer) {
    const std::string buffer = "abc";
    const InternedString prefix(std::string_view(buffer).substr(0, 2));
    EXPECT_EQ(prefix.data(), InternedString("ab").data());
    EXPECT_EQ(prefix, InternedString(std::string("ab")));
    EXPECT_EQ(prefix.view(), "ab");
    EXPECT_NE(prefix, InternedString("AB"));
    EXPECT_NE(prefix, InternedString(std::string_view("ab\0c", 4)));
    EXPECT_NE(prefix.data(), buffer.data());

    const InternedString none;
    const InternedString empty("");
    EXPECT_NE(none, empty);
    EXPECT_EQ(none, InternedString());
    EXPECT_NE(empty.data(), nullptr);
    EXPECT_EQ(empty, InternedString(std::string_view()));

    EXPECT_TRUE(prefix == "ab" && std::string("ab") == prefix && prefix != std::string_view("abc") && none != "");

    std::ostringstream out;
    out << prefix;
    EXPECT_EQ(out.str(), "ab");
    const std::unordered_set<InternedString> set{prefix, "ab", empty};
    EXPECT_EQ(set.size(), 2u);
}

TEST(InternedString, TextsStayWhereTheyAre) {
    const InternedString brief("stays");
    const InternedString lengthy("a text that needs a buffer of its own");
    {
        const Internal::InternedStringSetManager another;
        for (int i = 0; i < 20000; ++i) {
            (void)InternedString("filler " + std::to_string(i));
        }
    }
    EXPECT_EQ(brief.view(), "stays");
    EXPECT_EQ(brief.data(), InternedString("stays").data());
    EXPECT_EQ(lengthy.data(), InternedString("a text that needs a buffer of its own").data());
}

}  // namespace
}  // namespace Quorvane::Pyx
