#pragma once
// The about box. Window's thread.
#include <gtk/gtk.h>

struct about_info {
    char version[20];
    char program_name_and_blank[20];
    char program_name[20];
};

// Shows the box modally over parent and destroys it. A field that starts with a NUL is not set.
void new_about_dialog(GtkWidget* parent, const about_info* info);
