#pragma once
// The two log files. theLog is the raw trace of the pipes, write_log appends one time-stamped line to the
// event log. Both may be used on any thread. A log that cannot be opened stays silent: the program goes on.
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <string_view>

class Log {
  public:
    // Opens nothing: everything written is dropped until SetFile.
    constexpr Log() = default;
    // Opens path write-only, created and truncated (append only makes each write go to the end).
    // Refuses a final symbolic link and anything that is not a regular file.
    Log(const char* path, bool append);
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    // Writes "^^^^ Close Log()\n", then closes as CloseFile does.
    virtual ~Log();

    // Opens another file as the constructor does; the file that was open is dropped, not closed.
    void SetFile(const char* path, bool append);
    // Writes "^^^^ Close Handle\n" and closes; nothing when no file is open.
    void CloseFile();
    // Exactly length bytes with one write, no stamp, no line end.
    void Write1(const char* data, unsigned int length);
    // The same for several parts, with one write for all of them.
    void WriteParts(std::initializer_list<std::string_view> parts);
    // printf into the file with one write.
    void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void ReallyPrint(const char* format, va_list args) __attribute__((format(printf, 2, 0)));

  private:
    std::atomic<int> m_nFile = -1;
};

inline constexpr std::size_t kLogMessageSize = 4194304;

namespace relay_hub {

// Where log_event composes its line. Only the pages that a line fills are ever used.
struct EventLog {
    std::mutex mutex;
    char message[kLogMessageSize];  // guarded by mutex
};
extern EventLog event_log;

}  // namespace relay_hub

inline constexpr auto& g_log_message = relay_hub::event_log.message;

// The trace of the pipes. Silent until main opens kPipeTracePath: a second start, which ends at once, and the
// engine, which shares this room, must leave the trace of the running window alone.
extern Log theLog;

// "HH:MM:SS message\n" appended to path. 0, or -1 when path or message is missing or path is empty.
int write_log(const char* path, const char* message);

// Where event-log lines and the trace of the pipes go.
inline constexpr char kEventLogPath[] = "/tmp/Pondmark.log";
inline constexpr char kPipeTracePath[] = "/tmp/NamePipe1.log";

namespace relay_hub {

// Composes one line with printf rules in the shared log buffer, bounded and under its mutex, and appends
// it to the event log. Any thread.
void log_event(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Appends one line made of the parts, of any length: a whole message may be one. Nothing is copied. Any
// thread.
void log_event_parts(std::initializer_list<std::string_view> parts);

}  // namespace relay_hub
