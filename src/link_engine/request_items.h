#pragma once
// The "T8" block of the requests that act on many items: one record an item, appended to message. Takes time
// in proportion to the number of items. Any thread, one message at a time.
#include "link_engine/send_args.h"

namespace relay_hub {

class MessageWriter;

void add_trash_items(MessageWriter& message, const __send_args& args);
void add_remote_to_local_items(MessageWriter& message, const __send_args& args);
void add_local_to_remote_items(MessageWriter& message, const __send_args& args);

}  // namespace relay_hub
