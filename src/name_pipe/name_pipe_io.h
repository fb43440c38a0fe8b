#pragma once
// The byte-level work of a channel: one exchange as its client, the listen loop as its server, whole frames
// in and out. base is the channel's base path. No call hangs on a peer: the client's waits end with the
// peer's death or the thread's StopToken (stop_token.h), the server's after three seconds of nothing.
#include <atomic>
#include <memory>

// Client. Sends body as one frame. With answer and answer_size, waits for the answer and puts its body, at
// most answer_size bytes, into answer; a zero follows where there is room. Without, nothing is awaited: the
// FIFOs are tried for moments only. A peer that ends without an answer counts as an empty answer. False, with
// answer untouched, when a FIFO is missing or none, nobody reads, the write failed, or the request was
// abandoned. Not on the window's thread.
bool SendPipeData(const char* base, char* body, unsigned int size, char* answer, unsigned int answer_size);

// Server. Creates the FIFOs if they are missing and serves one client after the other until a step returns
// false, m_bExitFromListenLoop was set or bThreadContinue is false; SIGPIPE is ignored from then on. Each
// round calls on_read with the requests' descriptor and ctx, then on_write with the answers' descriptor.
// Without on_write the channel is one-way and its "_OUT" is removed. Both descriptors are borrowed and
// non-blocking. False when on_read is missing or the FIFOs cannot be had. An idle loop blocks in open().
bool ListenPipeClient(const char* base, bool (*on_read)(int fd, void* ctx), bool (*on_write)(int fd),
                      void* ctx);
// Whether the listen loop goes on after its round; the loop sets it when it begins.
extern std::atomic<bool> bThreadContinue;

// The body of the next frame, followed by zeros; *count is its length. A length of 0 or, as a signed number,
// below gives an empty body; a writer that ends within the body gives what came. Null when no whole header
// came, it did not come within three seconds, more than 16 MiB are announced, or the read failed. fd is
// non-blocking.
std::unique_ptr<char[]> ReadPipeData(int fd, unsigned int* count);
// Writes data as one frame. A reader that has gone counts as delivered. False when the write fails or the
// reader takes nothing for three seconds. fd is non-blocking.
bool WritePipeData(int fd, const char* data, unsigned int size);

// The steps of the call-back listener: pipe_read_func serves the channel's control commands itself and gives
// everything else to the service provider, pipe_write_func sends what either left. Always true.
bool pipe_read_func(int fd, void* ctx);
bool pipe_write_func(int fd);
// Thread body of the listener: serves m_strPipeName. Null.
void* ListenThread(void* object);
