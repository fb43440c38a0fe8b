#pragma once
// The desktop clipboard: files that we offer, files that are offered to us. Window's thread.
#include <gtk/gtk.h>

#include <string>
#include <vector>

#include "side_function/copy_source.h"

// Offers g_pClipboardFileList on the desktop clipboard; the caller then says so in clipboard_action. 0, or -1
// when the clipboard could not be taken.
int save_to_clipboard(gpointer data);
// The clipboard asks for one target, or tells that the offer is over.
void clipboard_get_data(GtkClipboard* clipboard, GtkSelectionData* selection, guint info, gpointer data);
void clipboard_clean_data(GtkClipboard* clipboard, gpointer data);
// Takes our offer back; the offer of another program stays.
void release_clipboard(GtkClipboard* clipboard);
// Prepends the offered local paths to list. 0, or -1 when nothing usable is offered. Turns the main loop
// until the other program has answered.
int get_from_clipboard(std::vector<std::string>& list);

namespace relay_hub {

// What get_from_clipboard reads, in the order of the offer; no paths when nothing usable is offered.
Offer read_offer();

// True when another program (or this one) offers files on the desktop clipboard. Asks for the kinds of data
// only, not for the data.
bool clipboard_offers_files();

// What was copied in the remote pane is not on the desktop clipboard: from the first call on it is forgotten
// when another program puts something there.
void give_way_to_newer_copies();

// The end of every paste: nothing is copied or offered by us any more.
void end_offer();

}  // namespace relay_hub
