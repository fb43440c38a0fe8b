#pragma once
// An SFTP server in a thread that answers as a test says.

#include "engine/sftp/sftp_file_system.h"
#include "pipe.h"
#include "sandbox.h"

namespace relay_hub::engine::sftp {

using namespace std::chrono_literals;

struct Request {
    PacketType type;
    std::uint32_t number;
    std::string fields;
};

// The client's side of two pipes.
inline std::unique_ptr<Connection> channel_on(test::Pipe& up, test::Pipe& down) {
    for (const int end : {up.writer.get(), down.reader.get()})
        fcntl(end, F_SETFL, O_NONBLOCK);
    return std::make_unique<Connection>(std::move(up.writer), std::move(down.reader), nullptr);
}

// Once the server has greeted and said what it is.
inline void learn_facts(Session& session) {
    EXPECT_TRUE(
        test::wait_until([&] { return session.connection().state() != Connection::State::kGreeting; }));
    EXPECT_FALSE(session.learn_facts(""));
}

// Answers the requests of a connection as a function says; the greeting is an honest one.
class LyingServer {
  public:
    using Lie = std::function<std::string(const Request&)>;
    explicit LyingServer(Lie lie,
                         std::vector<std::string> extensions = {"posix-rename@openssh.com",
                                                                "statvfs@openssh.com"},
                         std::optional<Style> style = std::nullopt)
        : lie_(std::move(lie)),
          extensions_(std::move(extensions)),
          files_(std::make_unique<SftpFileSystem>([this] { return session_; }, style)) {
        auto connection = channel_on(up_, down_);
        connection->set_silence_limit(300ms);
        session_ = std::make_shared<Session>(std::move(connection));
        thread_ = std::thread([this] { serve(); });
    }
    ~LyingServer() {
        session_->connection().end("over");
        files_.reset();
        session_.reset();
        thread_.join();
    }
    SftpFileSystem& files() { return *files_; }
    Session& session() { return *session_; }

  private:
    void serve() {
        for (std::string head; (head = test::read_bytes(up_.reader.get(), 4)).size() == 4;) {
            const std::string packet_text = test::read_bytes(up_.reader.get(), number_at(head.data()));
            if (packet_text.empty())
                return;
            const auto type = static_cast<PacketType>(packet_text[0]);
            std::string answer;
            if (type == PacketType::kInit) {
                Fields greeting;
                greeting.add(3U);
                for (const std::string& extension : extensions_)
                    greeting.add(extension).add("1");
                const std::string& fields = greeting.bytes();
                append_number(answer, static_cast<std::uint32_t>(fields.size() + 1));
                answer += static_cast<char>(PacketType::kVersion) + fields;
            } else {
                answer = lie_({type, number_at(packet_text.data() + 1), packet_text.substr(5)});
            }
            if (write_all(down_.writer.get(), answer.data(), answer.size()) != 0)
                return;
        }
    }

    Lie lie_;
    const std::vector<std::string> extensions_;
    test::Pipe up_;
    test::Pipe down_;
    std::shared_ptr<Session> session_;
    std::unique_ptr<SftpFileSystem> files_;
    std::thread thread_;
};

// What a sink is given where no source's attributes matter.
struct Nothing : FileSource {
    Error read(char* /*buffer*/, std::size_t /*size*/, std::size_t& got) override {
        got = 0;
        return {};
    }
    [[nodiscard]] int descriptor() const override { return source; }
    int source = -1;
};

inline std::string answer(const Request& request, PacketType type, const std::string& fields) {
    std::string text;
    append_number(text, static_cast<std::uint32_t>(fields.size() + kAnswerHead));
    text += static_cast<char>(type);
    append_number(text, request.number);
    return text + fields;
}

inline std::string status(const Request& request, StatusCode code) {
    return answer(request, PacketType::kStatus,
                  Fields().add(static_cast<std::uint32_t>(code)).add("Failure").add("").bytes());
}

inline std::string handle(const Request& request, const std::string& text = "h") {
    return answer(request, PacketType::kHandle, Fields().add(text).bytes());
}

inline std::string data(const Request& request, const std::string& text) {
    return answer(request, PacketType::kData, Fields().add(text).bytes());
}

inline std::string names(const Request& request, const std::vector<std::string>& texts) {
    Fields fields;
    fields.add(static_cast<std::uint32_t>(texts.size()));
    Attributes folder;
    folder.permissions = 0040755;
    for (const std::string& text : texts)
        fields.add(text).add("").add(folder);
    return answer(request, PacketType::kName, fields.bytes());
}

}  // namespace relay_hub::engine::sftp
