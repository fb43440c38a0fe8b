#include "engine/pending_writes.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace relay_hub::engine {
namespace {

constexpr mode_t kEveryRight = 0777;
constexpr std::uint64_t kMostWaitingBytes = 64ULL * 1024 * 1024;
// Of folders to be finished, before that is done in between.
constexpr std::size_t kMostPathBytes = 4UL * 1024 * 1024;

}  // namespace

mode_t mode_to_fill(const Entry& folder) {
    return folder.has_mode ? (folder.mode & ACCESSPERMS) | S_IRWXU : kEveryRight;
}

bool is_filled_as_it_is(const Entry& folder) {
    return !folder.has_mode || (folder.mode & S_IRWXU) == S_IRWXU;
}

PendingWrites::PendingWrites(RemoteFileSystem& target, FailureSink failed)
    : target_(target), failed_(std::move(failed)), most_files_(target.most_waiting_files()) {}

void PendingWrites::add_file(std::unique_ptr<FileSink> sink, const std::string& source,
                             const std::string& target_folder, std::uint64_t size) {
    sinks_.push_back(std::move(sink));
    files_.push_back({source, target_folder, size});
    waiting_bytes_ += size;
    if (sinks_.size() >= most_files_ || waiting_bytes_ >= kMostWaitingBytes)
        commit(false);
}

void PendingWrites::add_made_folder(const std::string& folder, const Entry& entry) {
    made_folders_.push_back({folder, entry});
    path_bytes_ += folder.size() + sizeof(Entry);
    add_touched(folder);
}

void PendingWrites::add_touched(const std::string& folder) {
    anything_done_ = true;
    if (touched_.insert(folder).second)
        path_bytes_ += folder.size();
    if (path_bytes_ < kMostPathBytes || settling_)
        return;
    settling_ = true;
    finish();
    settling_ = false;
}

void PendingWrites::add_missing(const std::string& folder, const Error& error) {
    const bool repeat_helps = error.number == ENOTCONN || error.number == ECANCELED || error.number == ENOSPC;
    if (repeat_helps && missing_in_.emplace(folder, error).second)
        path_bytes_ += folder.size() + sizeof(Error);
}

bool PendingWrites::waits_in(const std::string& folder) const {
    return std::any_of(files_.begin(), files_.end(),
                       [&](const File& file) { return file.target_folder == folder; });
}

void PendingWrites::publish() {
    if (!sinks_.empty())
        commit(true);
}

void PendingWrites::commit(bool all) {
    const std::vector<Error> results = target_.commit(sinks_, all);
    const auto end = files_.begin() + static_cast<std::ptrdiff_t>(results.size());
    const std::vector<File> done(std::make_move_iterator(files_.begin()), std::make_move_iterator(end));
    files_.erase(files_.begin(), end);
    for (std::size_t i = 0; i < results.size(); ++i) {
        waiting_bytes_ -= done[i].size;
        const std::string target = join_path(done[i].target_folder, base_name(done[i].source));
        if (results[i] && !results[i].attributes_only) {
            add_missing(done[i].target_folder, results[i]);
            failed_.file(done[i].source, target, results[i]);
            continue;
        }
        if (results[i])
            failed_.attributes(target, results[i]);
        add_touched(done[i].target_folder);
    }
}

void PendingWrites::complete_folders() {
    std::vector<FolderAttributes> complete;
    for (FolderAttributes& folder : std::exchange(made_folders_, {})) {
        const auto missing = missing_in_.extract(folder.path);
        // One that its owner may not write in could not take what a repeat brings.
        if (missing.empty() || is_filled_as_it_is(folder.entry))
            complete.push_back(std::move(folder));
        else
            failed_.folder(folder.path, missing.mapped());
    }
    const std::vector<Error> results = target_.set_attributes(complete);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i])
            (results[i].attributes_only ? failed_.attributes : failed_.folder)(complete[i].path, results[i]);
    }
}

void PendingWrites::settle() {
    complete_folders();
    const std::vector<std::string> touched(touched_.begin(), touched_.end());
    if (!touched.empty()) {
        if (const Error error = target_.settle(touched); error)
            failed_.folder(touched.front(), error);
    }
    touched_.clear();
    path_bytes_ = 0;
}

void PendingWrites::finish() {
    publish();
    settle();
}

}  // namespace relay_hub::engine
