// A server that lies: each lie is a clear failure in bounded time and memory, and nothing of it is believed.
#include "lying_server.h"

#include <gtest/gtest.h>

namespace relay_hub::engine::sftp {
namespace {

struct Lie {
    const char* name;
    LyingServer::Lie answer;
    const char* reason;
};

TEST(LyingServer, EndsTheLinkWithAReason) {
    constexpr char kNonsense[] = "IDS_REASON_LINK_NONSENSE";
    constexpr char kSilence[] = "IDS_REASON_LINK_SILENT";
    const std::vector<Lie> lies{
        {"unknown number", [](auto& request) { return handle(request.number + 7); }, kNonsense},
        {"repeated number", [](auto& request) { return handle(request.number) + handle(request.number); },
         kNonsense},
        {"another kind",
         [](auto& request) {
             return LyingServer::packet(PacketType::kData, request.number, Fields().add("x").bytes());
         },
         kNonsense},
        {"a long packet", [](auto&) { return std::string("\x7f\xff\xff\xff", 4); }, kNonsense},
        {"an empty packet", [](auto&) { return std::string(4, '\0'); }, kNonsense},
        {"a length that lies",
         [](auto& request) {
             return LyingServer::packet(PacketType::kHandle, request.number, std::string("\0\0\xff\0h", 5));
         },
         kNonsense},
        {"a huge handle",
         [](auto& request) {
             return LyingServer::packet(PacketType::kHandle, request.number,
                                        Fields().add(std::string(5000, 'h')).bytes());
         },
         kNonsense},
        {"success without a handle", [](auto& request) { return status(request.number, StatusCode::kOk); },
         kNonsense},
        {"silence", [](auto&) { return std::string(); }, kSilence},
        {"silence in the middle", [](auto& request) { return handle(request.number).substr(0, 9); },
         kSilence},
    };
    for (const Lie& lie : lies) {
        LyingServer server(lie.answer);
        Listing listing;
        const Error error = server.files().list("x", listing);
        EXPECT_TRUE(error) << lie.name;
        // What came honestly before the lie may be had; the link ends all the same.
        for (int i = 0; i < 100 && server.session().channel().state() != Channel::State::kLost; ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_EQ(server.session().channel().reason(), lie.reason) << lie.name;
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

// However many answers are missing, one question ends it.
TEST(LyingServer, IsLeftAtOnceWithManyRequestsInFlight) {
    for (const bool opens : {true, false}) {
        LyingServer server([opens](const Request& request) {
            return opens && request.type == PacketType::kOpen ? handle(request.number) : std::string();
        });
        server.session().channel().set_silence_limit(60s);
        server.files().set_watch([] { return true; });
        std::vector<std::unique_ptr<FileSink>> sinks(64);
        for (std::size_t i = 0; i < sinks.size(); ++i) {
            ASSERT_FALSE(server.files().open_sink("x" + std::to_string(i), {}, false, sinks[i]));
            ASSERT_FALSE(sinks[i]->write("x", 1));
            ASSERT_FALSE(sinks[i]->finish(Nothing()));
        }
        const auto start = std::chrono::steady_clock::now();
        server.files().set_watch([start] { return std::chrono::steady_clock::now() - start < 50ms; });
        for (const Error& error : server.files().commit(sinks))
            EXPECT_EQ(error.number, ECANCELED);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 300ms);
    }
}

// What the server refuses at any step of a file is told of that file, and its part is taken away.
TEST(LyingServer, RefusesAStepOfAFile) {
    for (const PacketType refused : {PacketType::kOpen, PacketType::kWrite, PacketType::kFsetstat,
                                     PacketType::kExtended, PacketType::kClose, PacketType::kRename}) {
        int removed = 0;
        LyingServer server(
            [&](const Request& request) {
                removed += request.type == PacketType::kRemove ? 1 : 0;
                if (request.type == refused)
                    return status(request.number, StatusCode::kFailure);
                if (request.type == PacketType::kRealpath)
                    return names(request.number, {"/home"});
                if (request.type == PacketType::kLstat)
                    return status(request.number, StatusCode::kNoSuchFile);
                return request.type == PacketType::kOpen ? handle(request.number)
                                                         : status(request.number, StatusCode::kOk);
            },
            {"fsync@openssh.com"});
        while (server.session().channel().state() == Channel::State::kGreeting)
            std::this_thread::sleep_for(1ms);
        (void)server.session().learn_facts("");
        std::vector<std::unique_ptr<FileSink>> sinks(1);
        Entry entry;
        ASSERT_FALSE(server.files().open_sink("a/x", entry, false, sinks[0]));
        ASSERT_FALSE(sinks[0]->write("x", 1));
        (void)sinks[0]->finish(Nothing());
        const Error error = server.files().commit(sinks).front();
        server.session().channel().drain(5s);
        // Modes and times are not what a copy is kept for.
        const bool harmless = refused == PacketType::kFsetstat;
        EXPECT_EQ(error.number, harmless ? 0 : EREMOTEIO) << static_cast<int>(refused);
        EXPECT_EQ(removed, harmless ? 0 : 1) << static_cast<int>(refused);
        // The names are no safer than the folder that holds them.
        EXPECT_EQ(server.files().settle({"a"}).number, refused == PacketType::kExtended ? EREMOTEIO : 0);
    }
}

}  // namespace
}  // namespace relay_hub::engine::sftp
