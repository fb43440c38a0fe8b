// A server that lies: each lie is a clear failure in bounded time and memory, and nothing of it is believed.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "engine/sftp/sftp_file_system.h"

namespace relay_hub::engine::sftp {
namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;

struct Request {
    PacketType type;
    std::uint32_t number;
    std::string fields;
};

// Answers the requests of a channel as a function says; the greeting is an honest one.
class LyingServer {
  public:
    using Lie = std::function<std::string(const Request&)>;
    explicit LyingServer(Lie lie) : lie_(std::move(lie)) {
        int up[2];
        int down[2];
        EXPECT_EQ(pipe2(up, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(down, O_CLOEXEC), 0);
        for (const int end : {up[1], down[0]})
            fcntl(end, F_SETFL, O_NONBLOCK);
        in_.reset(up[0]);
        out_.reset(down[1]);
        auto channel = std::make_unique<Channel>(FileDescriptor(up[1]), FileDescriptor(down[0]), nullptr);
        channel->set_silence_limit(300ms);
        session_ = std::make_shared<Session>(std::move(channel));
        session_->obey(interruption_);
        thread_ = std::thread([this] { serve(); });
    }
    ~LyingServer() {
        session_->channel().end("over");
        files_.reset();
        session_.reset();
        thread_.join();
    }
    SftpFileSystem& files() { return *files_; }
    Session& session() { return *session_; }

    static std::string packet(PacketType type, std::uint32_t number, const std::string& fields) {
        std::string text;
        append_number(text, static_cast<std::uint32_t>(fields.size() + kAnswerHead));
        text += static_cast<char>(type);
        append_number(text, number);
        return text + fields;
    }

  private:
    bool read_exactly(char* data, std::size_t size) {
        while (size > 0) {
            const ssize_t count = ::read(in_.get(), data, size);
            if (count <= 0)
                return false;
            data += count;
            size -= static_cast<std::size_t>(count);
        }
        return true;
    }
    void serve() {
        char head[4];
        while (read_exactly(head, sizeof head)) {
            std::string packet_text(number_at(head), '\0');
            if (!read_exactly(packet_text.data(), packet_text.size()))
                return;
            const auto type = static_cast<PacketType>(packet_text[0]);
            std::string answer;
            if (type == PacketType::kInit) {
                const std::string fields = Fields()
                                               .add(3U)
                                               .add("posix-rename@openssh.com")
                                               .add("1")
                                               .add("statvfs@openssh.com")
                                               .add("2")
                                               .bytes();
                append_number(answer, static_cast<std::uint32_t>(fields.size() + 1));
                answer += static_cast<char>(PacketType::kVersion) + fields;
            } else {
                answer = lie_({type, number_at(packet_text.data() + 1), packet_text.substr(5)});
            }
            if (write_all(out_.get(), answer.data(), answer.size()) != 0)
                return;
        }
    }

    Lie lie_;
    FileDescriptor in_;
    FileDescriptor out_;
    Interruption interruption_;
    std::shared_ptr<Session> session_;
    std::unique_ptr<SftpFileSystem> files_ =
        std::make_unique<SftpFileSystem>([this] { return session_; }, interruption_, std::nullopt);
    std::thread thread_;
};

std::string status(std::uint32_t number, StatusCode code) {
    return LyingServer::packet(PacketType::kStatus, number,
                               Fields().add(static_cast<std::uint32_t>(code)).add("Failure").add("").bytes());
}

std::string handle(std::uint32_t number) {
    return LyingServer::packet(PacketType::kHandle, number, Fields().add("h").bytes());
}

Attributes folder_attributes() {
    Attributes attributes;
    attributes.permissions = 0040755;
    return attributes;
}

std::string names(std::uint32_t number, const std::vector<std::string>& texts) {
    Fields fields;
    fields.add(static_cast<std::uint32_t>(texts.size()));
    for (const std::string& text : texts)
        fields.add(text).add("").add(folder_attributes());
    return LyingServer::packet(PacketType::kName, number, fields.bytes());
}

struct Lie {
    const char* name;
    LyingServer::Lie answer;
    const char* reason;
};

TEST(LyingServer, EndsTheLinkWithAReason) {
    const std::vector<Lie> lies{
        {"unknown number", [](auto& request) { return handle(request.number + 7); }, "was not made"},
        {"repeated number", [](auto& request) { return handle(request.number) + handle(request.number); },
         "answered twice"},
        {"another kind",
         [](auto& request) {
             return LyingServer::packet(PacketType::kData, request.number, Fields().add("x").bytes());
         },
         "of a kind"},
        {"a long packet", [](auto&) { return std::string("\x7f\xff\xff\xff", 4); }, "packet of 2147483647"},
        {"an empty packet", [](auto&) { return std::string(4, '\0'); }, "packet of 0"},
        {"a length that lies",
         [](auto& request) {
             return LyingServer::packet(PacketType::kHandle, request.number, std::string("\0\0\xff\0h", 5));
         },
         "cannot be read"},
        {"a huge handle",
         [](auto& request) {
             return LyingServer::packet(PacketType::kHandle, request.number,
                                        Fields().add(std::string(5000, 'h')).bytes());
         },
         "longer than was asked for"},
        {"success without a handle", [](auto& request) { return status(request.number, StatusCode::kOk); },
         "cannot be read"},
        {"silence", [](auto&) { return std::string(); }, "has not answered"},
        {"silence in the middle", [](auto& request) { return handle(request.number).substr(0, 9); },
         "has not answered"},
    };
    for (const Lie& lie : lies) {
        LyingServer server(lie.answer);
        Listing listing;
        const Error error = server.files().list("x", listing);
        EXPECT_TRUE(error) << lie.name;
        // What came honestly before the lie may be had; the link ends all the same.
        for (int i = 0; i < 100 && server.session().channel().state() != Channel::State::kLost; ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_THAT(server.session().channel().reason(), HasSubstr(lie.reason)) << lie.name;
        EXPECT_EQ(server.files().list("x", listing).number, ENOTCONN) << lie.name;
    }
}

TEST(LyingServer, TellsNamesThatAreNone) {
    bool told = false;
    LyingServer server([&told](const Request& request) {
        if (request.type == PacketType::kOpendir)
            return handle(request.number);
        if (request.type != PacketType::kReaddir || std::exchange(told, true))
            return status(request.number,
                          request.type == PacketType::kReaddir ? StatusCode::kEndOfFile : StatusCode::kOk);
        return names(request.number, {".", "..", "good", "../../etc/passwd", "/", "a\0b", "",
                                      std::string("n\0l", 3), std::string(60000, 'x')});
    });
    Listing listing;
    EXPECT_FALSE(server.files().list("x", listing));
    ASSERT_EQ(listing.entries.size(), 2U);
    EXPECT_EQ(listing.entries[0].name, "good");
    EXPECT_EQ(listing.failed.size(), 5U);
}

TEST(LyingServer, NeverEndsAFolder) {
    const std::vector<std::string> hundred(100, "name");
    for (const bool with_names : {true, false}) {
        LyingServer server([&](const Request& request) {
            if (request.type == PacketType::kOpendir)
                return handle(request.number);
            return request.type == PacketType::kReaddir
                       ? names(request.number, with_names ? hundred : std::vector<std::string>())
                       : status(request.number, StatusCode::kOk);
        });
        Listing listing;
        EXPECT_EQ(server.files().list("x", listing).number, EOVERFLOW);
    }
}

TEST(LyingServer, SendsMoreDataThanWasAskedForOrNone) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{100000}}) {
        LyingServer server([size](const Request& request) {
            if (request.type == PacketType::kRead)
                return LyingServer::packet(PacketType::kData, request.number,
                                           Fields().add(std::string(size, 'x')).bytes());
            return handle(request.number);
        });
        Entry entry;
        entry.size = 10;
        std::unique_ptr<FileSource> source;
        ASSERT_FALSE(server.files().open_source("x", entry, source));
        char buffer[32];
        std::size_t got = 0;
        EXPECT_EQ(source->read(buffer, sizeof buffer, got).number, ENOTCONN) << size;
        EXPECT_EQ(got, 0U);
    }
}

TEST(LyingServer, IsWaitedForOnlyUntilAnInterruption) {
    LyingServer server([](const Request&) { return std::string(); });
    server.session().channel().set_silence_limit(60s);
    const auto wait = [&server] {
        const auto start = std::chrono::steady_clock::now();
        Listing listing;
        EXPECT_EQ(server.files().list("x", listing).number, ECANCELED);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    };
    server.files().set_watch([] { return false; });
    wait();
    server.files().set_watch(nullptr);
    std::thread interrupter([&] {
        std::this_thread::sleep_for(50ms);
        server.files().interrupt();
    });
    wait();
    interrupter.join();
    wait();
}

}  // namespace
}  // namespace relay_hub::engine::sftp
