#pragma once
// Looks entries of one folder up: with one listing when many are asked for, else one by one. One thread; the
// tree must outlive it. Later changes of the folder are not seen.
#include <cstddef>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

class FolderLookup {
  public:
    // From here on a listing, which may be long, pays.
    static constexpr std::size_t kManyLookups = 4;

    // A folder that holds nothing.
    FolderLookup() = default;
    // lookups: how many are to come.
    FolderLookup(RemoteFileSystem& files, const std::string& folder, std::size_t lookups);
    // folder as before. ENOENT when there is none.
    Error find(const std::string& folder, const std::string& name, Entry& entry) const;
    // Whether the folder is known to hold nothing beside these.
    [[nodiscard]] bool holds_only(const std::vector<Entry>& entries) const;

  private:
    RemoteFileSystem* files_ = nullptr;  // null: the entries are all there is
    RemoteFileSystem* judge_ = nullptr;  // of names that differ in their form alone; null: there are none
    std::vector<Entry> entries_;         // by name
    std::vector<std::size_t> forms_;     // hashes of the names' common forms, in order
};

}  // namespace relay_hub::engine
