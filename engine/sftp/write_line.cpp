#include "engine/sftp/write_line.h"

#include <array>

namespace relay_hub::engine::sftp {

void WriteLine::join(FileOnItsWay& file) {
    if (!file.begun())
        queued_.push_back(&file);
    else
        (file.sent() ? writing_ : opening_).push_back(&file);
    advance();
}

void WriteLine::leave(const FileOnItsWay& file) {
    for (auto* step : {&queued_, &opening_, &writing_})
        std::erase(*step, &file);
}

void WriteLine::advance() {
    for (; !writing_.empty() && writing_.front()->answered(); writing_.pop_front())
        writing_.front()->take_answers();
    while (!opening_.empty() && opening_.front()->answered())
        send_rest_of_first();
    for (; !queued_.empty() && opening_.size() + writing_.size() < in_progress_; queued_.pop_front()) {
        queued_.front()->begin();
        opening_.push_back(queued_.front());
    }
}

void WriteLine::send_rest_of_first() {
    opening_.front()->send_rest();
    writing_.push_back(opening_.front());
    opening_.pop_front();
}

void WriteLine::complete(const FileOnItsWay& file) {
    for (advance(); !file.complete(); advance()) {
        // Nothing more can be asked for until the oldest step is answered.
        if (!writing_.empty())
            writing_.front()->take_answers();
        else
            send_rest_of_first();
    }
}

}  // namespace relay_hub::engine::sftp
