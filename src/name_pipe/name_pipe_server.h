#pragma once
// The server's side of a channel. base is the channel's base path.
#include <atomic>

#include "name_pipe/name_pipe_base.h"

// Creates the FIFOs if they are missing and serves one client after the other until a step returns
// false, m_bExitFromListenLoop was set or bThreadContinue is false; SIGPIPE is ignored from then on. Each
// round calls on_read with the requests' descriptor and ctx, then on_write with the answers' descriptor.
// Without on_write the channel is one-way and its "_OUT" is removed. Both descriptors are borrowed and
// non-blocking. False when on_read is missing or the FIFOs cannot be had. An idle loop blocks in open().
bool ListenPipeClient(const char* base, bool (*on_read)(int fd, void* ctx), bool (*on_write)(int fd),
                      void* ctx);
// Whether the listen loop goes on after its round; the loop sets it when it begins.
inline constexpr std::atomic<bool>& bThreadContinue = relay_hub::listener_state.goes_on;
