#pragma once
// One copy request carried out: every item with all below it, from one tree of files into another. Asks once
// for each file in the way, passes over what is there already, reports progress, stops when cancelled,
// collects failures and goes on. One object per request, used on one thread; trees and front end must outlive
// it.
#include <functional>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/non_copyable.h"
#include "engine/arrivals.h"
#include "engine/copy_failures.h"
#include "engine/copy_progress.h"
#include "engine/file_content.h"
#include "engine/folder_lookup.h"
#include "engine/front_end.h"
#include "engine/measured_tree.h"
#include "engine/pending_writes.h"
#include "engine/remote_file_system.h"

namespace relay_hub::engine {

// One tree, and how its paths are shown to the user.
struct CopySide {
    RemoteFileSystem& files;
    std::function<std::string(const std::string& path)> show;
};

struct CopyItem {
    std::string source;         // inner path on the source side
    std::string target_folder;  // inner path on the target side
    std::size_t record = 0;     // of the request
};

// Of a move the source may be thrown away afterwards.
enum class Purpose { kCopy, kMove };

class CopyBatch : NonCopyable {
  public:
    // may_travel says which names exist for both sides; others are reported as failures.
    CopyBatch(CopySide source, CopySide target, std::function<bool(const std::string& name)> may_travel,
              FrontEnd& front_end);
    ~CopyBatch();

    // When it returns, every file that was copied is on the disk under its name. In a move size and time do
    // not prove that a file is there already, its content does.
    void run(const std::vector<CopyItem>& items, Purpose purpose = Purpose::kCopy);
    // An item that failed before it could be tried.
    void add_failure(std::string item, std::string reason) {
        failures_.add(std::move(item), std::move(reason));
    }

    [[nodiscard]] bool anything_done() const { return pending_.anything_done(); }
    [[nodiscard]] const FailureList& failures() const { return failures_; }
    // What was copied without its mode or times.
    [[nodiscard]] const FailureList& lost_attributes() const { return lost_attributes_; }
    // The target of a question that nobody answered: there the copy ended. Empty for none.
    [[nodiscard]] const std::string& unanswered() const { return unanswered_; }
    // Of a move: for each item whether all of it is at the target now, as it still is at the source.
    [[nodiscard]] const std::vector<bool>& arrived() const { return arrived_; }
    // How many entries were neither copied nor failed, and of how many.
    [[nodiscard]] std::uint64_t left() const { return progress_.left(); }
    [[nodiscard]] std::uint64_t total() const { return progress_.total(); }

  private:
    struct Item;
    struct Step;
    struct Level;

    void measure(const std::vector<Item>& items);
    std::vector<Item> look_at_items(const std::vector<CopyItem>& items);
    void copy_item(const Item& item, const FolderLookup& target);
    // Of an item that is there already, in trees that may share a disk without knowing it.
    bool arrives_where_it_is(const Item& item, const FolderLookup& target, Error& error);
    // Whether things can be copied into the folder; if not, that is a failure of source.
    bool enter_target(const std::string& source, const std::string& folder);
    // source and target_folder: the paths so far. A folder is only begun: its level is put on top.
    void copy_entry(const std::string& source, const Entry& entry, const std::string& target_folder,
                    const FolderLookup& lookup);
    void begin_folder(const Step& step);
    bool make_or_take_folder(const Step& step, Level& level);
    void copy_below();
    void copy_file(const Step& step);
    void copy_link(const Step& step);
    enum class Verdict { kWrite, kReplace, kPresent, kLeave };
    Verdict judge_target(const Step& step);
    // Whether the target's file is the source's, as far as the purpose asks for it. False with error set.
    bool is_there(const Step& step, const Entry& present, Error& error);
    bool may_replace(const Step& step, const Entry& present);
    void announce_next(Level& level);
    void announce_next_folder();
    void announce_folder(const std::string& path, const Listing& listing);
    // An error is told of the source, or of the target where that is at fault.
    bool succeeded(const std::string& source, const Error& error);
    bool succeeded_at_target(const Step& step, const Error& error);
    void fail(const std::string& source, const std::string& shown, const Error& error);
    void fail(const std::string& source, const Error& error);
    // The entry, or what is below it, stays where it is.
    void doubt(const std::string& source);
    void fail_folder(const std::string& folder, const Error& error);
    bool goes_on();

    CopySide source_;
    CopySide target_;
    std::function<bool(const std::string&)> may_travel_;
    FrontEnd& front_end_;
    FailureList failures_;
    FailureList lost_attributes_;
    CopyProgress progress_;
    FileContent content_;
    PendingWrites pending_;
    MeasuredTree measured_;
    std::optional<Arrivals> arrivals_;  // of a move
    std::vector<bool> arrived_;
    // Of which measured folder the first children were announced before the copy came to it, and how many.
    struct {
        std::size_t folder = 0;
        std::size_t children = 0;
    } announced_early_;

    bool replace_all_ = false;
    bool skip_all_ = false;
    std::string unanswered_;
    std::set<std::string> swept_;                                       // target folders of items
    std::map<std::pair<std::string, std::string>, bool> same_folders_;  // of source and target
    // Entering one of these as a source would never end: the target, what it lies in, what this copy made.
    std::set<std::pair<dev_t, ino_t>> never_entered_;
    bool has_identities_ = false;  // the target's folders
    std::list<Level> levels_;      // folders being copied, each in the one before
    std::string source_path_;      // of the innermost
    std::string target_path_;
};

}  // namespace relay_hub::engine
