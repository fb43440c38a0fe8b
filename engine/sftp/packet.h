#pragma once
// The bytes of SFTP version 3: writing the fields of a request, reading the fields of an answer. Pure;
// nothing that is read is trusted, and nothing is copied that the packet does not hold.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace relay_hub::engine::sftp {

enum class PacketType : std::uint8_t {
    kInit = 1,
    kVersion = 2,
    kOpen = 3,
    kClose = 4,
    kRead = 5,
    kWrite = 6,
    kLstat = 7,
    kFstat = 8,
    kSetstat = 9,
    kFsetstat = 10,
    kOpendir = 11,
    kReaddir = 12,
    kRemove = 13,
    kMkdir = 14,
    kRmdir = 15,
    kRealpath = 16,
    kStat = 17,
    kRename = 18,
    kReadlink = 19,
    kSymlink = 20,
    kStatus = 101,
    kHandle = 102,
    kData = 103,
    kName = 104,
    kAttributes = 105,
    kExtended = 200,
    kExtendedReply = 201,
};

enum class StatusCode : std::uint32_t {
    kOk = 0,
    kEndOfFile = 1,
    kNoSuchFile = 2,
    kPermissionDenied = 3,
    kFailure = 4,
    kBadMessage = 5,
    kNoConnection = 6,
    kConnectionLost = 7,
    kUnsupported = 8,
};

enum OpenFlag : std::uint32_t { kOpenRead = 1, kOpenWrite = 2, kOpenCreate = 8, kOpenExclusive = 32 };

inline constexpr std::uint32_t kProtocolVersion = 3;
inline constexpr std::size_t kLengthSize = 4;
// What stands before the fields of an answer: its type and the number of the request.
inline constexpr std::size_t kAnswerHead = 5;
inline constexpr std::size_t kLongestHandle = 256;
// Larger packets are neither sent nor taken.
inline constexpr std::size_t kLongestPacket = 262144;

// Each group of values is there or not; times are seconds since 1970.
struct Attributes {
    std::optional<std::uint64_t> size;
    struct Owner {
        std::uint32_t user = 0;
        std::uint32_t group = 0;
    };
    std::optional<Owner> owner;
    std::optional<std::uint32_t> permissions;  // with the type bits
    struct Times {
        std::uint32_t accessed = 0;
        std::uint32_t modified = 0;
    };
    std::optional<Times> times;
};

// The fields of a request, in order.
class Fields {
  public:
    Fields& add(std::uint32_t number);
    Fields& add(std::uint64_t number);
    Fields& add(std::string_view text);
    Fields& add(const Attributes& attributes);
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

  private:
    std::string bytes_;
};

void append_number(std::string& bytes, std::uint32_t number);
std::uint32_t number_at(const char* bytes);

// Reads fields one after the other. After the first that is not there every further one reads as empty, and
// complete() tells. The texts are views of the packet.
class FieldReader {
  public:
    explicit FieldReader(std::string_view fields) : unread_(fields) {}
    std::uint32_t number();
    std::uint64_t long_number();
    std::string_view text();
    Attributes attributes();
    [[nodiscard]] bool good() const { return good_; }
    // All fields were there and nothing is left.
    [[nodiscard]] bool complete() const { return good_ && unread_.empty(); }
    [[nodiscard]] std::size_t left() const { return unread_.size(); }

  private:
    std::string_view take(std::size_t size);

    std::string_view unread_;
    bool good_ = true;
};

struct Status {
    StatusCode code = StatusCode::kFailure;
    std::string message;  // the server's own words, of any content
};

struct NamedEntry {
    std::string name;
    Attributes attributes;
};

struct Extension {
    std::string name;
    std::string version;
};

struct Limits {
    std::uint64_t packet = 0;
    std::uint64_t read = 0;
    std::uint64_t write = 0;
    std::uint64_t handles = 0;
};

struct FileSystemSpace {
    std::uint64_t fragment_size = 0;
    std::uint64_t available = 0;  // in fragments, for the user
    std::uint64_t file_nodes = 0;
    std::uint64_t free_file_nodes = 0;
    std::uint64_t id = 0;
    bool read_only = false;
};

// What the fields of each kind of answer say; nothing for what is no such answer.
std::optional<Status> read_status(std::string_view fields);
std::optional<std::string> read_handle(std::string_view fields);
// A view of the packet.
std::optional<std::string_view> read_data(std::string_view fields);
std::optional<Attributes> read_attributes(std::string_view fields);
std::optional<std::vector<NamedEntry>> read_names(std::string_view fields);
std::optional<Limits> read_limits(std::string_view fields);
std::optional<FileSystemSpace> read_space(std::string_view fields);
// The whole packet after its type. Nothing for another version.
std::optional<std::vector<Extension>> read_version(std::string_view fields);

}  // namespace relay_hub::engine::sftp
