#pragma once
// Entries of a drive box: icon name, label, path. Window's thread.
#include <gtk/gtk.h>

#include <string>

int append_combobox_item(GtkWidget* combo, const char* icon, const char* name, const char* path);
// The path of the active entry; empty when none is active.
std::string get_combobox_item(GtkWidget* combo);
