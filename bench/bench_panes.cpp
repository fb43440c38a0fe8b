// How long the panes take to show large folders, how smoothly the window goes on meanwhile, and what memory a
// long answer takes. Usage: bench_panes FOLDER (for the files; needs a display).
#include <gtk/gtk.h>
#include <malloc.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/log.h"
#include "bench/measure.h"
#include "bench/peer.h"
#include "engine/file_list.h"
#include "engine/names.h"
#include "engine/remote_file_system.h"
#include "link_engine/request_builders.h"
#include "name_pipe/name_pipe_base.h"
#include "tree_view_op/file_list_view.h"
#include "ui/link_status_monitor.h"
#include "ui/main_window.h"
#include "ui/navigation.h"
#include "ui/start_up.h"
#include "window/ui_sets.h"
#include "window/window_thread.h"
#include "xml_op/Zev_xml_op.h"

namespace {

namespace fs = std::filesystem;
using bench::must;
using bench::Peer;

constexpr int kRounds = 5;
constexpr std::size_t kLocalFiles = 100000;
constexpr std::size_t kRemoteEntries = 40000;
constexpr double kLongestGap = 50;  // ms
using Row = std::array<std::string, kColumnCount>;

std::string long_answer() {
    relay_hub::engine::Listing listing;
    listing.entries.resize(kRemoteEntries);
    for (std::size_t index = 0; index < kRemoteEntries; ++index) {
        relay_hub::engine::Entry& entry = listing.entries[index];
        entry.name = "holiday photo " + std::to_string(100000 + index) + ".jpeg";
        entry.size = 1000 + index;
        entry.created.tv_sec = entry.accessed.tv_sec = entry.modified.tv_sec =
            1700000000 + static_cast<std::time_t>(index);
    }
    using relay_hub::engine::HiddenFiles;
    using relay_hub::engine::Style;
    return relay_hub::engine::file_list(listing, Style::kWindows, HiddenFiles::kLeftOut, {}, kPipeBufferSize)
        .text;
}

// ---- The main loop and its gaps.

void settle() {
    gdk_display_sync(gdk_display_get_default());
    while (gtk_events_pending())
        gtk_main_iteration();
}

// The longest time between two turns of the main loop while it lives, and the longest that the window's
// thread worked between two: that one is the same on a busy machine.
class GapWatch {
  public:
    struct Gap {
        double time = 0;  // ms
        double work = 0;
    };

    GapWatch() : last_(now()) { source_ = g_timeout_add_full(G_PRIORITY_HIGH, 2, look, this, nullptr); }
    GapWatch(const GapWatch&) = delete;
    GapWatch& operator=(const GapWatch&) = delete;
    ~GapWatch() { g_source_remove(source_); }
    Gap longest() {
        look(this);
        return longest_;
    }

  private:
    static double clock_ms(clockid_t clock) {
        timespec time{};
        (void)::clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }
    static Gap now() { return {clock_ms(CLOCK_MONOTONIC), clock_ms(CLOCK_THREAD_CPUTIME_ID)}; }
    static gboolean look(gpointer data) {
        auto* self = static_cast<GapWatch*>(data);
        const Gap turn = now();
        self->longest_.time = std::max(self->longest_.time, turn.time - self->last_.time);
        self->longest_.work = std::max(self->longest_.work, turn.work - self->last_.work);
        self->last_ = turn;
        return G_SOURCE_CONTINUE;
    }
    Gap last_;
    Gap longest_;
    guint source_;
};

// Of the filling, and of taking the rows away again.
struct Gaps {
    std::vector<GapWatch::Gap> filling;
    std::vector<GapWatch::Gap> emptying;
    // The processor time of the window's thread alone: reading beside it is free only where a processor is.
    bench::Pair work;
};

void print_gaps(const Gaps& all) {
    bench::print_comparison("  the window's thread alone, processor time", bench::best(all.work.ours),
                            bench::best(all.work.yardstick));
    const std::vector<GapWatch::Gap>& gaps = all.filling;
    const auto less_work = [](const auto& one, const auto& other) { return one.work < other.work; };
    const auto shortest = std::min_element(
        gaps.begin(), gaps.end(), [](const auto& one, const auto& other) { return one.time < other.time; });
    const auto busiest = std::max_element(gaps.begin(), gaps.end(), less_work);
    const auto emptying = std::max_element(all.emptying.begin(), all.emptying.end(), less_work);
    bench::print_limit("  longest main-loop gap, least disturbed round", shortest->time, "ms", kLongestGap);
    bench::print_limit("  longest work between two turns, all rounds", busiest->work, "ms", kLongestGap);
    bench::print_limit("  the same when the rows go", emptying->work, "ms", kLongestGap);
}

void open_folder(__single* side, const std::string& path) {
    gtk_entry_set_text(GTK_ENTRY(side->path_entry), path.c_str());
    relay_hub::open_typed_path(side);
    settle();
}

void must_have_rows(const __single* side, std::size_t entries) {
    const int rows =
        gtk_tree_model_iter_n_children(gtk_tree_view_get_model(GTK_TREE_VIEW(side->tree_view)), nullptr);
    if (rows == static_cast<int>(entries) + 1)
        return;
    (void)std::fprintf(bench::rows(), "%d rows for %zu entries and the one above\n", rows, entries);
    std::exit(1);
}

// ---- The yardstick: a list of the panes' kind, filled with the same texts and nothing else.

std::vector<Row> rows_of(const __single* side) {
    GtkTreeModel* model = gtk_tree_view_get_model(GTK_TREE_VIEW(side->tree_view));
    std::vector<Row> rows;
    GtkTreeIter iter;
    for (gboolean more = gtk_tree_model_get_iter_first(model, &iter); more;
         more = gtk_tree_model_iter_next(model, &iter)) {
        Row& row = rows.emplace_back();
        for (int column = 0; column < kColumnCount; ++column) {
            char* text = nullptr;
            gtk_tree_model_get(model, &iter, column, &text, -1);
            row[static_cast<std::size_t>(column)] = text != nullptr ? text : "";
            g_free(text);
        }
    }
    return rows;
}

class BareList {
  public:
    BareList() {
        GType types[kColumnCount];
        std::fill(std::begin(types), std::end(types), G_TYPE_STRING);
        store_ = gtk_list_store_newv(kColumnCount, types);
        view_ = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store_));
        set_list_treeview(view_);
        GtkWidget* scroller = gtk_scrolled_window_new(nullptr, nullptr);
        gtk_container_add(GTK_CONTAINER(scroller), view_);
        window_ = gtk_window_new(GTK_WINDOW_TOPLEVEL);
        gtk_window_set_default_size(GTK_WINDOW(window_), 350, 400);
        gtk_container_add(GTK_CONTAINER(window_), scroller);
        gtk_widget_show_all(window_);
        settle();
    }
    BareList(const BareList&) = delete;
    BareList& operator=(const BareList&) = delete;
    ~BareList() {
        clear();
        gtk_widget_destroy(window_);
        g_object_unref(store_);
    }
    void clear() {
        gtk_tree_view_set_model(GTK_TREE_VIEW(view_), nullptr);
        gtk_list_store_clear(store_);
        gtk_tree_view_set_model(GTK_TREE_VIEW(view_), GTK_TREE_MODEL(store_));
        settle();
    }
    void fill(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            GtkTreeIter iter;
            gtk_list_store_insert_with_values(store_, &iter, -1, 0, row[0].c_str(), 1, row[1].c_str(), 2,
                                              row[2].c_str(), 3, row[3].c_str(), 4, row[4].c_str(), 5,
                                              row[5].c_str(), 6, row[6].c_str(), 7, row[7].c_str(), 8,
                                              row[8].c_str(), 9, row[9].c_str(), 10, row[10].c_str(), -1);
        }
        settle();
    }

  private:
    GtkListStore* store_;
    GtkWidget* view_;
    GtkWidget* window_;
};

// ---- Memory of this process, in bytes.

double status_bytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    std::string word;
    double kilobytes = 0;
    while (status >> word)
        if (word == field + ":" && status >> kilobytes)
            break;
    return kilobytes * 1024;
}

void forget_peak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// ---- The figures.

void local_folder(const fs::path& folder, const fs::path& empty) {
    fs::create_directories(folder);
    for (std::size_t index = 0; index < kLocalFiles; ++index)
        must(std::ofstream(folder / ("file " + std::to_string(index) + ".txt")).is_open(), folder.c_str());
    __single* side = get_UI_sets()->left_side;
    open_folder(side, folder);
    must_have_rows(side, kLocalFiles);
    const std::vector<Row> rows = rows_of(side);
    Gaps gaps;
    const auto ours = [&] {
        GapWatch gap;
        gaps.work.ours.push_back(bench::work_seconds_of([&] { open_folder(side, folder); }));
        gaps.filling.push_back(gap.longest());
        must_have_rows(side, kLocalFiles);
    };
    bench::Pair times;
    {
        BareList bare;
        times = bench::alternate(
            kRounds, ours,
            [&] { gaps.work.yardstick.push_back(bench::work_seconds_of([&] { bare.fill(rows); })); },
            [&] {
                {
                    GapWatch gap;
                    open_folder(side, empty);
                    gaps.emptying.push_back(gap.longest());
                }
                bare.clear();
            });
    }
    bench::print_ratio("local folder of 100,000 files / bare list of the same rows", bench::best(times.ours),
                       bench::best(times.yardstick), 1.25);
    print_gaps(gaps);
    open_folder(side, empty);
}

void remote_folder(const std::string& answer, const Peer& peer) {
    __single* side = get_UI_sets()->right_side;
    clean_tree_view(side->tree_view);
    settle();
    (void)malloc_trim(0);
    forget_peak();
    const double before = status_bytes("VmHWM");
    open_folder(side, "C:\\photos");
    const double grown = status_bytes("VmHWM") - before;
    must_have_rows(side, kRemoteEntries);
    const std::vector<Row> rows = rows_of(side);
    Gaps gaps;
    const auto ours = [&] {
        GapWatch gap;
        gaps.work.ours.push_back(bench::work_seconds_of([&] { open_folder(side, "C:\\photos"); }));
        gaps.filling.push_back(gap.longest());
        must_have_rows(side, kRemoteEntries);
    };
    BareList bare;
    relay_hub::XmlDocPtr parsed;
    const auto bare_parts = [&] {
        const std::string text = peer.ask();
        xmlDoc* document = xmlParseMemory(text.data(), static_cast<int>(text.size()));
        must(document != nullptr, "xmlParseMemory");
        gaps.work.yardstick.push_back(bench::work_seconds_of([&] { bare.fill(rows); }));
        parsed.reset(document);
    };
    const bench::Pair times = bench::alternate(kRounds, ours, bare_parts, [&] {
        {
            GapWatch gap;
            clean_tree_view(side->tree_view);
            gaps.emptying.push_back(gap.longest());
        }
        bare.clear();
        parsed.reset();
    });
    bench::print_ratio("remote folder of 40,000 entries / pipe + xmlParseMemory + bare list",
                       bench::best(times.ours), bench::best(times.yardstick), 1.2);
    print_gaps(gaps);
    bench::print_limit("  peak memory, in answers", grown / static_cast<double>(answer.size()), "answers", 6);
}

void bench_window(const fs::path& folder, const std::string& answer, const Peer& peer) {
    new_zev_window();
    visible_main_window();
    visible_local_widget();
    settle();
    relay_hub::reset_link_monitor();
    relay_hub::show_online_view();
    settle();
    if (bench::is_wanted("remote"))
        remote_folder(answer, peer);
    if (bench::is_wanted("local"))
        local_folder(folder / "many", folder / "home");
    gtk_widget_destroy(get_UI_sets()->main_window);
    relay_hub::release_widgets();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const fs::path folder = fs::absolute(argv[1]) / "relay-hub-bench-panes";
    fs::remove_all(folder);
    fs::create_directories(folder / "home");
    ::setenv("HOME", (folder / "home").c_str(), 1);
    bench::silence_traces();
    const std::string answer = long_answer();
    (void)std::fprintf(bench::rows(), "answer: %zu bytes\n", answer.size());
    {
        const Peer peer(folder / "pipe", answer);
        relay_hub::set_command_pipe_for_tests(folder / "pipe");
        CNamePipeBase::SetupParam((folder / "notify").c_str(), kPipeBufferSize, kPipeBufferSize);
        theLog.SetFile((folder / "trace.log").c_str(), false);
        gdk_threads_init();
        gtk_init(&argc, &argv);
        relay_hub::remember_window_thread();
        const auto listing_watcher = relay_hub::install_window_services();
        gdk_threads_enter();
        bench_window(folder, answer, peer);
        gdk_threads_leave();
    }
    return 0;
}
