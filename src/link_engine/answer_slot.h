#pragma once
// The process-wide slots of the command runner: the answer text, the running task's argument block, the
// shared-memory identifier. A worker of a run stores into that run's own cell; the runner puts the cell's
// text into the slot just before the reader and restores what was there after.
#include "link_engine/send_args.h"

// Copies text into the calling run's cell, or into the slot on any other thread. 0, or -1 when it failed.
int set_xml_string(const char* text);
// The slot's text, or null when it is empty. Borrowed until the next change of the slot.
const char* get_xml_string();
int release_xml_string();

// Stores args unless it is null.
void SetArgument(__send_args* args);
__send_args* GetArgument();
void ReleaseArgument();

int get_shared_mem_id();
void release_notify_name_pipe();
