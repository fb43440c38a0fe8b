#include "engine/copy_batch.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/diagnostics.h"
#include "engine/names.h"
#include "engine/wire_text.h"

namespace relay_hub::engine {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBeat{100};
constexpr std::size_t kBufferSize = 256UL * 1024;
constexpr std::size_t kKernelSlice = 1024UL * 1024;
constexpr std::uint64_t kFlushStep = 32ULL * 1024 * 1024;
constexpr std::uint64_t kMostWaitingBytes = 64ULL * 1024 * 1024;
constexpr mode_t kPrivateFolder = 0700;
constexpr std::size_t kNamesTold = 5;
constexpr std::size_t kLongestSummary = 900;

class KeepsFoldersOpen {
  public:
    explicit KeepsFoldersOpen(RemoteFileSystem& files) : files_(files) { files_.keep_folder_open(true); }
    KeepsFoldersOpen(const KeepsFoldersOpen&) = delete;
    KeepsFoldersOpen& operator=(const KeepsFoldersOpen&) = delete;
    ~KeepsFoldersOpen() { files_.keep_folder_open(false); }

  private:
    RemoteFileSystem& files_;
};

}  // namespace

std::string reason_text(const Error& error) {
    if (!error.text.empty())
        return error.text;
    switch (error.number) {
        case EXDEV:
            return "it lies outside the shared folder or on another volume";
        case EEXIST:
            return "an item of that name is there already";
        case EBUSY:
            return "it is in use or the root of the drive";
        default:
            return error_text(error.number);
    }
}

std::string failure_summary(const std::vector<Failure>& failures, const std::string& what_failed) {
    const std::size_t count = failures.size();
    std::string text =
        (count == 1 ? "1 item" : std::to_string(count) + " items") + " could not be " + what_failed + ":";
    std::size_t told = 0;
    for (const Failure& failure : failures) {
        const std::string line =
            "\n" + in_one_line(failure.item, 200) + ": " + in_one_line(failure.reason, 120);
        if (told == kNamesTold || text.size() + line.size() > kLongestSummary)
            break;
        text += line;
        ++told;
    }
    if (told < count)
        text += "\nand " + std::to_string(count - told) + " more";
    return text;
}

CopyBatch::CopyBatch(CopySide source, CopySide target,
                     std::function<bool(const std::string& name)> may_travel, FrontEnd& front_end)
    : source_(std::move(source)),
      target_(std::move(target)),
      may_travel_(std::move(may_travel)),
      front_end_(front_end),
      most_waiting_files_(target_.files.most_waiting_files()),
      start_(steady_clock::now()),
      last_poll_(start_ - kBeat),
      last_report_(start_ - kBeat) {}

void CopyBatch::add_failure(std::string item, std::string reason) {
    failures_.push_back({std::move(item), std::move(reason)});
}

void CopyBatch::fail(const std::string& source, std::string reason) {
    add_failure(source_.show(source), std::move(reason));
}

void CopyBatch::fail(const std::string& source, const Error& error) {
    fail(source, reason_text(error));
}

bool CopyBatch::stopped() {
    const auto now = steady_clock::now();
    if (stop_ || now - last_poll_ < kBeat)
        return stop_;
    stop_ = front_end_.cancelled();
    last_poll_ = steady_clock::now();
    return stop_;
}

void CopyBatch::tell_progress() {
    const auto now = steady_clock::now();
    if (now - last_report_ < kBeat)
        return;
    Progress report;
    report.item = current_;
    report.elapsed = std::chrono::duration_cast<std::chrono::seconds>(now - start_);
    // Where there is nothing but empty files, the files themselves are what there is to do.
    report.total = total_bytes_ > 0 ? total_bytes_ : total_entries_;
    report.done = std::min(total_bytes_ > 0 ? done_bytes_ : done_entries_, report.total);
    front_end_.progress(report);
    last_report_ = steady_clock::now();
}

void CopyBatch::measure(const std::string& path, const Entry& entry) {
    if (stopped())
        return;
    ++total_entries_;
    if (entry.kind == EntryKind::kFile)
        total_bytes_ += entry.size;
    if (entry.kind != EntryKind::kFolder)
        return;
    Listing listing;
    // What cannot be read is told when it is to be copied.
    (void)source_.files.list(path, listing);
    for (const Entry& child : listing.entries)
        measure(join_path(path, child.name), child);
}

void CopyBatch::run(const std::vector<CopyItem>& items) {
    const KeepsFoldersOpen source_kept(source_.files);
    const KeepsFoldersOpen target_kept(target_.files);
    for (const CopyItem& item : items) {
        Entry entry;
        if (!source_.files.stat(item.source, entry))
            measure(item.source, entry);
    }
    for (const CopyItem& item : items) {
        if (stopped())
            break;
        copy_item(item);
    }
    publish_waiting();
    finish_folders();
    tell_progress();
}

void CopyBatch::copy_item(const CopyItem& item) {
    Entry entry;
    if (const Error error = source_.files.stat(item.source, entry); error)
        return fail(item.source, error);
    if (is_root(source_.files.style(), item.source))
        return fail(item.source, "a whole drive cannot be copied");
    std::vector<FileIdentity> chain;
    if (const Error error = target_.files.folder_chain(item.target_folder, chain); error)
        return fail(item.source, target_.show(item.target_folder) + ": " + reason_text(error));
    if (entry.kind == EntryKind::kFolder &&
        std::find(chain.begin(), chain.end(), entry.identity) != chain.end())
        return fail(item.source, "a folder cannot be copied into itself");
    if (touched_folders_.insert(item.target_folder).second)
        target_.files.sweep(item.target_folder);
    copy_entry(item.source, entry, item.target_folder);
}

void CopyBatch::copy_entry(const std::string& source, const Entry& entry, const std::string& target_folder) {
    current_ = source_.show(source);
    tell_progress();
    const std::string name = base_name(source);
    if (!may_travel_(name)) {
        report(RELAY_HUB_HERE, "name cannot be told to the other computer:", in_one_line(current_));
        return fail(source, "its name cannot be told to the other computer");
    }
    const std::string target = join_path(target_folder, name);
    switch (entry.kind) {
        case EntryKind::kFolder:
            copy_folder(source, entry, target);
            break;
        case EntryKind::kFile:
            copy_file(source, entry, target);
            break;
        case EntryKind::kLink:
            copy_link(source, entry, target);
            break;
        case EntryKind::kSpecial:
            fail(source, "it is a device, a pipe or a socket");
            break;
    }
    ++done_entries_;
}

void CopyBatch::copy_folder(const std::string& source, const Entry& entry, const std::string& target) {
    Listing children;
    if (const Error error = source_.files.list(source, children); error)
        return fail(source, error);
    for (const FailedLook& failed : children.failed)
        fail(join_path(source, failed.name), failed.error);
    Entry existing;
    const int missing = target_.files.stat(target, existing).number;
    if (missing == 0 && existing.identity == entry.identity)
        return fail(source, "it cannot be copied onto itself");
    if (missing == 0 && existing.kind != EntryKind::kFolder)
        return fail(source, "an item that is not a folder has its name at the target");
    if (missing == 0) {
        target_.files.sweep(target);
    } else {
        if (const Error error = target_.files.make_folder(target, kPrivateFolder); error)
            return fail(source, error);
        touched_folders_.insert(parent_path(target));
        anything_done_ = true;
    }
    touched_folders_.insert(target);
    for (const Entry& child : children.entries) {
        if (stopped())
            break;
        copy_entry(join_path(source, child.name), child, target);
    }
    if (missing != 0)
        made_folders_.emplace_back(target, entry);
}

CopyBatch::Verdict CopyBatch::judge_target(const std::string& source, const Entry& entry,
                                           const std::string& target) {
    if (waiting_targets_.contains(target))
        publish_waiting();
    Entry existing;
    const Error error = target_.files.stat(target, existing);
    if (error.number == ENOENT)
        return Verdict::kWrite;
    if (error) {
        fail(source, error);
        return Verdict::kLeave;
    }
    if (existing.identity == entry.identity) {
        fail(source, "it cannot be copied onto itself");
        return Verdict::kLeave;
    }
    if (existing.kind == EntryKind::kFolder) {
        fail(source, "a folder has its name at the target");
        return Verdict::kLeave;
    }
    return may_replace(target) ? Verdict::kReplace : Verdict::kLeave;
}

bool CopyBatch::may_replace(const std::string& target) {
    if (replace_all_)
        return true;
    // What is written already should not wait for the user.
    publish_waiting();
    const std::string question = in_one_line(target_.show(target), 800) + "\nexists already. Replace it?";
    switch (front_end_.confirm(question)) {
        case Answer::kYes:
            return true;
        case Answer::kReplaceAll:
            replace_all_ = true;
            return true;
        case Answer::kNo:
            return false;
        case Answer::kCancel:
            stop_ = true;
            return false;
    }
    return false;
}

void CopyBatch::copy_file(const std::string& source, const Entry& entry, const std::string& target) {
    const std::uint64_t done_after = done_bytes_ + entry.size;
    const Verdict verdict = judge_target(source, entry, target);
    std::unique_ptr<FileSource> reader;
    std::unique_ptr<FileSink> sink;
    Error error;
    if (verdict != Verdict::kLeave) {
        error = source_.files.open_source(source, entry, reader);
        if (!error)
            error = target_.files.open_sink(target, entry, verdict == Verdict::kReplace, sink);
        if (!error)
            error = copy_content(*reader, *sink);
        if (!error)
            error = sink->finish(*reader);
    }
    if (error.number == ECANCELED)
        return;
    done_bytes_ = done_after;
    if (error)
        return fail(source, error);
    if (verdict == Verdict::kLeave)
        return;
    sinks_.push_back(std::move(sink));
    waiting_.push_back({source, target, entry.size});
    waiting_targets_.insert(target);
    waiting_bytes_ += entry.size;
    if (sinks_.size() >= most_waiting_files_ || waiting_bytes_ >= kMostWaitingBytes)
        publish_waiting();
}

Error CopyBatch::copy_content(FileSource& source, FileSink& sink) {
    bool copied_any = false;
    if (source.descriptor() >= 0 && sink.descriptor() >= 0) {
        const Error error = copy_in_kernel(source, sink, copied_any);
        if (copied_any || error)
            return error;
    }
    buffer_.resize(kBufferSize);
    while (true) {
        if (stopped())
            return ECANCELED;
        tell_progress();
        std::size_t got = 0;
        if (const Error error = source.read(buffer_.data(), buffer_.size(), got); error)
            return error;
        if (got == 0)
            return 0;
        if (const Error error = sink.write(buffer_.data(), got); error)
            return error;
        count_written(sink, got);
    }
}

// Leaves copied_any false, and no error, when the kernel cannot copy between these two.
Error CopyBatch::copy_in_kernel(FileSource& source, FileSink& sink, bool& copied_any) {
    while (true) {
        if (stopped())
            return ECANCELED;
        tell_progress();
        const ssize_t count =
            copy_file_range(source.descriptor(), nullptr, sink.descriptor(), nullptr, kKernelSlice, 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return copied_any ? errno : 0;
        if (count == 0)
            return 0;
        copied_any = true;
        count_written(sink, static_cast<std::uint64_t>(count));
    }
}

void CopyBatch::count_written(FileSink& sink, std::uint64_t bytes) {
    done_bytes_ += bytes;
    unflushed_bytes_ += bytes;
    if (unflushed_bytes_ < kFlushStep)
        return;
    sink.start_flush();
    unflushed_bytes_ = 0;
}

void CopyBatch::copy_link(const std::string& source, const Entry& entry, const std::string& target) {
    const Verdict verdict = judge_target(source, entry, target);
    if (verdict == Verdict::kLeave)
        return;
    std::string link;
    Error error = source_.files.read_link(source, link);
    if (!error)
        error = target_.files.make_link(target, link, entry, verdict == Verdict::kReplace);
    if (error)
        return fail(source, error);
    touched_folders_.insert(parent_path(target));
    anything_done_ = true;
}

void CopyBatch::publish_waiting() {
    if (sinks_.empty())
        return;
    const std::vector<Error> results = target_.files.commit(sinks_);
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i])
            fail(waiting_[i].source, results[i]);
        else
            anything_done_ = true;
        touched_folders_.insert(parent_path(waiting_[i].target));
    }
    sinks_.clear();
    waiting_.clear();
    waiting_targets_.clear();
    waiting_bytes_ = 0;
}

void CopyBatch::finish_folders() {
    for (const auto& [path, entry] : made_folders_) {
        if (const Error error = target_.files.set_attributes(path, entry); error)
            add_failure(target_.show(path), reason_text(error));
    }
    if (!anything_done_)
        return;
    const std::vector<std::string> touched(touched_folders_.begin(), touched_folders_.end());
    if (const Error error = target_.files.settle(touched); error)
        add_failure(target_.show(touched.front()), reason_text(error));
}

}  // namespace relay_hub::engine
