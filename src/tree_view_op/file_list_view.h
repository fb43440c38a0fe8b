#pragma once
// The file list of a pane: its model, its view, its rows and its selection, for rooms that need them all.
// Window's thread. Rows have a fixed height and columns fixed widths.
#include "tree_view_op/Zev_list_view.h"
#include "tree_view_op/local_listing.h"
#include "tree_view_op/row_filler.h"
#include "tree_view_op/row_store.h"
#include "tree_view_op/selection.h"
