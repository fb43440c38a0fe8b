#include "xml_doc/mab_string.h"

#include <cfloat>
#include <climits>
#include <cmath>

#include "sandbox.h"
#include "xml_doc/mem_file.h"

namespace {

TEST(CMabString, edits) {
    const std::tuple<const char*, const char*, std::function<void(CMabString&)>, const char*> cases[] = {
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
        {"append_first_bytes", "ab", [](auto& s) { s.ConcatCopy2("cdef", 2); }, "abcd"},
        {"cut_and_keep", "abcdef", [](auto& s) { s.ReAllocString(3); }, "abc"},
        {"own_buffer", "abc", [](auto& s) { std::memcpy(s.GetBuffer(10), "xyz!", 5), s.ReleaseBuffer(); },
         "xyz!"},
        {"own_buffer_cut", "abc",
         [](auto& s) { std::memcpy(s.GetBuffer(10), "xyz!", 5), s.ReleaseBuffer(2); }, "xy"},
        {"first_of_set", "abc", [](auto& s) { s.PutInt(s.FindOneOf("xcb"), 1); }, "1"},
        {"span_of_set", "abac", [](auto& s) { s = s.SpanIncluding("ba"); }, "aba"},
        {"right_end", "abc", [](auto& s) { s = s.Right(2) + s.Right(-1) + s.Right(99); }, "bcabc"},
        {"control_bytes", "a\tb\n\xFF", [](auto& s) { s.NoControlChar(); }, "a b  "},
        {"runs_of_blanks", " a   b  ", [](auto& s) { s.NoDoubleSpace(); }, " a b "},
        {"fill_up", "ab", [](auto& s) { s.Fill(4, '-'), s.Fill(1, '*'); }, "ab--"},
        {"begins_with_point", ".5", [](auto& s) { s.PutInt(s.IsInt() * 10 + s.IsFloat(), 2); }, "10"},
        {"int_right_aligned", "", [](auto& s) { s.PutInt(-5, 4); }, "  -5"},
        {"money", "1234.5", [](auto& s) { s.UsCur(); }, "1234.50"},
        {"no_money", "-3", [](auto& s) { s.UsCur(); }, ""},
    };
    for (const auto& [name, before, edit, after] : cases) {
        CMabString text(before);
        edit(text);
        EXPECT_EQ(text.view(), after) << name;
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

TEST(MemFile, grows_in_the_steps_that_its_users_count_on) {
    CVMemFile file;
    const unsigned int steps[][3] = {{1500, 2524, 8}, {2000, 10716, 64}, {7216, 10716, 64}};
    for (const auto& [size, capacity, factor] : steps) {
        EXPECT_EQ(file.Write(std::string(size, 'x').data(), size), size);
        EXPECT_EQ(file.GetCapacity(), capacity);
        EXPECT_EQ(file.GetGrowthFactor(), factor);
    }
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(file.Detach())), std::string(10716, 'x'));
    file.Close();
}

TEST(MemFile, reads_only_what_was_attached) {
    CVMemFile file;
    unsigned char bytes[] = {'a', 'b', 'c', 'd'};
    file.Attach(bytes, 3, 0);
    char got[8] = "";
    EXPECT_EQ(file.Read(got, 2), 2U);
    EXPECT_EQ(file.Read(got + 2, 9), 1U);
    EXPECT_EQ(file.Read(got, 9), 0U);
    EXPECT_STREQ(got, "abc");
    file.Close();
    EXPECT_EQ(bytes[0], 'a') << "freed what it only read";
}

}  // namespace
