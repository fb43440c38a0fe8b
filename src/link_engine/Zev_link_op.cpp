#include "link_engine/Zev_link_op.h"

#include <glib-unix.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "base/diagnostics.h"
#include "base/file_descriptor.h"
#include "base/main_loop.h"
#include "base/main_loop_source.h"

constinit relay_hub::ChildRunner relay_hub::child_runner;

namespace {

// Readers of the logs know the status query by this place.
constexpr relay_hub::CallSite kStatusQuery{"../src/link_engine/Zev_link_op.cpp", "get_file_stat", 105};

void* const kAttachFailed = reinterpret_cast<void*>(std::intptr_t{-1});

constexpr int& shared_memory_id = relay_hub::child_runner.segment_left;

// Wakes the main loop when a child process ends, and tells that it did.
class ChildWatch {
  public:
    explicit ChildWatch(pid_t child) : process_(static_cast<int>(::syscall(SYS_pidfd_open, child, 0))) {
        if (!process_) {
            relay_hub::report_error(RELAY_HUB_HERE, errno);
            return;
        }
        source_.reset(g_unix_fd_add(process_.get(), G_IO_IN, on_ended, this));
    }

    // True also when the child cannot be watched: then the blocking wait that follows sees its end.
    [[nodiscard]] bool ended() const { return !source_; }

  private:
    static gboolean on_ended(gint, GIOCondition, gpointer watch) {
        static_cast<ChildWatch*>(watch)->source_.forget();
        return G_SOURCE_REMOVE;
    }

    relay_hub::FileDescriptor process_;
    relay_hub::MainLoopSource source_;
};

[[noreturn]] void run_child(int (*start)(void*), void* arg) {
    const int id = start ? start(arg) : 0;
    if (g_shm_id_ptr)
        *g_shm_id_ptr = id;
    std::fprintf(stderr, "child *g_shm_id_ptr = %d\n", id);
    std::printf("Child: pid = %d\n", ::getpid());
    std::fflush(stdout);
    ::_exit(0);
}

void reap(pid_t child) {
    while (::wait4(child, nullptr, 0, nullptr) < 0) {
        if (errno == EINTR)
            continue;
        relay_hub::report_error(RELAY_HUB_HERE, errno);
        return;
    }
}

}  // namespace

int get_shared_mem_id() {
    return shared_memory_id;
}

int send_command(int (*start)(void*), int (*finish)(void*), void* arg) {
    signal_count = 0;
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child < 0) {
        relay_hub::report_error(RELAY_HUB_HERE, errno);
        return 0;
    }
    if (child == 0)
        run_child(start, arg);
    std::puts("waiting for child process signal");
    const ChildWatch watch(child);
    relay_hub::turn_main_loop_until([&watch] { return watch.ended(); });
    shared_memory_id = g_shm_id_ptr ? *g_shm_id_ptr : 0;
    std::fprintf(stderr, "*g_shm_id_ptr = %d\n", shared_memory_id);
    std::puts("receiving data");
    const int result = finish ? finish(arg) : 0;
    std::puts("clean child process");
    reap(child);
    std::puts("clean child process done.");
    signal_count = 0;
    return result;
}

void* create_shared_memory(int key, int size, int* id) {
    *id = 0;
    const int segment = ::shmget(key, static_cast<std::size_t>(size), IPC_CREAT | 0600);
    if (segment < 0) {
        relay_hub::report_memory_error(RELAY_HUB_HERE, errno, static_cast<std::size_t>(size));
        return nullptr;
    }
    *id = segment;
    void* address = ::shmat(segment, nullptr, 0);
    if (address == kAttachFailed) {
        relay_hub::report_error(RELAY_HUB_HERE, errno);
        return nullptr;
    }
    return address;
}

void* attache_shared_memory(int id) {
    void* address = ::shmat(id, nullptr, 0);
    if (address == kAttachFailed) {
        relay_hub::report_error(RELAY_HUB_HERE, errno);
        return nullptr;
    }
    return static_cast<char*>(address) + 1;
}

int destroy_shared_memory(void* address, int id) {
    if (::shmdt(address) != 0)
        relay_hub::report_error(RELAY_HUB_HERE, errno);
    if (::shmctl(id, IPC_RMID, nullptr) != 0)
        relay_hub::report_error(RELAY_HUB_HERE, errno);
    return 0;
}

int get_file_stat(const char* path, struct stat* out) {
    if (::stat(path, out) == 0)
        return 0;
    relay_hub::report_error(kStatusQuery, errno);
    return -1;
}
