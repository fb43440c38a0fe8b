#pragma once
// One copy request carried out: every item with all below it, from one tree of files into another. Asks once
// for each file in the way, tells the progress, stops when told, collects failures and goes on. One object
// per request, used on one thread; trees and front end must outlive it.
#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/front_end.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

// One tree, and how its paths are told to the user.
struct CopySide {
    RemoteFileSystem& files;
    std::function<std::string(const std::string& path)> show;
};

struct CopyItem {
    std::string source;         // inner path on the source side
    std::string target_folder;  // inner path on the target side
};

struct Failure {
    std::string item;
    std::string reason;
};

class CopyBatch {
  public:
    // may_travel says which names exist for both sides; others are told as failures.
    CopyBatch(CopySide source, CopySide target, std::function<bool(const std::string& name)> may_travel,
              FrontEnd& front_end);
    // When it returns, every file that was copied is on the disk under its name.
    void run(const std::vector<CopyItem>& items);
    // An item that failed before it could be tried.
    void add_failure(std::string item, std::string reason);

    [[nodiscard]] bool anything_done() const { return anything_done_; }
    [[nodiscard]] const std::vector<Failure>& failures() const { return failures_; }

  private:
    struct Waiting {
        std::string source;
        std::string target;
        std::uint64_t size;
    };

    bool stopped();
    void tell_progress();
    void measure(const std::string& path, const Entry& entry);
    void copy_item(const CopyItem& item);
    void copy_entry(const std::string& source, const Entry& entry, const std::string& target_folder);
    void copy_folder(const std::string& source, const Entry& entry, const std::string& target);
    void copy_file(const std::string& source, const Entry& entry, const std::string& target);
    void copy_link(const std::string& source, const Entry& entry, const std::string& target);
    enum class Verdict { kWrite, kReplace, kLeave };
    Verdict judge_target(const std::string& source, const Entry& entry, const std::string& target);
    bool may_replace(const std::string& target);
    // 0, an errno value, or ECANCELED when the work is to stop.
    Error copy_content(FileSource& source, FileSink& sink);
    Error copy_in_kernel(FileSource& source, FileSink& sink, bool& copied_any);
    void count_written(FileSink& sink, std::uint64_t bytes);
    void publish_waiting();
    void finish_folders();
    void fail(const std::string& source, const Error& error);
    void fail(const std::string& source, std::string reason);

    CopySide source_;
    CopySide target_;
    std::function<bool(const std::string&)> may_travel_;
    FrontEnd& front_end_;
    std::size_t most_waiting_files_;

    bool stop_ = false;
    bool replace_all_ = false;
    bool anything_done_ = false;
    std::vector<Failure> failures_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_poll_;
    std::chrono::steady_clock::time_point last_report_;
    std::string current_;
    std::uint64_t total_bytes_ = 0;
    std::uint64_t total_entries_ = 0;
    std::uint64_t done_bytes_ = 0;
    std::uint64_t unflushed_bytes_ = 0;
    std::uint64_t done_entries_ = 0;
    // Written, but not yet under their names: they are flushed together.
    std::vector<std::unique_ptr<FileSink>> sinks_;
    std::vector<Waiting> waiting_;
    std::set<std::string> waiting_targets_;
    std::uint64_t waiting_bytes_ = 0;
    // Made folders, inner ones first: their modes and times come last.
    std::vector<std::pair<std::string, Entry>> made_folders_;
    std::set<std::string> touched_folders_;
    std::vector<char> buffer_;
};

// "3 items could not be copied:" with the first names and reasons.
std::string failure_summary(const std::vector<Failure>& failures, const std::string& what_failed);
// Plain English for an errno value.
std::string reason_text(const Error& error);

}  // namespace relay_hub::engine
