#include "util/sorted_folder.h"

#include "unit/util/util_sandbox.h"

namespace {

class SortedFolder : public util_test::Sandbox {};

TEST_F(SortedFolder, KeepsTheOrderOfNamesSortedInHalves) {
    constexpr std::size_t kCount = 7001;
    const std::string path = make_folder("many");
    for (std::size_t index = 0; index < kCount; ++index)
        test::put(path + "/" + std::to_string(index), "");
    relay_hub::SortedFolder sorted(path);
    ASSERT_EQ(sorted.size(), kCount);
    for (std::size_t index = 0; index < kCount; ++index)
        ASSERT_EQ(sorted.entry(index).name, std::to_string(index));
    EXPECT_EQ(relay_hub::SortedFolder(path + "/0").error_number(), ENOTDIR);
}

}  // namespace
