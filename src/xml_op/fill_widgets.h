#pragma once
// The records of answers in the remote pane: its drive box and its list. Window's thread, but for records
// that go into rows.
#include <libxml/tree.h>

#include <cstddef>
#include <deque>
#include <string>

#include "tree_view_op/file_list_view.h"
#include "window/ui_sets.h"

namespace relay_hub {

// The records of a file list as rows: first kept aside as plain texts, row after row, each text one after the
// other, which may happen on any thread, but one at a time; then added to the remote list on the window's
// thread.
class RecordRows {
  public:
    // kColumnCount texts in column order, copied; null leaves a column empty.
    void append(const char* const* texts);
    [[nodiscard]] std::size_t size() const { return size_; }
    // Adds all rows to the list and frees them on the way. A row named "." or ".." is reported on standard
    // error and left out.
    void move_to(RowFiller& filler);

  private:
    std::deque<std::string> blocks_;  // a row never lies in two
    std::size_t size_ = 0;
};

}  // namespace relay_hub

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
