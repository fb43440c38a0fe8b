#pragma once
// Tells that the peer has ended the round of a request: that it closed the answers' FIFO after it had read
// the request. A peer that begins its next round at once leaves no other trace of the end. The kernel's event
// queue keeps the order of "request read" and "end closed", so that the close of an earlier round never
// counts. Without a watch from the system it never reports anything. One thread at a time.
#include <string>

#include "base/file_descriptor.h"
#include "base/frame.h"

namespace relay_hub {

class RoundWatch : public WriterWatch {
  public:
    // Before a request is written to in_path: what happened so far no longer counts.
    void begin(const std::string& in_path, const std::string& out_path);

    [[nodiscard]] int descriptor() const override { return events_.get(); }
    bool has_left() override;
    // The events seen so far belonged to another client's request.
    void forget();

  private:
    FileDescriptor events_;
    int in_ = -1;
    int out_ = -1;
    bool request_read_ = false;
    bool left_ = false;
};

}  // namespace relay_hub
