#include "xml_doc/token_source.h"

#include <unistd.h>

#include <algorithm>

#include "base/fifo.h"

namespace relay_hub {
namespace {

struct Unparsed {
    std::string_view begin;
    std::string_view end;
};
constexpr Unparsed kUnparsed[] = {{"<!--", "-->"}, {"<?", "?>"}, {kCdataBegin, kCdataEnd}};

constexpr size_t kReadAhead = size_t{64} * 1024;

// Where the first mark from `at` on stands that is not quoted, or the end. `quoted` says how the run begins
// and then how it ends.
size_t end_of_run(std::string_view text, size_t at, char mark, bool& quoted) {
    size_t next_mark = at;
    while (true) {
        if (!quoted && (next_mark <= at))
            next_mark = std::min(text.find(mark, at), text.size());
        const size_t end = quoted ? text.size() : next_mark;
        const size_t quote = text.substr(0, end).find('"', at);
        if (quote == std::string_view::npos)
            return end;
        quoted = !quoted;
        at = quote + 1;
    }
}

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

void CharacterData::add_cdata(std::string_view token) {
    if (!token.starts_with(kCdataBegin) || !token.ends_with(kCdataEnd))
        return;
    token.remove_prefix(kCdataBegin.size());
    token.remove_suffix(kCdataEnd.size());
    for (const char c : token) {
        if (c == '&')
            text_ += "&amp;";
        else if (c == '<')
            text_ += "&lt;";
        else
            text_ += c;
    }
}

TokenSource::TokenSource(CVMemFile& file)
    : file_(&file),
      ended_(true),
      window_(reinterpret_cast<const char*>(file.GetUnread()), file.GetUnreadSize()) {}

TokenSource::TokenSource(std::string_view text) : ended_(true), window_(text) {}

// Bytes read ahead from a pipe could not be given back, so a pipe is read byte by byte.
TokenSource::TokenSource(int descriptor)
    : descriptor_(descriptor), seekable_(lseek(descriptor, 0, SEEK_CUR) >= 0) {}

TokenSource::~TokenSource() {
    if (file_ != nullptr)
        file_->Seek(static_cast<long>(file_->GetPosition() + at_), SEEK_SET);
    else if (seekable_ && at_ < window_.size())
        lseek(descriptor_, -static_cast<off_t>(window_.size() - at_), SEEK_CUR);
}

bool TokenSource::next(std::string_view& token, CharacterData* text) {
    const std::string_view run = take('<', Stop::before);
    if (text != nullptr)
        text->add(run);
    token = take_unparsed();
    if (token.empty())
        token = take('>', Stop::behind);
    // A token ends at a NUL like every text of the library; the parser then finds it incomplete.
    token = token.substr(0, token.find('\0'));
    return !token.empty();
}

// A comment, processing instruction or CDATA section, which may hold brackets and quotes, as one token; empty
// where none begins or the input has no end of it.
std::string_view TokenSource::take_unparsed() {
    for (const Unparsed& kind : kUnparsed) {
        if (!begins_with(kind.begin))
            continue;
        size_t searched = kind.begin.size();
        size_t end = unread().find(kind.end, searched);
        while (end == std::string_view::npos && grow()) {
            end = unread().find(kind.end, searched);
            searched = std::max(kind.begin.size(), unread().size() - kind.end.size() + 1);
        }
        if (end == std::string_view::npos)
            return {};
        const std::string_view token = unread().substr(0, end + kind.end.size());
        at_ += token.size();
        return token;
    }
    return {};
}

// Reads no more than it takes to see that the mark is not there: what follows may be another reader's.
bool TokenSource::begins_with(std::string_view mark) {
    while (unread().size() < mark.size()) {
        if (!mark.starts_with(unread()) || !grow())
            return false;
    }
    return unread().starts_with(mark);
}

// The bytes up to a mark that is not quoted, or to the end of the input. A view of the window where they lie
// in one.
std::string_view TokenSource::take(char mark, Stop stop) {
    joined_.clear();
    bool quoted = false;
    while (at_ < window_.size() || fill()) {
        const size_t begin = at_;
        at_ = end_of_run(window_, at_, mark, quoted);
        const bool found = at_ < window_.size();
        at_ += found && stop == Stop::behind ? 1 : 0;
        const std::string_view piece = window_.substr(begin, at_ - begin);
        if (joined_.empty() && (found || ended_))
            return piece;
        joined_ += piece;
        if (found)
            break;
    }
    return joined_;
}

bool TokenSource::fill() {
    if (ended_)
        return false;
    at_ = window_.size();
    return grow();
}

// Reads more behind what is still unread, which moves to the begin of the window.
bool TokenSource::grow() {
    if (ended_)
        return false;
    const size_t kept = unread().size();
    buffer_.erase(0, at_);
    at_ = 0;
    buffer_.resize(kept + (seekable_ ? kReadAhead : 1));
    const ssize_t count = read_some(descriptor_, buffer_.data() + kept, buffer_.size() - kept);
    failed_ = count < 0;
    ended_ = count <= 0;
    buffer_.resize(kept + (ended_ ? 0 : static_cast<size_t>(count)));
    window_ = buffer_;
    return !ended_;
}

}  // namespace relay_hub
