#pragma once
// Copies between this machine and the remote one: one sequence for pasting and dropping, in both directions.
// The progress dialog is open from the gathering of the items to the reading of the list that changed.
// Window's thread.
#include <functional>
#include <string>
#include <vector>

#include "side_function/copy_source.h"

namespace relay_hub {

// Gives the full paths of what is copied; called with the progress dialog open, may turn the main loop.
using PathSource = std::function<std::vector<std::string>()>;

// Local items into the remote folder. Ends the offer of what was copied. 0 success, negative as the reader
// judged, -1 when nothing was sent.
int paste_into_remote_folder(const PathSource& source);
// attributes are what is known of the items from the time when they were copied or dragged; what the remote
// list shows of them now counts first.
int copy_to_local_folder(const PathSource& source, const std::vector<RemoteItem>& attributes);
// What was copied in the remote pane, into the local folder. Ends the offer.
int paste_remote_copy();

}  // namespace relay_hub

// Thread bodies that complete the block's item lists out of its item paths: the hex texts; and for items of
// the remote machine also the attributes that its list no longer shows.
int build_xml_string(void* job);
int build_xml_string_2(void* job);
