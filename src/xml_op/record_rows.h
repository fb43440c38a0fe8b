#pragma once
// One record of a file list becomes one row of the remote list. Window's thread.
#include <libxml/tree.h>

#include "tree_view_op/file_list_view.h"

namespace relay_hub {

// Adds the row of a "Line" record. A record whose name would lead out of its folder (a dot name, or one that
// holds one of the separators) is told on standard error and adds nothing. False when the filling is to stop.
bool add_file_row(const xmlNode* record, RowFiller& rows, const char* separators);

}  // namespace relay_hub
