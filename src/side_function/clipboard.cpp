#include "side_function/clipboard.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>

#include "base/diagnostics.h"
#include "base/freed_by.h"
#include "base/glib_owners.h"
#include "base/path_text.h"
#include "window/closing.h"

namespace {

constexpr char kGnomeFiles[] = "x-special/gnome-copied-files";
constexpr char kUriList[] = "text/uri-list";
constexpr std::size_t kTextRoom = 8192;

using SelectionPtr = std::unique_ptr<GtkSelectionData, relay_hub::FreedBy<gtk_selection_data_free>>;
using TargetListPtr = std::unique_ptr<GtkTargetList, relay_hub::FreedBy<gtk_target_list_unref>>;

GdkAtom atom(const char* name) {
    return gdk_atom_intern(name, FALSE);
}

GtkClipboard* desktop_clipboard() {
    return gtk_clipboard_get(GDK_SELECTION_CLIPBOARD);
}

std::string offered_text(GdkAtom target) {
    const bool as_uris = target == atom(kGnomeFiles) || target == atom(kUriList);
    const char* const line_end = target == atom(kUriList) ? "\r\n" : "\n";
    std::string text;
    std::string why;
    text.reserve(kTextRoom);
    if (target == atom(kGnomeFiles))
        text += clipboard_action == kCutOffered ? "cut\n" : "copy\n";
    for (const std::string& path : g_pClipboardFileList) {
        const std::string entry = as_uris ? relay_hub::file_uri(path, why)
                                          : relay_hub::GText(g_filename_display_name(path.c_str())).get();
        if (entry.empty())
            relay_hub::report(RELAY_HUB_HERE, path + ":", why);
        else
            text.append(entry).append(line_end);
    }
    return text;
}

// The toolkit also knows windows of other programs.
bool is_own_window(GdkDisplay* display, GdkNativeWindow id) {
    GdkWindow* const window = gdk_window_lookup_for_display(display, id);
    return window != nullptr && gdk_window_get_window_type(window) != GDK_WINDOW_FOREIGN;
}

void on_new_owner(GtkClipboard* clipboard, GdkEventOwnerChange* event, gpointer) {
    const bool is_newer_copy =
        event->owner != 0 && !is_own_window(gtk_clipboard_get_display(clipboard), event->owner);
    if (is_newer_copy && g_copy_source == kCopiedRemotely)
        relay_hub::clear_copy_source();
}

void forget_offer() {
    if (!g_pClipboardFileList.empty())
        std::printf("release memory addr. %p\n", static_cast<void*>(&g_pClipboardFileList));
    g_pClipboardFileList.clear();
    clipboard_action = kNothingOffered;
}

// Null for a target that is not offered: some programs answer any target with what they have.
SelectionPtr wait_for(const char* target) {
    if (!gtk_clipboard_wait_is_target_available(desktop_clipboard(), atom(target)))
        return nullptr;
    return SelectionPtr(gtk_clipboard_wait_for_contents(desktop_clipboard(), atom(target)));
}

// Empty for an answer that is none: missing, empty or not made of bytes.
std::string bytes_of(GtkSelectionData* selection) {
    if (selection == nullptr || gtk_selection_data_get_format(selection) != 8)
        return {};
    const int length = gtk_selection_data_get_length(selection);
    if (length <= 0)
        return {};
    const auto* bytes = reinterpret_cast<const char*>(gtk_selection_data_get_data(selection));
    return {bytes, strnlen(bytes, static_cast<std::size_t>(length))};
}

std::string offered_uris(bool& cut) {
    if (const SelectionPtr files = wait_for(kGnomeFiles)) {
        std::string text = bytes_of(files.get());
        if (text.empty())
            return {};
        cut = text.starts_with("cut");
        std::puts(cut ? "cut!" : "copy!");
        const std::size_t line_end = text.find('\n');
        return line_end == std::string::npos ? std::string() : text.substr(line_end + 1);
    }
    return bytes_of(wait_for(kUriList).get());
}

void take_uris(const std::string& uris, relay_hub::Offer& offer) {
    const relay_hub::GStrv list(g_uri_list_extract_uris(uris.c_str()));
    for (char** uri = list.get(); *uri != nullptr; ++uri) {
        if (const auto path = relay_hub::local_path_of_uri(*uri))
            offer.paths.push_back(*path);
        else
            offer.foreign.emplace_back(*uri);
    }
}

}  // namespace

int save_to_clipboard(gpointer data) {
    std::puts("save_to_clipboard");
    const TargetListPtr list(gtk_target_list_new(nullptr, 0));
    gtk_target_list_add_text_targets(list.get(), 0);
    gtk_target_list_add(list.get(), atom(kGnomeFiles), 0, 0);
    gtk_target_list_add(list.get(), atom(kUriList), 0, 0);
    int count = 0;
    GtkTargetEntry* const table = gtk_target_table_new_from_list(list.get(), &count);
    const gboolean taken = gtk_clipboard_set_with_data(desktop_clipboard(), table, static_cast<guint>(count),
                                                       clipboard_get_data, clipboard_clean_data, data);
    gtk_target_table_free(table, count);
    return taken ? 0 : -1;
}

void clipboard_get_data(GtkClipboard*, GtkSelectionData* selection, guint, gpointer) {
    std::puts("clipboard_get_data");
    if (g_pClipboardFileList.empty())
        return;
    GdkAtom target = gtk_selection_data_get_target(selection);
    const std::string text = offered_text(target);
    // Receivers are used to the terminating zero being part of the data.
    gtk_selection_data_set(selection, target, 8, reinterpret_cast<const guchar*>(text.c_str()),
                           static_cast<int>(text.size() + 1));
    std::printf("%s()\n", "clipboard_get_data");
}

void clipboard_clean_data(GtkClipboard*, gpointer) {
    forget_offer();
    // Somebody else's files are on the clipboard now: a paste must not take our old copy for them.
    if (g_copy_source == kCopiedLocally)
        relay_hub::clear_copy_source();
}

void release_clipboard(GtkClipboard* clipboard) {
    const bool is_ours = clipboard_action != kNothingOffered;
    forget_offer();
    // The toolkit would also clear what another program has offered in the same millisecond.
    if (is_ours)
        gtk_clipboard_clear(clipboard != nullptr ? clipboard : desktop_clipboard());
}

int get_from_clipboard(std::vector<std::string>& list) {
    const std::vector<std::string> paths = relay_hub::read_offer().paths;
    list.insert(list.begin(), paths.rbegin(), paths.rend());
    return paths.empty() ? -1 : 0;
}

namespace relay_hub {

Offer read_offer() {
    std::puts("get_from_clipboard");
    const WindowWork work;
    Offer offer;
    const std::string uris = offered_uris(offer.cut);
    if (!uris.empty())
        take_uris(uris, offer);
    return offer;
}

void give_way_to_newer_copies() {
    [[maybe_unused]] static const gulong handler =
        g_signal_connect(desktop_clipboard(), "owner-change", G_CALLBACK(on_new_owner), nullptr);
}

void end_offer() {
    clear_copy_source();
    release_copy_to_remote_file_list();
    free_old_copy_path();
    release_clipboard(nullptr);
}

bool clipboard_offers_files() {
    if (!g_pClipboardFileList.empty())
        return true;
    // The wait below turns the main loop, and the toolkit loses the targets of one that began inside another.
    if (window_is_busy())
        return false;
    const WindowWork work;
    GdkAtom* atoms = nullptr;
    int count = 0;
    if (!gtk_clipboard_wait_for_targets(desktop_clipboard(), &atoms, &count))
        return false;
    const std::unique_ptr<GdkAtom, FreedBy<g_free>> owner(atoms);
    const std::array wanted{atom(kGnomeFiles), atom(kUriList)};
    return std::find_first_of(atoms, atoms + count, wanted.begin(), wanted.end()) != atoms + count;
}

}  // namespace relay_hub
