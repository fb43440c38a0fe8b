#include "xml_doc/mem_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class MemFile : public testing::Test {
  protected:
    ~MemFile() override { file_.Close(); }

    void write(size_t n) {
        const std::string bytes(n, 'x');
        ASSERT_EQ(file_.Write(bytes.data(), static_cast<unsigned int>(n)), n);
    }

    CVMemFile file_;
};

TEST_F(MemFile, grows_in_the_steps_that_its_users_count_on) {
    write(1500);
    EXPECT_EQ(file_.GetCapacity(), 2524U);
    EXPECT_EQ(file_.GetGrowthFactor(), 8);
    write(2000);
    EXPECT_EQ(file_.GetCapacity(), 10716U);
    EXPECT_EQ(file_.GetGrowthFactor(), 64);
    write(7216);
    EXPECT_EQ(file_.GetCapacity(), 10716U) << "exactly full is no reason to grow";
    EXPECT_EQ(file_.GetLength(), 10716U);
}

TEST_F(MemFile, keeps_what_was_written_across_growth) {
    file_.Attach(nullptr, 0, 4);
    std::string wanted;
    for (int turn = 0; turn < 300; ++turn) {
        const std::string piece = std::to_string(turn);
        file_.Write(piece.data(), static_cast<unsigned int>(piece.size()));
        wanted += piece;
    }
    EXPECT_STREQ(reinterpret_cast<const char*>(file_.Detach()), wanted.c_str());
}

TEST_F(MemFile, counts_the_closing_nul_only_when_full) {
    file_.Attach(nullptr, 0, 4);
    write(3);
    file_.Detach();
    EXPECT_EQ(file_.GetLength(), 3U);
    write(1);
    EXPECT_EQ(strlen(reinterpret_cast<const char*>(file_.Detach())), 4U);
    EXPECT_EQ(file_.GetLength(), 5U);
}

TEST_F(MemFile, reads_only_what_was_attached) {
    unsigned char bytes[] = {'a', 'b', 'c', 'd'};
    file_.Attach(bytes, 3, 0);
    char got[8] = "";
    EXPECT_EQ(file_.Read(got, 2), 2U);
    EXPECT_EQ(file_.Read(got + 2, 9), 1U);
    EXPECT_EQ(file_.Read(got, 9), 0U);
    EXPECT_STREQ(got, "abc");
    file_.Close();
    EXPECT_EQ(bytes[0], 'a') << "freed what it only read";
}

}  // namespace
