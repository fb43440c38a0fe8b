#pragma once
// The user's trash folder: "Trash/" under the home directory, one folder an entry and an info file beside it.
#include <chrono>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "util/job_state.h"

// Fills out_name with a fresh name, a dot and eight characters.
void GenTrashName(std::string& out_name, unsigned long salt);

// Moves each path into the trash. False, with errno set, when an info file could not be created; entries
// that could not be moved stay where they are, are reported on standard error and do not end the run.
bool DeleteDirectory(const std::vector<std::string>& paths);

namespace relay_hub {

enum class TrashResult {
    moved,
    stays,      // nothing was moved, and no litter left
    cancelled,  // as stays
    partly,     // some of it is left where it was
    no_info,    // moved, but the info file could not be made; errno says why
};

// Puts entries into the trash, one after the other. A job state (when given, borrowed) that becomes 3 ends a
// move under way. One thread at a time.
class Trash {
  public:
    explicit Trash(volatile int* job_state) : job_state_(job_state) {}
    // Of an entry that stays, also in part, *reason says why.
    TrashResult put(const std::string& path, std::string* reason);

  private:
    // The trash folder, opened at first use. False with errno set when there is none.
    bool open_folder();
    // Makes the entry's own folder. Its name, or nothing with errno set.
    std::string make_entry_folder(unsigned long salt);
    TrashResult move(const std::string& path, const std::string& entry, std::string* reason) const;

    volatile int* job_state_;
    FileDescriptor folder_;
    // Names differ also where one address follows another within a second, and from those of the job before,
    // which began some seconds earlier at the same addresses.
    unsigned long names_made_ =
        static_cast<unsigned long>(std::chrono::steady_clock::now().time_since_epoch().count());
};

}  // namespace relay_hub
