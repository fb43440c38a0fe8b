#include "xml_doc/mab_string.h"

#include <gmock/gmock.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

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
        {"append_more_than_there_is", "a", [](auto& s) { s.ConcatCopy2("b", 99); }, "ab"},
        {"nul_ends_the_text", "abc", [](auto& s) { s.SetAt(1, '\0'); }, "a"},
        {"release_at_nul", "abc", [](auto& s) { s.GetBuffer(10)[1] = '\0', s.ReleaseBuffer(); }, "a"},
        {"insert_past_the_end", "ab", [](auto& s) { s.Insert(99, "c"); }, "abc"},
        {"delete_past_the_end", "abc", [](auto& s) { s.Delete(1, 99); }, "a"},
        {"replace_grows", "a,a", [](auto& s) { s.Replace("a", "aa"); }, "aa,aa"},
        {"replace_all_no_case", "aXbx", [](auto& s) { s.FindReplaceNoCase("x", "xx"); }, "axxbxx"},
        {"trim", " \t\n a b \r\n", [](auto& s) { s.Trim(); }, "a b"},
        {"control_and_high_bytes", "a\tb\xC3\xA9", [](auto& s) { s.NoControlChar(); }, "a b  "},
        {"format_own_text", "ab", [](auto& s) { s.Format("%s-%s", s.c_str(), s.c_str()); }, "ab-ab"},
        {"exponent_repair", "1.5-3", [](auto& s) { s.TestExp(); }, "1.5E-3"},
        {"leading_sign", "-3", [](auto& s) { s.TestExp(); }, "-3"},
        {"money", "1234.5", [](auto& s) { s.UsCur(); }, "1234.50"},
        {"accuracy", "-0.123456", [](auto& s) { s.Accuracy(3, 'E'); }, "-0.123000"},
        {"accuracy_keeps_exponent", "123456E05", [](auto& s) { s.Accuracy(2, 'E'); }, "120000E05"},
        {"long_too_narrow_sign", "", [](auto& s) { s.PutLong(-123, 3); }, "Error"},
        {"long_high_digits_dropped", "", [](auto& s) { s.PutLong(123456, 4); }, "3456"},
        {"long_smallest", "", [](auto& s) { s.PutLong(LONG_MIN, 20); }, "-9223372036854775808"},
        {"double_zero", "", [](auto& s) { s.PutDouble(0, 8, 'E'); }, "0.00000"},
        {"double_fills_width", "", [](auto& s) { s.PutDouble(100000, 8, 'E'); }, "100000.0"},
        {"double_exponent", "", [](auto& s) { s.PutDouble(1e6, 8, 'E'); }, "1.000E06"},
        {"double_no_room", "", [](auto& s) { s.PutDouble(1e-123, 4, 'E'); }, "ERR"},
        {"double_not_a_number", "", [](auto& s) { s.PutDouble(NAN, 8, 'E'); }, "NaN"},
        {"significant_exponent", "", [](auto& s) { s.PutDoubleS(12345678901, 8, 'E'); }, "1.2345679E10"},
        {"significant_point", "", [](auto& s) { s.PutDoubleS(12345, 5, 'E'); }, "12345."},
        {"significant_zero", "", [](auto& s) { s.PutDoubleS(0, 3, 'E'); }, "0.000"},
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

TEST(CMabString, finds_and_cuts_within_the_text) {
    const CMabString text("abcABCabc");
    EXPECT_THAT(
        (std::vector{text.Find('c', 3), text.Find("bc", 2), text.Find('a', 99), text.FindNoCase("BC", 2),
                     text.FindNoCase("x", 99), text.ReverseFind("abc", 5), text.ReverseFindNoCase("abc", 5),
                     text.ReverseFindNoCase("abcabcabcabc"), text.FindOneOf("CB"),
                     text.SpanIncluding("bac").GetLength(), text.SpanExcluding("C").GetLength()}),
        testing::ElementsAre(8, 7, -1, 4, -1, 0, 3, -1, 4, 3, 5));
    EXPECT_EQ(text.Left(-1).view(), "");
    EXPECT_EQ(text.Right(99).view(), text.view());
    EXPECT_EQ(text.Mid(7, 5).view(), "bc");
    EXPECT_LT(CMabString("a").Compare("\xC3\xA9"), 0);
    EXPECT_GT(CMabString("B").CompareNoCase("a"), 0);
}

TEST(CMabString, reads_numbers) {
    EXPECT_EQ(CMabString(" 42abc").GetInt(), 42);
    EXPECT_EQ(CMabString(std::string(31, ' ') + "12").GetInt(), 1);
    CMabString number("2.5-3");
    EXPECT_DOUBLE_EQ(number.GetDouble(), 0.0025);
    EXPECT_EQ(number.view(), "2.5E-3");
    EXPECT_FALSE(CMabString("12").IsInt());
    EXPECT_TRUE(CMabString(".5").IsInt());
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
