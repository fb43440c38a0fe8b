#pragma once
// One builder a request. Each runs on a worker (never on the window's thread), reads its arguments from
// the __send_args block, sends the message, stores the answer with set_xml_string and sets the state to 2.
// Results are 0; the copy builders give -1 for null args and then send nothing. The answer is judged by the
// reader, not here.
#include <string>

int set_NP_VAL_CMD_GET_FILE_LIST(void* args);
int set_NP_VAL_CMD_GET_DRIVER_LIST(void* args);
int set_NP_VAL_CMD_GET_REMOTE_SPECIAL_PATH(void* args);
int set_NP_VAL_CMD_RENAME(void* args);
int set_NP_VAL_CMD_DELETE_FILE(void* args);
int set_NP_VAL_CMD_DELETE_FOLDER(void* args);
int set_NP_VAL_CMD_MOVE_FILE_TO_TRASH(void* args);
int set_NP_VAL_CMD_CREATE_FOLDER(void* args);
int set_NP_VAL_CMD_EXIT_LINK_ENGINE(void* args);
int set_NP_VAL_CMD_COPY_REMOTE_TO_LOCAL(void* args);
int set_NP_VAL_CMD_COPY_LOCAL_TO_REMOTE(void* args);
int set_NP_VAL_CMD_CHECK_CONNECTION_STATUS(void* args);
int set_NP_VAL_CMD_CHECK_REMOTE_ONLINE(void* args);
int set_NP_VAL_CMD_CHECK_FOR_HEARTBEAT(void* args);

namespace relay_hub {

// The base path of the engine's command channel: kCommandPipe, or what a test has put in its place.
std::string command_pipe();
// Any thread; an empty base means kCommandPipe again. No retry of the file-list builder is spent there yet.
void set_command_pipe_for_tests(std::string base);

}  // namespace relay_hub
