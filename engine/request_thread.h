#pragma once
// Carries out requests on a thread of their own, so that one that hangs in the system, in a file of a dead
// server for one, can be given up: its thread is left behind with all that it uses, and the next request gets
// trees of its own. All members are for the serving thread.
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/stop_token.h"
#include "base/worker.h"
#include "engine/front_end_link.h"
#include "engine/request_handlers.h"

namespace relay_hub::engine {

// Each call makes handlers with trees that no other thread uses; they live as long as the pointer.
using HandlersFactory = std::function<std::shared_ptr<RequestHandlers>()>;

class RequestThread {
  public:
    // front_end and stop outlive every request, also those left behind.
    RequestThread(HandlersFactory make_handlers, FrontEndLink& front_end, const StopToken& stop)
        : make_handlers_(std::move(make_handlers)), front_end_(front_end), stop_(stop) {}

    // Called within the PeerScope of the client. What hangs is given up when the client leaves, when its user
    // cancels a copy, or when stop is stopped; its reply then is a success, as of any copy that is cancelled,
    // or for stop a failure.
    Reply handle(std::string request);
    // Whether something that was given up still runs, and uses what it was made with.
    [[nodiscard]] bool left_any_behind();

  private:
    struct Work;

    // False when the request is to be given up.
    bool await_end(const Work& work, const Worker& worker);
    // Whether it ended by itself after all.
    bool give_up(const std::shared_ptr<Work>& work, const Worker& worker);

    const HandlersFactory make_handlers_;
    FrontEndLink& front_end_;
    const StopToken& stop_;
    std::shared_ptr<RequestHandlers> handlers_;
    std::vector<std::weak_ptr<Work>> left_;
};

}  // namespace relay_hub::engine
