#pragma once
// Builds the one main window and shows or hides its halves. The records UI and __single (window/ui_sets.h)
// hold references to the widgets, so that they outlive the window. Window's thread, GDK lock held.
#include "window/ui_sets.h"

// Creates the top-level window, the paned and both sides, unpacked.
UI* new_window();
// new_window, then labels the frames and packs everything. Nothing is shown yet.
UI* new_zev_window();
// Creates one side's widgets and connects them; is_local is 1 for the local side, 0 for the remote one.
void new_sub(__single* side, int is_local);

// Shows the whole window, which loads the local drives, and hides both status labels.
void visible_main_window();
void visible_local_widget();
void invisible_local_widget();
void visible_remote_widget();
void invisible_remote_widget();
