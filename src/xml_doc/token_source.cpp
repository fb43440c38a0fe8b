#include "xml_doc/token_source.h"

#include <unistd.h>

#include <cerrno>

namespace relay_hub {
namespace {

constexpr size_t kReadAhead = size_t{64} * 1024;

}  // namespace

void CharacterData::add(std::string_view run) {
    run = run.substr(0, run.find('\0'));
    const bool layout = run.size() == 1 && static_cast<unsigned char>(run[0]) < 33;
    if (run.empty() || layout)
        return;
    text_ += run;
    if (text().size() > 1 && text().front() == '\n')
        ++dropped_;
}

TokenSource::TokenSource(CVMemFile& file)
    : file_(&file),
      ended_(true),
      window_(reinterpret_cast<const char*>(file.GetUnread()), file.GetUnreadSize()) {}

// Bytes read ahead from a pipe could not be given back, so a pipe is read byte by byte.
TokenSource::TokenSource(int descriptor)
    : descriptor_(descriptor),
      seekable_(lseek(descriptor, 0, SEEK_CUR) >= 0),
      buffer_(seekable_ ? kReadAhead : 1, '\0') {}

TokenSource::~TokenSource() {
    if (file_ != nullptr)
        file_->Seek(static_cast<long>(file_->GetPosition() + at_), SEEK_SET);
    else if (seekable_ && at_ < window_.size())
        lseek(descriptor_, -static_cast<off_t>(window_.size() - at_), SEEK_CUR);
}

bool TokenSource::next(std::string& token, CharacterData& text) {
    token.clear();
    run_.clear();
    const bool tag = take_until('<', run_);
    text.add(run_);
    if (!tag)
        return false;
    token = '<';
    if (take_until('>', token))
        token += '>';
    // A token ends at a NUL like every text of the library; the parser then finds it incomplete.
    token.resize(std::string_view(token).substr(0, token.find('\0')).size());
    return true;
}

// Takes the bytes up to `stop`, which is passed over; a quoted one does not count. False at the end of the
// input.
bool TokenSource::take_until(char stop, std::string& taken) {
    bool quoted = false;
    while (at_ < window_.size() || fill()) {
        const size_t begin = at_;
        for (; at_ < window_.size(); ++at_) {
            const char c = window_[at_];
            if (c == '"')
                quoted = !quoted;
            else if (c == stop && !quoted)
                break;
        }
        taken.append(window_.substr(begin, at_ - begin));
        if (at_ < window_.size()) {
            ++at_;
            return true;
        }
    }
    return false;
}

bool TokenSource::fill() {
    if (ended_)
        return false;
    ssize_t count = 0;
    do {
        count = read(descriptor_, buffer_.data(), buffer_.size());
    } while (count < 0 && errno == EINTR);
    failed_ = count < 0;
    ended_ = count <= 0;
    window_ = std::string_view(buffer_).substr(0, ended_ ? 0 : static_cast<size_t>(count));
    at_ = 0;
    return !ended_;
}

}  // namespace relay_hub
