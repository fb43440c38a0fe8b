#pragma once
// Which items of a move have arrived whole: the copy went through all of the item, nothing of it failed or
// was left alone, and the source still looks as it did before the copy. One copy, one thread; the tree must
// outlive it.
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class Arrivals {
  public:
    explicit Arrivals(RemoteFileSystem& source) : source_(source) {}

    // Before the copy: the next item, and then every entry of it, the item itself first.
    void begin(const std::string& path);
    void see(const Entry& entry);
    // The copy has come to the end of the item of that number.
    void went_through(std::size_t item) { items_[item].went_through = true; }
    // Something at or below that path of the source did not arrive.
    void doubt(const std::string& path) { doubtful_.insert(path); }
    // What did not arrive may belong to any item.
    void doubt_all() { all_in_doubt_ = true; }

    // After the copy: looks at the sources again. One for each item; none has arrived once goes_on is false.
    std::vector<bool> judge(const std::function<bool()>& goes_on);

  private:
    struct Item {
        std::string path;
        std::uint64_t look = 0;
        bool seen = false;
        bool went_through = false;
    };
    [[nodiscard]] bool in_doubt(const std::string& path) const;
    bool looks_the_same(const Item& item, const Entry& entry, const std::function<bool()>& goes_on);

    RemoteFileSystem& source_;
    std::vector<Item> items_;
    std::set<std::string> doubtful_;
    bool all_in_doubt_ = false;
};

}  // namespace relay_hub::engine
