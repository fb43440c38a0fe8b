#pragma once
// Serves the engine's call-backs on the listener thread, and asks the overwrite question for them on the
// window's thread.
#include "link_engine/send_args.h"

class CZEVXML;

// A service_provider_t (name_pipe_base.h). Listener thread. 1 when the message was taken, 0 for an empty
// body.
unsigned int ServiceProvider(char* body, unsigned int length, char* answer, unsigned int answer_size);
int ProgressStatusUpdate(CZEVXML* document);
// Asks the question over the request's parent window, stores the value, releases the listener. Window's
// thread, GDK lock held.
void link_engine_confirm(__send_args* args);

namespace relay_hub {

// What the window supplies. remote_offline is called on the listener thread when the engine says that the
// remote computer went offline; ask_overwrite on the window's thread, and returns REQUEST_* or another
// value when the dialog was closed otherwise.
struct CallbackHandlers {
    void (*remote_offline)() = nullptr;
    int (*ask_overwrite)(GtkWidget* parent, const char* message) = nullptr;
};
void set_callback_handlers(const CallbackHandlers& handlers);

}  // namespace relay_hub
