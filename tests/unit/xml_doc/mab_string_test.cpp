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
        {"nul_in_the_middle", "", [](auto& s) { s = std::string("ab\0cd", 5); }, "ab"},
        {"no_negative_length", "", [](auto& s) { s = CMabString("abc", -1); }, ""},
        {"second_field", "a,,b", [](auto& s) { s = s.GetField(',', 2); }, "b"},
        {"delimited_field", "<a>1</a><a>2</a>", [](auto& s) { s = s.GetDelimitedField("<a>", "</a>", 1); },
         "2"},
        {"close_mark_counts_whole", "[[1]][2]", [](auto& s) { s = s.GetDelimitedField("[", "]]", 1); }, ""},
        {"field_beyond_all", "(1)", [](auto& s) { s = s.GetDelimitedField("(", "", INT_MAX); }, ""},
        {"last_from_start", "abAb",
         [](auto& s) {
             s.Format("%d %d %d %d", s.ReverseFind("b", 3), s.ReverseFind("ab", 1),
                      s.ReverseFindNoCase("AB", 1), s.ReverseFindNoCase('a', 3));
         },
         "3 -1 2 -1"},
        {"significant_point", "", [](auto& s) { s.PutDoubleS(12345, 5, 'E'); }, "12345."},
    };
    for (const auto& one : cases) {
        CMabString text(one.before);
        one.edit(text);
        EXPECT_EQ(text.view(), one.after) << one.name;
    }
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
