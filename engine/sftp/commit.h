#pragma once
// Many files brought under their final names at once.
#include <vector>

#include "engine/sftp/sftp_sink.h"

namespace relay_hub::engine::sftp {

// Every step of every file is on its way as soon as the step before has been answered, for at most
// in_progress files at once. One result for each, in order; a file without a name is removed when its sink
// goes.
std::vector<Error> commit_files(const std::vector<SftpSink*>& sinks, std::size_t in_progress);

}  // namespace relay_hub::engine::sftp
