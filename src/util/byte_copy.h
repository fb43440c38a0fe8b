#pragma once
// Moving the bytes of one file. Workers only; a result carries the errno of what failed; the caller
// reports it.
#include <cstdint>
#include <functional>
#include <string>

#include "base/file_descriptor.h"
#include "base/sync_batch.h"

// Copies the bytes of src (no link) into a new file dst and syncs it. The cancel test runs before each
// write; 0 from it ends the copy with success and what was written so far. A null test never cancels. 0, or
// -1 with errno set, a diagnostic, and no dst made by this call left behind.
using Gfile_cancel_test = int (*)(void* argument);
int Gfile_copy_file(const std::string& src, const std::string& dst, Gfile_cancel_test cancel_fn,
                    void* cancel_arg);
// Copies src with mode and owner into a new file dst and syncs it. 0, or -1 and a diagnostic.
int low_copy_file(const char* src, const char* dst);

namespace relay_hub {

struct CancelTest {
    Gfile_cancel_test function = nullptr;  // 0 from it means cancelled; null never cancels
    void* argument = nullptr;

    [[nodiscard]] bool cancelled() const { return function != nullptr && function(argument) == 0; }
};

struct CopyOutcome {
    int error_number = 0;  // 0 unless the copy failed
    bool cancelled = false;
    bool synced = false;
    bool write_back_began = false;  // so much was written that a sync should follow at once
    std::uint64_t bytes = 0;

    [[nodiscard]] bool complete() const { return error_number == 0 && !cancelled; }
};

// A regular file opened for reading, links refused. Empty with errno set when it is none or cannot be read.
FileDescriptor open_source(const std::string& path);

// Gets how far into the file the copy has come, in bytes, after each piece.
using CopyWatch = std::function<void(std::uint64_t position)>;

// Copies source from its start into the empty target; holes stay holes. Nothing is synced. ESTALE for a
// source that was changed meanwhile.
CopyOutcome copy_content(int source, int target, const CancelTest& cancel, const CopyWatch& watch = nullptr);

// Big files are synced whatever sync_time says; a cancelled copy never is.
struct NewFile {
    SyncTime sync_time = SyncTime::now;
    bool take_attributes = false;  // else the file stays 0600
};

// Copies src into the new file dst. Cancelling leaves what was written; a failure leaves no dst, unless dst
// was there before: then EEXIST and dst untouched.
CopyOutcome copy_new_file(const std::string& src, const std::string& dst, const CancelTest& cancel,
                          NewFile options, const CopyWatch& watch = nullptr);

}  // namespace relay_hub
