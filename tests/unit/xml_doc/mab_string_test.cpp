#include "xml_doc/mab_string.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <string>

namespace {

TEST(CMabString, edits) {
    const struct {
        const char* name;
        const char* before;
        std::function<void(CMabString&)> edit;
        const char* after;
    } cases[] = {
        {"assign_own_tail", "abcd", [](auto& s) { s = s.c_str() + 2; }, "cd"},
        {"append_itself", "ab", [](auto& s) { s += s; }, "abab"},
        {"nul_ends_the_text", "abc", [](auto& s) { s.SetAt(1, '\0'); }, "a"},
        {"delete_past_the_end", "abc", [](auto& s) { s.Delete(1, 99); }, "a"},
        {"replace_grows", "a,a", [](auto& s) { s.Replace("a", "aa"); }, "aa,aa"},
        {"replace_all_no_case", "aXbx", [](auto& s) { s.FindReplaceNoCase("x", "xx"); }, "axxbxx"},
        {"format_own_text", "ab", [](auto& s) { s.Format("%s-%s", s.c_str(), s.c_str()); }, "ab-ab"},
        {"exponent_repair", "1.5-3", [](auto& s) { s.TestExp(); }, "1.5E-3"},
        {"accuracy_keeps_exponent", "123456E05", [](auto& s) { s.Accuracy(2, 'E'); }, "120000E05"},
        {"long_too_narrow_sign", "", [](auto& s) { s.PutLong(-123, 3); }, "Error"},
        {"long_high_digits_dropped", "", [](auto& s) { s.PutLong(123456, 4); }, "3456"},
        {"long_smallest", "", [](auto& s) { s.PutLong(LONG_MIN, 20); }, "-9223372036854775808"},
        {"double_fills_width", "", [](auto& s) { s.PutDouble(100000, 8, 'E'); }, "100000.0"},
        {"double_exponent", "", [](auto& s) { s.PutDouble(1e6, 8, 'E'); }, "1.000E06"},
        {"double_no_room", "", [](auto& s) { s.PutDouble(1e-123, 4, 'E'); }, "ERR"},
        {"double_not_a_number", "", [](auto& s) { s.PutDouble(NAN, 8, 'E'); }, "NaN"},
        {"significant_exponent", "", [](auto& s) { s.PutDoubleS(12345678901, 8, 'E'); }, "1.2345679E10"},
        {"significant_point", "", [](auto& s) { s.PutDoubleS(12345, 5, 'E'); }, "12345."},
    };
    for (const auto& one : cases) {
        CMabString text(one.before);
        one.edit(text);
        EXPECT_EQ(text.view(), one.after) << one.name;
    }
}

TEST(CMabString, ends_every_text_at_a_nul) {
    EXPECT_EQ(CMabString(std::string("ab\0cd", 5)).GetLength(), 2);
    EXPECT_EQ(CMabString("abc", 9).view(), "abc");
    EXPECT_EQ(CMabString("abc", -1).view(), "");
    EXPECT_TRUE(CMabString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(CMabString, steps_through_fields) {
    CMabString text("a,,b");
    for (const char* const field : {"a", "", "b", "", ""})
        EXPECT_EQ(text.NextField(',').view(), field);
    EXPECT_EQ(text.FirstField(',').view(), "a");
    EXPECT_EQ(text.GetField(',', 2).view(), "b");
    EXPECT_EQ(text.GetField(",,", 1).view(), "b");
    EXPECT_EQ(text.GetFieldCount(','), 3);
    EXPECT_EQ(text.NextField(',').view(), "") << "GetField leaves the cursor alone";
}

TEST(CMabString, skips_delimited_fields_by_the_length_of_the_closing_mark) {
    const struct {
        const char* text;
        const char* open;
        const char* close;
        int n;
        const char* wanted;
    } cases[] = {
        {"<a>1</a><a>2</a>", "<a>", "</a>", 0, "1"},
        {"<a>1</a><a>2</a>", "<a>", "</a>", 1, "2"},
        {"[[1]][2]", "[", "]", 1, "1"},
        {"[[1]][2]", "[", "]]", 1, ""},
        {"(1)", "(", ")", -1, ""},
        {"(1)", "(", "", INT_MAX, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(CMabString(one.text).GetDelimitedField(one.open, one.close, one.n).view(), one.wanted)
            << one.text << " " << one.n;
}

TEST(CMabString, puts_any_double_without_harm) {
    for (const double value :
         {0.0, -0.0, 5e-324, 1e-308, -1e-5, 0.1, 9.9999999, -99999.5, 1e22, 1e300, -DBL_MAX})
        for (int width = 4; width < 40; ++width) {
            CMabString text;
            text.PutDouble(value, width, 'E');
            EXPECT_FALSE(text.IsEmpty());
            EXPECT_LE(text.GetLength(), width) << value << " in " << width;
            text.PutDoubleS(value, width - 6, 'E');
        }
}

}  // namespace
