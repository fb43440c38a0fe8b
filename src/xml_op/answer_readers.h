#pragma once
// Reading the engine's answers into the panes. All of it runs on the window's thread, but for what touches no
// widget: that, a long file list's parsing, may run beside it. Parsing refuses a DOCTYPE, loads nothing and
// never expands entities of its own.
#include <libxml/tree.h>

#include <string>

#include "link_engine/send_args.h"
#include "window/ui_sets.h"

inline constexpr int RET_XML_NULL = -2;
inline constexpr int RET_XML_FMT_ERROR = -3;
inline constexpr int RET_XML_TAG_MISS = -4;

namespace relay_hub {
class RecordRows;
}

// What the record callback needs: the widgets to fill and the command whose answer is read. rows, when
// given, takes the file records in the list's place; no widget is touched then.
struct walk_context {
    __single* side = nullptr;
    const char* command = "";
    relay_hub::RecordRows* rows = nullptr;
};
using record_callback = int (*)(xmlNode* node, void* context);

// Null, after a diagnostic, for a text that does not parse. The caller frees the document (xmlFreeDoc).
xmlDoc* get_xml_structure(const char* text, int length, xmlNode** root);
int check_root_element(const char* expected, xmlDoc* document);
// New text (xmlFree) or null.
xmlChar* get_xml_content_by_first(xmlNode* node, const char* tag);
xmlChar* get_xml_content_by_last(xmlNode* node, const char* tag);
int traversal_xml(xmlNode* node, const char* tag, record_callback callback, void* context);
int get_xml_detial(xmlNode* node, void* context);
int fill_to_widget_NP_VAL_CMD_GET_DRIVER_LIST(xmlNode* node, __single* side);
int fill_to_widget_NP_VAL_CMD_GET_FILE_LIST(xmlNode* node, __single* side);
int fill_to_widget_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(xmlNode* node, __single* side);

// The finish functions of the command runner: each reads the answer slot and empties it. 0 success, -1
// failure; only the create-folder reader tells RET_XML_NULL, RET_XML_FMT_ERROR and RET_XML_TAG_MISS.
int get_NP_VAL_CMD_GET_FILE_LIST(__send_args* args);
int get_NP_VAL_CMD_GET_DRIVER_LIST(__send_args* args);
int get_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(__send_args* args);
int get_NP_VAL_CMD_CREATE_FOLDER(__send_args* args);
int get_NP_VAL_CMD_RENAME(__send_args* args);
int get_NP_VAL_CMD_DELETE_FILE(__send_args* args);
int get_NP_VAL_CMD_DELETE_FOLDER(__send_args* args);
int get_NP_VAL_CMD_MOVE_FILE_TO_TRASH(__send_args* args);
int get_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL(__send_args* args);
int get_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(__send_args* args);
int get_NP_VAL_CMD_CHECK_CONNECTION_STATUS(__send_args* args);
int get_NP_VAL_CMD_CHECK_CONNECTION_STATUS_offline(__send_args* args);
int get_NP_VAL_CMD_CHECK_REMOTE_ONLINE(__send_args* args);
int get_NP_VAL_CMD_CHECK_FOR_HEARTBEAT(__send_args* args);

namespace relay_hub {

// The engine's reason kept by the create-folder reader; empty when there is none.
const std::string& return_message();
void free_return_message();

// The status readers' judgement on a given answer text; no widget, no slot: any thread.
int judge_connection_status_offline(const char* answer);
int judge_remote_online(const char* answer);

}  // namespace relay_hub
