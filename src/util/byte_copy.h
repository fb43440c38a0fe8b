#pragma once
// Moving the bytes of one file. Workers only; a result carries the errno of what failed, and nothing is told
// here.
#include <cstdint>
#include <string>

#include "base/file_descriptor.h"
#include "util/file_op.h"

namespace relay_hub {

struct CancelTest {
    Gfile_cancel_test function = nullptr;  // 0 from it means cancelled; null never cancels
    void* argument = nullptr;

    [[nodiscard]] bool cancelled() const { return function != nullptr && function(argument) == 0; }
};

// Whether a file must be on the disk when the call returns, or may be left to a SyncBatch.
enum class SyncTime { now, later };

struct CopyOutcome {
    int error_number = 0;  // 0 unless the copy failed
    bool cancelled = false;
    bool synced = false;
    std::uint64_t bytes = 0;

    [[nodiscard]] bool complete() const { return error_number == 0 && !cancelled; }
};

// A source opened for reading, links refused. Empty with errno set when it cannot be read from its start.
FileDescriptor open_source(const std::string& path);

// Copies what source still gives to the end of target. Big files are synced whatever sync_time says; a
// cancelled copy never is.
CopyOutcome copy_content(int source, int target, const CancelTest& cancel, SyncTime sync_time);

// Copies the content of src into the new file dst (0600). Cancelling leaves what was written; a failure
// leaves no dst, unless dst was there before: then EEXIST and dst untouched.
CopyOutcome copy_new_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                          SyncTime sync_time);

// Copies src with mode and owner over the existing entry dst, through a temporary file beside it that is on
// the disk before it takes dst's name. Unless the outcome is complete, dst is as it was.
CopyOutcome replace_file(const std::string& src, const std::string& dst, const CancelTest& cancel);

// Puts a link with the given text in the place of the existing entry dst. 0, or errno with dst as it was.
int replace_link(const std::string& link_text, const std::string& dst);

}  // namespace relay_hub
