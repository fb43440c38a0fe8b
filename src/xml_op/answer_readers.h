#pragma once
// Reading the engine's answers into the panes. Window's thread, but where it says otherwise.
#include <string>

#include "link_engine/send_args.h"
#include "xml_op/Zev_xml_op.h"

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

// The file list's __send_args::parse: a long list is read on the request's worker, and once.
bool parse_file_list(__send_args& args, std::string& answer);

// The engine's reason of the last refused request, kept by the readers of small requests; empty when there is
// none.
const std::string& return_message();
void free_return_message();

// The status readers' judgement on a given answer text; no widget, no slot: any thread.
int judge_connection_status_offline(const char* answer);
int judge_remote_online(const char* answer);

}  // namespace relay_hub
