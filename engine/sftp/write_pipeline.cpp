#include "engine/sftp/write_pipeline.h"

#include <array>

namespace relay_hub::engine::sftp {

void WritePipeline::join(PipelinedFile& file) {
    if (!file.begun())
        queued_.push_back(&file);
    else
        (file.sent() ? writing_ : opening_).push_back(&file);
    advance();
}

void WritePipeline::leave(const PipelinedFile& file) {
    for (auto* step : {&queued_, &opening_, &writing_})
        std::erase(*step, &file);
}

void WritePipeline::advance() {
    for (; !writing_.empty() && writing_.front()->answered(); writing_.pop_front())
        writing_.front()->take_answers();
    while (!opening_.empty() && opening_.front()->answered())
        send_first_opened();
    for (; !queued_.empty() && opening_.size() + writing_.size() < in_progress_; queued_.pop_front()) {
        queued_.front()->begin();
        opening_.push_back(queued_.front());
    }
}

void WritePipeline::send_first_opened() {
    opening_.front()->send_once_open();
    writing_.push_back(opening_.front());
    opening_.pop_front();
}

void WritePipeline::complete(const PipelinedFile& file) {
    for (advance(); !file.complete(); advance()) {
        // Nothing more can be asked for until the oldest step is answered.
        if (!writing_.empty())
            writing_.front()->take_answers();
        else
            send_first_opened();
    }
}

}  // namespace relay_hub::engine::sftp
