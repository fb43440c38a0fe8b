#pragma once
// What the listener and the class share.

namespace relay_hub {

// Whether the round being served has something to send. Listener thread.
bool answer_is_waiting();

}  // namespace relay_hub
