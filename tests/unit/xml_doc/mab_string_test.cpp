#include "xml_doc/mab_string.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <string>

#include "xml_doc/xml.h"

namespace {

struct EditCase {
    const char* name;
    const char* before;
    std::function<void(CMabString&)> edit;
    const char* after;
};

class Edits : public testing::TestWithParam<EditCase> {};

TEST_P(Edits, leave_the_text) {
    CMabString text(GetParam().before);
    GetParam().edit(text);
    EXPECT_EQ(text.view(), GetParam().after);
}

const EditCase kEdits[] = {
    {"assign_int", "x", [](auto& s) { s = 5; }, "       5"},
    {"assign_own_tail", "abcd", [](auto& s) { s = s.c_str() + 2; }, "cd"},
    {"append_itself", "ab", [](auto& s) { s += s; }, "abab"},
    {"append_first_bytes", "a", [](auto& s) { s.ConcatCopy2("bcd", 2); }, "abc"},
    {"append_more_than_there_is", "a", [](auto& s) { s.ConcatCopy2("b", 99); }, "ab"},
    {"concatenate_with_itself", "a", [](auto& s) { s.ConcatCopy("<", s.c_str()); }, "<a"},
    {"nul_ends_the_text", "abc", [](auto& s) { s.SetAt(1, '\0'); }, "a"},
    {"shorter_allocation", "abc", [](auto& s) { s.ReAllocString(2); }, "ab"},
    {"release_at_nul", "abc", [](auto& s) { s.GetBuffer(10)[1] = '\0', s.ReleaseBuffer(); }, "a"},
    {"release_at_count", "abc", [](auto& s) { s.GetBuffer(10), s.ReleaseBuffer(2); }, "ab"},
    {"insert_past_the_end", "ab", [](auto& s) { s.Insert(99, "c"); }, "abc"},
    {"insert_before_start", "ab", [](auto& s) { s.Insert(-1, 'c'); }, "cab"},
    {"delete_past_the_end", "abc", [](auto& s) { s.Delete(1, 99); }, "a"},
    {"delete_behind_the_end", "abc", [](auto& s) { s.Delete(7); }, "abc"},
    {"remove_byte", "banana", [](auto& s) { s.Remove('a'); }, "bnn"},
    {"replace_grows", "a,a", [](auto& s) { s.Replace("a", "aa"); }, "aa,aa"},
    {"replace_slice", "abcd", [](auto& s) { s.Replace(1, 2, "X"); }, "aXd"},
    {"replace_nothing", "ab", [](auto& s) { s.Replace("", "x"); }, "ab"},
    {"replace_first", "aXbx", [](auto& s) { s.FindReplaceNoCase("x", "-", false); }, "a-bx"},
    {"replace_all_no_case", "aXbx", [](auto& s) { s.FindReplaceNoCase("x", "xx"); }, "axxbxx"},
    {"trim", " \t\n a b \r\n", [](auto& s) { s.Trim(); }, "a b"},
    {"trim_blanks_only", "  ", [](auto& s) { s.Trim(); }, ""},
    {"control_and_high_bytes", "a\tb\xC3\xA9", [](auto& s) { s.NoControlChar(); }, "a b  "},
    {"double_blanks", "a   b  c", [](auto& s) { s.NoDoubleSpace(); }, "a b c"},
    {"fill", "ab", [](auto& s) { s.Fill(4, '.'); }, "ab.."},
    {"fill_keeps_longer", "abc", [](auto& s) { s.Fill(2, '.'); }, "abc"},
    {"format_own_text", "ab", [](auto& s) { s.Format("%s-%s", s.c_str(), s.c_str()); }, "ab-ab"},
    {"reverse", "abc", [](auto& s) { s.MakeReverse(); }, "cba"},
    {"exponent_repair", "1.5-3", [](auto& s) { s.TestExp(); }, "1.5E-3"},
    {"exponent_present", "1.5e-3", [](auto& s) { s.TestExp(); }, "1.5e-3"},
    {"leading_sign", "-3", [](auto& s) { s.TestExp(); }, "-3"},
    {"money_zero", "0", [](auto& s) { s.UsCur(); }, ""},
    {"money_negative", "-4", [](auto& s) { s.UsCur(); }, ""},
    {"money", "1234.5", [](auto& s) { s.UsCur(); }, "1234.50"},
    {"accuracy", "-0.123456", [](auto& s) { s.Accuracy(3, 'E'); }, "-0.123000"},
    {"accuracy_keeps_exponent", "123456E05", [](auto& s) { s.Accuracy(2, 'E'); }, "120000E05"},
    {"accuracy_marked", "#1234", [](auto& s) { s.Accuracy(1, 'E'); }, "#1234"},
    {"long_too_narrow_sign", "", [](auto& s) { s.PutLong(-123, 3); }, "Error"},
    {"long_sign_fits", "", [](auto& s) { s.PutLong(-123, 4); }, "-123"},
    {"long_high_digits_dropped", "", [](auto& s) { s.PutLong(123456, 4); }, "3456"},
    {"long_zero", "", [](auto& s) { s.PutLong(0, 3); }, "  0"},
    {"long_smallest", "", [](auto& s) { s.PutLong(LONG_MIN, 20); }, "-9223372036854775808"},
    {"long_no_width", "x", [](auto& s) { s.PutLong(5, 0); }, ""},
    {"double", "", [](auto& s) { s.PutDouble(2.5, 8, 'E'); }, "2.500000"},
    {"double_below_one", "", [](auto& s) { s.PutDouble(0.5, 8, 'E'); }, "0.500000"},
    {"double_zero", "", [](auto& s) { s.PutDouble(0, 8, 'E'); }, "0.00000"},
    {"double_negative", "", [](auto& s) { s.PutDouble(-2.5, 8, 'E'); }, "-2.50000"},
    {"double_fills_width", "", [](auto& s) { s.PutDouble(100000, 8, 'E'); }, "100000.0"},
    {"double_exponent", "", [](auto& s) { s.PutDouble(1e6, 8, 'E'); }, "1.000E06"},
    {"double_tiny", "", [](auto& s) { s.PutDouble(0.001, 8, 'E'); }, "1.00E-03"},
    {"double_no_room", "", [](auto& s) { s.PutDouble(1e-123, 4, 'E'); }, "ERR"},
    {"double_other_letter", "", [](auto& s) { s.PutDouble(1e6, 8, 'D'); }, "1.00DE06"},
    {"double_infinite", "", [](auto& s) { s.PutDouble(-INFINITY, 8, 'E'); }, "-Inf"},
    {"double_not_a_number", "", [](auto& s) { s.PutDouble(NAN, 8, 'E'); }, "NaN"},
    {"significant_exponent", "", [](auto& s) { s.PutDoubleS(12345678901, 8, 'E'); }, "1.2345679E10"},
    {"significant_small", "", [](auto& s) { s.PutDoubleS(0.00012345, 3, 'E'); }, "1.23E-4"},
    {"significant_point", "", [](auto& s) { s.PutDoubleS(12345, 5, 'E'); }, "12345."},
    {"significant_decimals", "", [](auto& s) { s.PutDoubleS(12.345, 4, 'E'); }, "12.35"},
    {"significant_zero", "", [](auto& s) { s.PutDoubleS(0, 3, 'E'); }, "0.000"},
};

INSTANTIATE_TEST_SUITE_P(CMabString, Edits, testing::ValuesIn(kEdits),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(CMabString, ends_every_text_at_a_nul) {
    EXPECT_EQ(CMabString(std::string("ab\0cd", 5)).GetLength(), 2);
    EXPECT_EQ(CMabString("abc", 9).view(), "abc");
    EXPECT_EQ(CMabString("abc", -1).view(), "");
    EXPECT_EQ(CMabString('x', 3).view(), "xxx");
    EXPECT_TRUE(CMabString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(CMabString, finds) {
    const CMabString text("abcABCabc");
    const struct {
        int got;
        int wanted;
    } cases[] = {
        {text.Find('c'), 2},
        {text.Find('c', 3), 8},
        {text.Find("bc", 2), 7},
        {text.Find("bd"), -1},
        {text.Find('a', 99), -1},
        {text.FindNoCase("BC", 2), 4},
        {text.FindNoCase('C', 3), 5},
        {text.FindNoCase("x", 99), -1},
        {text.ReverseFind('a'), 6},
        {text.ReverseFind("abc"), 6},
        {text.ReverseFind("abc", 5), 0},
        {text.ReverseFindNoCase("abc", 5), 3},
        {text.ReverseFindNoCase('A'), 6},
        {text.ReverseFindNoCase("abcabcabcabc"), -1},
        {text.FindOneOf("CB"), 4},
        {text.SpanIncluding("bac").GetLength(), 3},
        {text.SpanExcluding("C").GetLength(), 5},
    };
    for (const auto& one : cases)
        EXPECT_EQ(one.got, one.wanted) << "row " << &one - cases;
}

TEST(CMabString, cuts_slices_to_the_text) {
    const CMabString text("abcd");
    EXPECT_EQ(text.Left(-1).view(), "");
    EXPECT_EQ(text.Left(9).view(), "abcd");
    EXPECT_EQ(text.Right(2).view(), "cd");
    EXPECT_EQ(text.Right(9).view(), "abcd");
    EXPECT_EQ(text.Mid(1, 2).view(), "bc");
    EXPECT_EQ(text.Mid(9).view(), "");
    CMabString slice;
    text.StringCopy(slice, 2, 1, 5);
    EXPECT_EQ(slice.view(), "bc");
}

TEST(CMabString, compares_bytes_unsigned_and_without_case_after_tolower) {
    EXPECT_LT(CMabString("a").Compare("\xC3\xA9"), 0);
    EXPECT_LT(CMabString("B").Compare("a"), 0);
    EXPECT_GT(CMabString("B").CompareNoCase("a"), 0);
    EXPECT_EQ(CMabString("aBc").CollateNoCase("AbC"), 0);
    EXPECT_LT(CMabString("ab").CompareNoCase("ABC"), 0);
    EXPECT_EQ((CMabString("a") + "b" + CMabString("c")).view(), "abc");
}

TEST(CMabString, reads_numbers) {
    EXPECT_EQ(CMabString(" 42abc").GetInt(), 42);
    EXPECT_EQ(CMabString("").GetLong(), 0);
    EXPECT_EQ(CMabString(std::string(31, ' ') + "12").GetInt(), 1);
    CMabString number("2.5-3");
    EXPECT_DOUBLE_EQ(number.GetDouble(), 0.0025);
    EXPECT_EQ(number.view(), "2.5E-3");
    EXPECT_EQ(CMabString::atoin("1234", 2), 12);
    EXPECT_FALSE(CMabString("12").IsInt());
    EXPECT_TRUE(CMabString(".5").IsInt());
    EXPECT_TRUE(CMabString("12").IsFloat());
    EXPECT_FALSE(CMabString(".5").IsFloat());
}

TEST(CMabString, steps_through_fields) {
    CMabString text("a,,b");
    for (const char* const field : {"a", "", "b", "", ""})
        EXPECT_EQ(text.NextField(',').view(), field);
    EXPECT_EQ(text.FirstField(',').view(), "a");
    EXPECT_EQ(text.GetField(',', 2).view(), "b");
    EXPECT_EQ(text.GetField(',', 3).view(), "");
    EXPECT_EQ(text.GetField(",,", 1).view(), "b");
    EXPECT_EQ(text.GetFieldCount(','), 3);
    EXPECT_EQ(text.GetFieldCount(",,"), 2);
    EXPECT_EQ(text.NextField(',').view(), "") << "GetField leaves the cursor alone";
}

TEST(CMabString, does_not_step_beyond_the_length_that_was_assigned) {
    CMabString text("ab");
    text += ",c,d";
    EXPECT_EQ(text.FirstField(',').view(), "ab");
    EXPECT_EQ(text.NextField(',').view(), "");
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
        {"[[1]][2]", "[", "]", 1, "1"},  // the second "[" stands right behind the first
        {"[[1]][2]", "[", "]]", 1, ""},  // the second "[" is stepped over
        {"(1)(2)", "(", ")", 2, ""},
        {"(1)", "(", ")", -1, ""},
        {"(1", "(", ")", 0, ""},
        {"(1)", "(", "", INT_MAX, ""},
    };
    for (const auto& one : cases)
        EXPECT_EQ(CMabString(one.text).GetDelimitedField(one.open, one.close, one.n).view(), one.wanted)
            << one.text << " " << one.n;
}

TEST(CMabString, tells_a_width_too_small_for_any_error) {
    CXML::m_bOperStatus = true;
    CMabString text("x");
    text.PutDouble(1, 3, 'E');
    EXPECT_EQ(text.view(), "");
    EXPECT_FALSE(CXML::m_bOperStatus);
    EXPECT_EQ(CXML::m_strOperErrDesc, "Minimum String Length is 4 for error handling!");
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
