#include "engine/sftp/write_pipeline.h"

namespace relay_hub::engine::sftp {

void WritePipeline::make_room() {
    while (!open_.empty() && open_.size() >= in_progress_)
        advance_first();
}

void WritePipeline::join(PipelinedFile& file) {
    (file.begun() ? open_ : queued_).push_back(&file);
    advance();
}

void WritePipeline::leave(const PipelinedFile& file) {
    std::erase(queued_, &file);
    std::erase(open_, &file);
}

void WritePipeline::advance() {
    while (!open_.empty() && open_.front()->answered())
        advance_first();
    for (; !queued_.empty() && open_.size() < in_progress_; queued_.pop_front()) {
        queued_.front()->next_step();
        open_.push_back(queued_.front());
    }
}

void WritePipeline::advance_first() {
    PipelinedFile* const file = open_.front();
    open_.pop_front();
    file->next_step();
    if (!file->named())
        open_.push_back(file);
}

void WritePipeline::complete(const PipelinedFile& file) {
    for (advance(); !file.named(); advance())
        advance_first();
}

void WritePipeline::advance_until(const PendingReply& reply) {
    for (advance(); !open_.empty() && !reply.arrived(); advance())
        advance_first();
}

}  // namespace relay_hub::engine::sftp
