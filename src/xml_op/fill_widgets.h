#pragma once
// The records of answers in the remote pane: its drive box and its list. Window's thread, but for records
// that go into rows.
#include <libxml/tree.h>

#include "window/ui_sets.h"
#include "xml_op/record_rows.h"

// What the record callback needs: the widgets to fill and the command whose answer is read. rows, when
// given, takes the file records in the list's place; no widget is touched then.
struct walk_context {
    __single* side = nullptr;
    const char* command = "";
    relay_hub::RecordRows* rows = nullptr;
};
// A record_callback, whose context is a walk_context.
int get_xml_detial(xmlNode* node, void* context);
int fill_to_widget_NP_VAL_CMD_GET_DRIVER_LIST(xmlNode* node, __single* side);
int fill_to_widget_NP_VAL_CMD_GET_FILE_LIST(xmlNode* node, __single* side);
int fill_to_widget_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(xmlNode* node, __single* side);

namespace relay_hub {

// Keeps the row of a "Line" record.
void keep_file_row(const xmlNode* record, RecordRows& rows);

}  // namespace relay_hub
