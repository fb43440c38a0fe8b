#pragma once
// The small key files in which the programs keep what the user did last. Any thread.
#include <glib.h>

#include <memory>
#include <string>
#include <vector>

#include "base/freed_by.h"

namespace relay_hub {

using KeyFile = std::unique_ptr<GKeyFile, FreedBy<g_key_file_free>>;

// The path of the file of that name, below $XDG_STATE_HOME; below ~/.local/state where that is no absolute
// path.
std::string state_file_path(const char* name);
// Empty for a file that is missing or cannot be understood.
KeyFile read_state_file(const std::string& path);
// Makes the folders above it, and leaves the file readable by the user alone. Empty, or why it could not be
// saved.
std::string save_state_file(GKeyFile* file, const std::string& path);

// A list of texts in such a file; empty where there is none.
std::vector<std::string> texts_of(GKeyFile* file, const char* group, const char* key);
void set_texts(GKeyFile* file, const char* group, const char* key, const std::vector<std::string>& texts);

// The first MiB of a small file of the user's; empty for what is no regular file, or cannot be read.
std::string small_file_content(const std::string& path);

}  // namespace relay_hub
