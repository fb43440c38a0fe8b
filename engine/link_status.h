#pragma once
// The status of the connection for a program that started the engine, on the descriptor of
// "--status-fd". One line an event, its fields parted by tabs:
//   connecting
//   ssh         line                       what ssh writes on its standard error
//   connected   style   computer   folder  style "posix" or "windows"; user@host; the path to begin with
//   failed      kind    text               see kind_word() in engine/sftp/link_failure.h
//   lost        text
// In a field "\\t", "\\n" and "\\\\" stand for a tab, a line end and a backslash; a text may have several
// lines. After "lost" comes "connecting" and so on again. An engine that has such a descriptor and fails
// before it was ever connected ends, with status 1. A reader that is gone costs nothing; one that stands
// still misses what its pipe has no room for.
#include <string_view>
#include <vector>

#include "base/file_descriptor.h"
#include "engine/names.h"

namespace relay_hub::engine {

class LinkStatus {
  public:
    // Takes the descriptor; with an empty one nothing is written. One thread at a time.
    explicit LinkStatus(FileDescriptor out);
    void connecting() const;
    void ssh_said(std::string_view line) const;
    void connected(Style style, std::string_view computer, std::string_view folder) const;
    void failed(std::string_view kind, std::string_view text) const;
    void lost(std::string_view text) const;
    [[nodiscard]] bool has_reader() const { return static_cast<bool>(out_); }

  private:
    void write(const std::vector<std::string_view>& fields) const;

    // Whether the line may be written without waiting for the reader.
    [[nodiscard]] bool has_room() const;

    FileDescriptor out_;
    mutable bool reader_stands_still_ = false;
};

}  // namespace relay_hub::engine
