#include "connect/announced_computers.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-glib/glib-watch.h>
#include <gio/gio.h>
#include <net/if.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>
#include <utility>

#include "base/freed_by.h"
#include "base/glib_owners.h"
#include "base/main_loop_source.h"

namespace relay_hub::connect {
namespace {

constexpr const char* kServices[] = {"_sftp-ssh._tcp", "_ssh._tcp"};
constexpr int kSshPort = 22;
constexpr unsigned kLinkLocalFirst = 0xfe;
constexpr unsigned kLinkLocalSecond = 0x80;
constexpr unsigned kLinkLocalMask = 0xc0;

using Poll = std::unique_ptr<AvahiGLibPoll, FreedBy<avahi_glib_poll_free>>;
using Client = std::unique_ptr<AvahiClient, FreedBy<avahi_client_free>>;
using Browser = std::unique_ptr<AvahiServiceBrowser, FreedBy<avahi_service_browser_free>>;
using Resolver = std::unique_ptr<AvahiServiceResolver, FreedBy<avahi_service_resolver_free>>;
using AvahiText = std::unique_ptr<char, FreedBy<avahi_free>>;

// One announcement on one interface.
using ServiceKey = std::tuple<AvahiIfIndex, AvahiProtocol, std::string, std::string, std::string>;

// An address of the cable's own needs the interface by which it is reached.
std::string address_text(const AvahiAddress& address, AvahiIfIndex interface) {
    std::array<char, AVAHI_ADDRESS_STR_MAX> text{};
    avahi_address_snprint(text.data(), text.size(), &address);
    const auto& bytes = address.data.ipv6.address;
    const bool link_local = address.proto == AVAHI_PROTO_INET6 && bytes[0] == kLinkLocalFirst &&
                            (bytes[1] & kLinkLocalMask) == kLinkLocalSecond;
    std::array<char, IF_NAMESIZE> name{};
    if (!link_local || if_indextoname(static_cast<unsigned>(interface), name.data()) == nullptr)
        return text.data();
    return std::string(text.data()) + "%" + name.data();
}

// The user named by the announcement, or an empty text.
std::string user_of(AvahiStringList* texts) {
    AvahiStringList* entry = avahi_string_list_find(texts, "u");
    char* value = nullptr;
    if (entry == nullptr || avahi_string_list_get_pair(entry, nullptr, &value, nullptr) != 0)
        return {};
    const AvahiText owned(value);
    return value != nullptr ? value : "";
}

class AnnouncementListener : public AnnouncedComputers {
  public:
    explicit AnnouncementListener(Watcher watcher)
        : watcher_(std::move(watcher)),
          stop_(g_cancellable_new()),
          poll_(avahi_glib_poll_new(nullptr, G_PRIORITY_DEFAULT)) {
        start();
    }
    ~AnnouncementListener() override { g_cancellable_cancel(stop_.get()); }

  private:
    struct Service {
        Resolver resolver;
        std::string computer{};  // empty until resolved
        std::string user{};      // empty where the announcement names none
    };
    struct NameLookup {
        AnnouncementListener* listener;
        GObjectPtr<GCancellable> stop;
        std::string name;
        SshAddress address;
    };

    void start() {
        client_.reset(avahi_client_new(avahi_glib_poll_get(poll_.get()), AVAHI_CLIENT_NO_FAIL, on_client,
                                       this, nullptr));
    }

    static void on_client(AvahiClient* client, AvahiClientState state, void* self) {
        auto* listener = static_cast<AnnouncementListener*>(self);
        if (state == AVAHI_CLIENT_S_RUNNING && listener->browsers_.empty())
            listener->browse(client);
        // The daemon has gone, and a client does not find the next one by itself.
        if (state == AVAHI_CLIENT_FAILURE && !listener->restart_)
            listener->restart_.reset(g_idle_add(on_restart, listener));
    }

    static gboolean on_restart(gpointer self) {
        auto* listener = static_cast<AnnouncementListener*>(self);
        listener->restart_.forget();
        listener->forget_all();
        listener->start();
        return G_SOURCE_REMOVE;
    }

    void browse(AvahiClient* client) {
        for (const char* service : kServices)
            browsers_.emplace_back(
                avahi_service_browser_new(client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, service, nullptr,
                                          static_cast<AvahiLookupFlags>(0), on_service, this));
    }

    static void on_service(AvahiServiceBrowser* browser, AvahiIfIndex interface, AvahiProtocol protocol,
                           AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                           AvahiLookupResultFlags flags, void* self) {
        auto* listener = static_cast<AnnouncementListener*>(self);
        if (event == AVAHI_BROWSER_REMOVE)
            listener->forget({interface, protocol, name, type, domain});
        const bool own = (flags & AVAHI_LOOKUP_RESULT_LOCAL) != 0;
        if (event != AVAHI_BROWSER_NEW || own)
            return;
        Resolver resolver(avahi_service_resolver_new(avahi_service_browser_get_client(browser), interface,
                                                     protocol, name, type, domain, AVAHI_PROTO_UNSPEC,
                                                     static_cast<AvahiLookupFlags>(0), on_resolved, self));
        if (resolver)
            listener->services_[{interface, protocol, name, type, domain}] = {std::move(resolver)};
    }

    static void on_resolved(AvahiServiceResolver*, AvahiIfIndex interface, AvahiProtocol protocol,
                            AvahiResolverEvent event, const char* name, const char* type, const char* domain,
                            const char* host, const AvahiAddress* address, std::uint16_t port,
                            AvahiStringList* texts, AvahiLookupResultFlags, void* self) {
        auto* listener = static_cast<AnnouncementListener*>(self);
        const auto service = listener->services_.find({interface, protocol, name, type, domain});
        if (event != AVAHI_RESOLVER_FOUND || service == listener->services_.end())
            return;
        SshAddress announced;
        announced.user = user_of(texts);
        announced.host = address_text(*address, interface);
        announced.port = port == kSshPort ? "" : std::to_string(port);
        const auto checked = checked_announcement(announced);
        if (!checked)
            return;
        // A computer may announce itself more than once, and not name the user each time.
        const bool is_better =
            !listener->is_known(host) || (!announced.user.empty() && !listener->names_user(host));
        service->second.computer = host;
        service->second.user = announced.user;
        if (!is_better)
            return;
        listener->watcher_.found(host, *checked);
        listener->look_up(host, *checked);
    }

    // A name stays when the address of a cable changes, and ssh knows the computer by it again: where the
    // system can find the computer by its name, that is the better address.
    void look_up(const std::string& name, const SshAddress& address) {
        SshAddress named = address;
        named.host = name;
        const auto checked = parse_typed(named.computer());
        if (!checked)
            return;
        auto stop = GObjectPtr<GCancellable>(static_cast<GCancellable*>(g_object_ref(stop_.get())));
        const GObjectPtr<GResolver> resolver(g_resolver_get_default());
        auto* lookup = new NameLookup{this, std::move(stop), name, *checked};
        g_resolver_lookup_by_name_async(resolver.get(), name.c_str(), stop_.get(), on_name, lookup);
    }

    static void on_name(GObject* resolver, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<NameLookup> lookup(static_cast<NameLookup*>(data));
        GList* addresses = g_resolver_lookup_by_name_finish(G_RESOLVER(resolver), result, nullptr);
        const bool found = addresses != nullptr;
        g_resolver_free_addresses(addresses);
        // After a cancel the listener has gone.
        if (!found || g_cancellable_is_cancelled(lookup->stop.get()) != FALSE)
            return;
        const AnnouncementListener& listener = *lookup->listener;
        const bool outdated = lookup->address.user.empty() && listener.names_user(lookup->name);
        if (listener.is_known(lookup->name) && !outdated)
            listener.watcher_.found(lookup->name, lookup->address);
    }

    [[nodiscard]] bool is_known(const std::string& computer) const {
        return std::any_of(services_.begin(), services_.end(),
                           [&](const auto& entry) { return entry.second.computer == computer; });
    }

    [[nodiscard]] bool names_user(const std::string& computer) const {
        return std::any_of(services_.begin(), services_.end(), [&](const auto& entry) {
            return entry.second.computer == computer && !entry.second.user.empty();
        });
    }

    void forget(const ServiceKey& key) {
        const auto service = services_.find(key);
        if (service == services_.end())
            return;
        const std::string computer = service->second.computer;
        services_.erase(service);
        if (!computer.empty() && !is_known(computer))
            watcher_.lost(computer);
    }

    void forget_all() {
        browsers_.clear();
        std::set<std::string> computers;
        for (const auto& [key, service] : services_)
            computers.insert(service.computer);
        services_.clear();
        computers.erase("");
        for (const std::string& computer : computers)
            watcher_.lost(computer);
    }

    Watcher watcher_;
    GObjectPtr<GCancellable> stop_;
    MainLoopSource restart_;
    Poll poll_;
    Client client_;
    // After the client, which takes them with it otherwise.
    std::vector<Browser> browsers_;
    std::map<ServiceKey, Service> services_;
};

}  // namespace

std::optional<SshAddress> checked_announcement(const SshAddress& announced) {
    auto typed = parse_typed(announced.computer());
    const bool is_same =
        typed && std::tie(typed->user, typed->host) == std::tie(announced.user, announced.host);
    return is_same ? std::move(typed) : std::nullopt;
}

std::unique_ptr<AnnouncedComputers> AnnouncedComputers::listen(Watcher watcher) {
    return std::make_unique<AnnouncementListener>(std::move(watcher));
}

}  // namespace relay_hub::connect
