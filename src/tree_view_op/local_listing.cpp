#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "tree_view_op/file_list_view.h"
#include "tree_view_op/listing_turns.h"
#include "tree_view_op/local_row.h"
#include "util/file_op.h"
#include "util/quiet_thread.h"

namespace relay_hub {
namespace {

// A folder that is read within this time needs no main-loop turns.
constexpr std::chrono::milliseconds kPatience(20);

// What the reading worker and the window share. The worker owns its part of it, so that a closing window
// need not wait for a slow disk.
struct FolderReading {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;                 // guarded by mutex
    std::vector<FolderEntry> entries;  // the worker's until done
    int error_number = 0;              // the worker's until done
};

void read_into(FolderReading& reading, const std::string& folder) {
    reading.entries = read_folder(folder, &reading.error_number);
    {
        const std::lock_guard lock(reading.mutex);
        reading.done = true;
    }
    reading.changed.notify_all();
    g_main_context_wakeup(nullptr);
}

bool is_done(FolderReading& reading, std::chrono::milliseconds patience) {
    std::unique_lock lock(reading.mutex);
    return reading.changed.wait_for(lock, patience, [&reading] { return reading.done; });
}

// False when the listing was called off meanwhile.
bool wait_for_reading(FolderReading& reading, ListingTurns& turns) {
    if (is_done(reading, kPatience))
        return true;
    turns.begin();
    while (!is_done(reading, std::chrono::milliseconds(0))) {
        gtk_main_iteration();
        if (!listing_watcher()->go_on())
            return false;
    }
    return true;
}

bool read_on_worker(const std::shared_ptr<FolderReading>& reading, const std::string& folder) {
    const SignalsBlocked blocked;
    try {
        std::thread([reading, folder] { read_into(*reading, folder); }).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void fill_rows(GtkWidget* tree_view, const std::string& folder, const std::vector<FolderEntry>& entries) {
    RowFiller filler(tree_view, entries.size());
    LocalRow row;
    constexpr RowTexts kEmptyRow{};
    for (const FolderEntry& listed : entries) {
        const FolderEntry& entry = listed.vanished ? read_entry(folder, listed.name) : listed;
        Gfile_size += static_cast<std::uint64_t>(entry.status.st_size);
        if (!filler.add(entry.vanished ? kEmptyRow.data() : row.texts(entry).data()))
            return;
    }
}

void list_folder(const std::string& folder, GtkWidget* tree_view) {
    const auto reading = std::make_shared<FolderReading>();
    ListingTurns turns(0);
    if (listing_watcher() == nullptr || !read_on_worker(reading, folder))
        read_into(*reading, folder);
    if (!wait_for_reading(*reading, turns))
        return;
    if (reading->error_number != 0)
        // Fails again, and tells why in its own words.
        Gfile_all_list_pointer(folder, 0, fill_list_colmum, tree_view);
    else
        fill_rows(tree_view, folder, reading->entries);
}

}  // namespace
}  // namespace relay_hub

int once_search_and_insert_to_treeview(const std::string& folder, GtkWidget* tree_view) {
    Gfile_size = Gfile_get_file_size(folder);
    clean_tree_view(tree_view);
    if (folder != "/")
        insert_root_row(tree_view);
    relay_hub::list_folder(folder, tree_view);
    std::printf("%s total size is %lld\n", folder.c_str(), static_cast<long long>(Gfile_size));
    return 0;
}
