// A server that lies: each lie is a clear failure in bounded time and memory, and nothing of it is believed.
#include "lying_server.h"

namespace relay_hub::engine::sftp {
namespace {

TEST(LyingServer, EndsTheLinkWithAReason) {
    constexpr char kNonsense[] = "IDS_REASON_LINK_NONSENSE";
    constexpr char kSilence[] = "IDS_REASON_LINK_SILENT";
    const std::tuple<const char*, LyingServer::Lie, const char*> lies[] = {
        {"unknown number",
         [](auto& r) {
             return handle({r.type, r.number + 7, {}});
         },
         kNonsense},
        {"repeated number", [](auto& r) { return handle(r) + handle(r); }, kNonsense},
        {"another kind", [](auto& r) { return data(r, "x"); }, kNonsense},
        {"a long packet", [](auto&) { return std::string("\x7f\xff\xff\xff", 4); }, kNonsense},
        {"an empty packet", [](auto&) { return std::string(4, '\0'); }, kNonsense},
        {"success without a handle", [](auto& r) { return status(r, StatusCode::kOk); }, kNonsense},
        {"silence", [](auto&) { return std::string(); }, kSilence},
        {"silence in the middle", [](auto& r) { return handle(r).substr(0, 9); }, kSilence},
    };
    for (const auto& [name, lie, reason] : lies) {
        LyingServer server(lie);
        Listing listing;
        EXPECT_TRUE(server.files().list("x", listing)) << name;
        // What came honestly before the lie may be had; the link ends all the same.
        Connection& connection = server.session().connection();
        EXPECT_TRUE(test::wait_until([&] { return connection.state() == Connection::State::kLost; })) << name;
        EXPECT_EQ(connection.reason(), reason) << name;
        EXPECT_EQ(server.files().list("x", listing).number, ENOTCONN) << name;
    }
}

// Serves one folder, whose content is listed as list says.
LyingServer::Lie folder_of(LyingServer::Lie list) {
    return [list = std::move(list)](const Request& request) {
        if (request.type == PacketType::kOpendir)
            return handle(request);
        return request.type == PacketType::kReaddir ? list(request) : status(request, StatusCode::kOk);
    };
}

TEST(LyingServer, NamesThatAreNoneAreLeftOutAndReported) {
    bool listed = false;
    LyingServer server(folder_of([&listed](const Request& request) {
        if (std::exchange(listed, true))
            return status(request, StatusCode::kEndOfFile);
        return names(request, {".", "..", "...", "\xff", std::string(255, 'x'), "../../etc/passwd", "/",
                               "a/b", "", std::string("n\0l", 3), std::string(60000, 'x')});
    }));
    Listing listing;
    EXPECT_FALSE(server.files().list("x", listing));
    test::Names found;
    for (const Entry& entry : listing.entries)
        found.push_back(entry.name);
    EXPECT_EQ(found, (test::Names{"...", "\xff", std::string(255, 'x')}));
    EXPECT_EQ(listing.failed.size(), 6U);
}

TEST(LyingServer, NeverEndsAFolder) {
    for (const std::size_t count : {100U, 0U}) {
        const test::Names some(count, "name");
        LyingServer server(folder_of([&some](const Request& request) { return names(request, some); }));
        Listing listing;
        EXPECT_EQ(server.files().list("x", listing).number, EOVERFLOW);
    }
}

TEST(LyingServer, TellsNoNamesOfAFolderThatItMayNotSearch) {
    LyingServer server([](const Request& request) {
        const bool look = request.type == PacketType::kLstat;
        const StatusCode end = look ? StatusCode::kPermissionDenied : StatusCode::kEndOfFile;
        return request.type == PacketType::kOpendir ? handle(request) : status(request, end);
    });
    Listing listing;
    EXPECT_EQ(server.files().list("x", listing).number, EACCES);
}

TEST(LyingServer, SendsMoreDataThanWasAskedForOrNone) {
    for (const std::size_t size : {0U, 100000U}) {
        LyingServer server([size](const Request& request) {
            return request.type == PacketType::kRead ? data(request, std::string(size, 'x'))
                                                     : handle(request);
        });
        std::unique_ptr<FileSource> source;
        Entry entry;
        entry.size = 10;
        ASSERT_FALSE(server.files().open_source("x", entry, source));
        char buffer[32];
        std::size_t got = 0;
        EXPECT_EQ(source->read(buffer, sizeof buffer, got).number, ENOTCONN) << size;
        EXPECT_EQ(got, 0U);
    }
}

TEST(LyingServer, IsWaitedForOnlyUntilAnInterruption) {
    LyingServer server([](const Request&) { return std::string(); });
    server.session().connection().set_silence_limit(60s);
    const auto wait = [&server] {
        const auto start = test::Clock::now();
        Listing listing;
        EXPECT_EQ(server.files().list("x", listing).number, ECANCELED);
        EXPECT_LT(test::Clock::now() - start, 10s);
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
            return opens && request.type == PacketType::kOpen ? handle(request) : std::string();
        });
        server.session().connection().set_silence_limit(60s);
        server.files().set_watch([] { return true; });
        std::vector<std::unique_ptr<FileSink>> sinks(300);
        for (std::size_t i = 0; i < sinks.size(); ++i) {
            ASSERT_FALSE(server.files().open_sink("x" + std::to_string(i), {}, false, sinks[i]));
            ASSERT_FALSE(sinks[i]->write("x", 1));
            ASSERT_FALSE(sinks[i]->finish(Nothing()));
        }
        int looks = 0;
        server.files().set_watch([&looks] { return ++looks == 1; });
        for (const Error& error : server.files().commit(sinks, true))
            EXPECT_EQ(error.number, ECANCELED);
        EXPECT_EQ(looks, 2);
    }
}

// Of files of every size no more are open at once than the server allows.
TEST(LyingServer, GivesOutFewHandles) {
    int open = 0;
    int most_open = 0;
    LyingServer server([&](const Request& request) {
        open += (request.type == PacketType::kOpen ? 1 : 0) - (request.type == PacketType::kClose ? 1 : 0);
        most_open = std::max(most_open, open);
        return request.type == PacketType::kOpen ? handle(request) : status(request, StatusCode::kOk);
    });
    std::vector<std::unique_ptr<FileSink>> sinks(200);
    for (std::size_t i = 0; i < sinks.size(); ++i) {
        const std::string content(i % 2 == 0 ? 100000 : 1, 'x');
        ASSERT_FALSE(server.files().open_sink("x" + std::to_string(i), {}, false, sinks[i]));
        ASSERT_FALSE(sinks[i]->write(content.data(), content.size()));
        ASSERT_FALSE(sinks[i]->finish(Nothing()));
    }
    (void)server.files().commit(sinks, true);
    EXPECT_LE(most_open, static_cast<int>(server.session().facts().most_handles) / 3 + 1);
}

// What the server refuses at any step of a file is told of that file, and its part is taken away.
TEST(LyingServer, RefusesAStepOfAFile) {
    for (const PacketType refused : {PacketType::kOpen, PacketType::kWrite, PacketType::kFsetstat,
                                     PacketType::kExtended, PacketType::kClose, PacketType::kRename}) {
        int removed = 0;
        int renamed = 0;
        LyingServer server(
            [&](const Request& request) {
                removed += request.type == PacketType::kRemove ? 1 : 0;
                renamed += request.type == PacketType::kRename ? 1 : 0;
                if (request.type == refused)
                    return status(request, StatusCode::kFailure);
                if (request.type == PacketType::kRealpath)
                    return names(request, {"/home"});
                if (request.type == PacketType::kLstat)
                    return status(request, StatusCode::kNoSuchFile);
                return request.type == PacketType::kOpen ? handle(request) : status(request, StatusCode::kOk);
            },
            {"fsync@openssh.com"});
        learn_facts(server.session());
        std::vector<std::unique_ptr<FileSink>> sinks(1);
        ASSERT_FALSE(server.files().open_sink("a/x", {}, false, sinks[0]));
        ASSERT_FALSE(sinks[0]->write("x", 1));
        (void)sinks[0]->finish(Nothing());
        const Error error = server.files().commit(sinks, true).front();
        server.session().connection().drain(5s);
        // Modes and times are not what a copy is kept for; that they are missing is told.
        const bool harmless = refused == PacketType::kFsetstat;
        EXPECT_EQ(error.number, EREMOTEIO) << static_cast<int>(refused);
        EXPECT_EQ(error.attributes_only, harmless) << static_cast<int>(refused);
        EXPECT_EQ(removed, harmless ? 0 : 1) << static_cast<int>(refused);
        EXPECT_EQ(renamed, harmless || refused == PacketType::kRename ? 1 : 0) << static_cast<int>(refused);
        // The names are no safer than the folder that holds them.
        EXPECT_EQ(server.files().settle({"a"}).number, refused == PacketType::kExtended ? EREMOTEIO : 0);
    }
}

}  // namespace
}  // namespace relay_hub::engine::sftp
