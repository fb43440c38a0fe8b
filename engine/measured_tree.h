#pragma once
// What is below the items of a copy, walked once before it begins: so that the whole is known, and so that
// the copy need not list the folders again. Listings are kept up to a limit; beyond it a folder is listed
// when the copy comes to it. Folders are met in the same order both times, each before those in it.
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class MeasuredTree {
  public:
    // visit: is called for every entry, false from it ends the walk.
    using Visit = std::function<bool(const Entry& entry)>;

    explicit MeasuredTree(RemoteFileSystem& files) : files_(files) {}
    // Walks what is at path, itself included.
    void add(const std::string& path, const Entry& entry, const Visit& visit);

    // The content of the folder that the copy comes to next. Each listing is given out once.
    Error enter(const std::string& folder, Listing& listing);
    // The number of that folder, and a look at its content; null when that was not kept.
    [[nodiscard]] std::size_t next_number() const { return next_; }
    [[nodiscard]] const Listing* peek() const;
    // The copy passes over that folder with all below it.
    void skip();

  private:
    struct Kept {
        Error error;
        Listing listing;
        std::size_t end = 0;  // number of the first folder that is not below this one
    };
    struct Level;

    // Lists path as the folder of that number; what the walk needs of it goes into level.
    void open(const std::string& path, Level& level, const Visit& visit);

    RemoteFileSystem& files_;
    std::vector<Kept> kept_;  // by number, the first ones
    bool full_ = false;
    std::size_t kept_bytes_ = 0;
    std::size_t folders_ = 0;
    std::size_t next_ = 0;  // of the copy
};

}  // namespace relay_hub::engine
