#pragma once
// One round of the call-back listener, in its two steps. Listener thread, but for the first function.

namespace relay_hub {

// Makes room for the service provider's answer where there is none yet. False, after a diagnostic, without
// memory.
bool allocate_answer_buffer();
// Whether the round being served has something to send.
bool answer_is_waiting();

}  // namespace relay_hub

// pipe_read_func serves the channel's control commands itself and gives everything else to the service
// provider, pipe_write_func sends what either left. fd is borrowed and non-blocking. Always true.
bool pipe_read_func(int fd, void* ctx);
bool pipe_write_func(int fd);
