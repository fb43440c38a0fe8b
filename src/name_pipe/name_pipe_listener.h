#pragma once
// What the listener and the class share.
#include <string>

namespace relay_hub {

// m_strPipeName under its mutex.
std::string listener_pipe_name();
// Whether the round being served has something to send. Listener thread.
bool answer_is_waiting();
// The body of the message that ends a listener.
std::string terminate_request();

}  // namespace relay_hub
