#include "engine/sftp/commit.h"

#include <algorithm>

namespace relay_hub::engine::sftp {

std::vector<Error> commit_files(const std::vector<SftpSink*>& sinks, std::size_t in_progress) {
    std::vector<Error> results;
    results.reserve(sinks.size());
    // How many files have come through each step. The server answers in order, so what is first in a step is
    // ready first.
    std::size_t begun = 0;
    std::size_t sent = 0;
    std::size_t named = 0;
    while (results.size() < sinks.size()) {
        const std::size_t limit = std::min(sinks.size(), results.size() + in_progress);
        for (; begun < limit; ++begun)
            sinks[begun]->begin();
        for (; sent < begun && sinks[sent]->ready(); ++sent)
            sinks[sent]->send_rest();
        for (; named < sent && sinks[named]->ready(); ++named)
            sinks[named]->send_rename();
        if (results.size() < named)
            results.push_back(sinks[results.size()]->result());
        else if (named < sent)
            sinks[named++]->send_rename();
        else
            sinks[sent++]->send_rest();
    }
    return results;
}

}  // namespace relay_hub::engine::sftp
