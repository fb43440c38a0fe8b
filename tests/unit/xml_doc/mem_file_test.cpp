#include "xml_doc/mem_file.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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
