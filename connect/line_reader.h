#pragma once
// Reads a pipe line by line in the main loop, without blocking it. Window's thread.
#include <glib.h>

#include <functional>
#include <string>

#include "base/file_descriptor.h"
#include "base/main_loop_source.h"
#include "base/non_copyable.h"

namespace relay_hub::connect {

class LineReader : NonCopyable {
  public:
    // Given each line as it comes, without its line end; the last one also when nothing ends it. Must not
    // destroy the reader.
    using TakeLine = std::function<void(const std::string& line)>;

    // Takes the pipe's end over, and reads it until its writers have gone.
    LineReader(FileDescriptor pipe, TakeLine take_line);

    // Reads now what is already there.
    void drain();

  private:
    static gboolean on_ready(int, GIOCondition, gpointer self);
    bool read_once();
    void take_complete_lines();

    FileDescriptor pipe_;
    TakeLine take_line_;
    std::string pending_;
    MainLoopSource source_;
};

}  // namespace relay_hub::connect
