#pragma once
// Serves the engine's call-backs on the listener thread, and asks the overwrite question for them on the
// window's thread.
#include <chrono>

#include "link_engine/send_args.h"

class CZEVXML;

// A service_provider_t (name_pipe_base.h). Listener thread. 1 when the message was taken, 0 for an empty
// body.
unsigned int ServiceProvider(char* body, unsigned int length, char* answer, unsigned int answer_size);
// Copies a progress report into the shared transfer state. 0.
int ProgressStatusUpdate(CZEVXML* document);
// Asks the question over the request's parent window (get_user_questions), stores the value, releases the
// listener; the answer "cancel" also cancels the request. Nothing while another call is still asking. Null
// args: value 0, without asking. Window's thread, GDK lock held.
void link_engine_confirm(__send_args* args);

namespace relay_hub {

// Called on the listener thread when the engine says that the remote computer went offline. Null for nobody.
void set_remote_offline_handler(void (*handler)());

// True while link_engine_confirm asks. Window's thread.
bool confirmation_being_asked();
// When the last call-back came in or was answered; the epoch before the first. Any thread.
std::chrono::steady_clock::time_point last_engine_activity();

}  // namespace relay_hub
