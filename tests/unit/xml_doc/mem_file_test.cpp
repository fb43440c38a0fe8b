#include "xml_doc/mem_file.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class MemFile : public testing::Test {
  protected:
    ~MemFile() override { file_.Close(); }

    void write(unsigned int size) { ASSERT_EQ(file_.Write(std::string(size, 'x').data(), size), size); }

    CVMemFile file_;
};

TEST_F(MemFile, grows_in_the_steps_that_its_users_count_on) {
    const unsigned int steps[][3] = {{1500, 2524, 8}, {2000, 10716, 64}, {7216, 10716, 64}};
    for (const auto& [size, capacity, factor] : steps) {
        write(size);
        EXPECT_EQ(file_.GetCapacity(), capacity);
        EXPECT_EQ(file_.GetGrowthFactor(), factor);
    }
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(file_.Detach())), std::string(10716, 'x'));
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
