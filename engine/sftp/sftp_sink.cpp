#include "engine/sftp/sftp_sink.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "base/file_attributes.h"
#include "base/translated_text.h"
#include "engine/sftp/remote_entry.h"
#include "engine/sftp/transfer_window.h"

namespace relay_hub::engine::sftp {
namespace {

// Up to this size a file waits in memory for its commit.
constexpr std::size_t kSmall = 64UL * 1024;
// The server writes nothing else while it syncs, so that is not asked for often; but a slow disk must not
// have to take all of a large file at the end.
constexpr std::uint64_t kSyncStep = 256ULL * 1024 * 1024;
// How much is written on while the server opens the file.
constexpr std::size_t kMostUnopened = 1024UL * 1024;

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

SftpSink::SftpSink(std::shared_ptr<Session> session, WritePipeline& pipeline, std::string path,
                   const Entry& entry, bool replace)
    : session_(std::move(session)),
      pipeline_(pipeline),
      path_(std::move(path)),
      temporary_(path_.substr(0, path_.rfind('/') + 1) + part_.text()),
      attributes_(attributes_of(entry)),
      replace_(replace),
      block_(std::min(session_->facts().longest_write, kBlock)) {
    // The protocol's seconds go from 1970 to 2106.
    if (attributes_.times && attributes_.times->modified != entry.modified.tv_sec) {
        refused_ = {ENOTSUP, translated("IDS_REASON_UNSUPPORTED_THERE")};
        refused_.attributes_only = true;
    }
}

SftpSink::~SftpSink() {
    pipeline_.leave(*this);
    if (opening_.arrived())
        (void)session_->take_handle(opening_, handle_);
    if (opened() && !closed_)
        (void)session_->send_close(handle_);
    opening_ = {};
    if (!exists_)
        return;
    (void)session_->send_remove(temporary_);
    session_->connection().flush();
}

void SftpSink::fail(const Error& error) {
    if (!error || error_)
        return;
    error_ = session_->explain(error, folder_of(path_), in_flight_ + buffer_.size());
}

void SftpSink::begin() {
    Attributes attributes;
    attributes.permissions = S_IRUSR | S_IWUSR;
    opening_ = session_->send_open(temporary_, kOpenWrite | kOpenCreate | kOpenExclusive, attributes);
    exists_ = true;
}

Error SftpSink::write(const char* data, std::size_t size) {
    if (error_)
        return error_;
    buffer_.append(data, size);
    if (buffer_.size() <= kSmall && !exists_)
        return {};
    if (!exists_) {
        pipeline_.make_room();
        begin();
    }
    if (opening_.sent() && (opening_.arrived() || buffer_.size() > kMostUnopened))
        fail(session_->take_handle(opening_, handle_));
    if (opened())
        send_content();
    return error_;
}

void SftpSink::send_content() {
    std::size_t start = 0;
    while (!error_ && start < buffer_.size()) {
        const std::string_view piece = std::string_view(buffer_).substr(start, block_);
        while (!error_ && !steps_.empty() && in_flight_ + piece.size() > kWindow)
            wait_for_oldest();
        if (error_)
            break;
        steps_.push_back({piece.size(), session_->send_write(handle_, sent_, piece)});
        in_flight_ += piece.size();
        sent_ += piece.size();
        start += piece.size();
    }
    buffer_.clear();
}

void SftpSink::wait_for_oldest() {
    Step step = std::move(steps_.front());
    steps_.pop_front();
    in_flight_ -= step.bytes;
    const Error error =
        step.is_setting ? session_->take_setting(step.reply) : session_->take_status(step.reply);
    // Some file systems hold neither modes nor times; a copy there is whole all the same.
    if (error.attributes_only)
        refused_ = error;
    else
        fail(error);
}

void SftpSink::start_flush() {
    if (!opened() || error_ || !session_->facts().syncs || sent_ < synced_ + kSyncStep)
        return;
    steps_.push_back({0, session_->send_sync(handle_)});
    synced_ = sent_;
}

void SftpSink::send_attributes_and_close() {
    if (attributes_.permissions || attributes_.times)
        steps_.push_back({0, session_->send_set_open_attributes(handle_, attributes_), true});
    if (session_->facts().syncs)
        steps_.push_back({0, session_->send_sync(handle_)});
    steps_.push_back({0, session_->send_close(handle_)});
    closed_ = true;
    // Hundreds of sinks wait for their names.
    buffer_.shrink_to_fit();
}

Error SftpSink::finish(const FileSource& source) {
    // The access list stays behind.
    if (attributes_.permissions && source.descriptor() >= 0)
        attributes_.permissions = mode_without_list(source.descriptor(), *attributes_.permissions);
    if (opened() && !error_)
        send_attributes_and_close();
    if (!error_)
        pipeline_.join(*this);
    return error_;
}

bool SftpSink::answered() const {
    return opening_.sent() ? opening_.arrived() : steps_.empty() || steps_.back().reply.arrived();
}

void SftpSink::next_step() {
    if (!exists_)
        begin();
    else if (!closed_)
        send_once_open();
    else
        send_rename();
}

void SftpSink::send_once_open() {
    if (opening_.sent())
        fail(session_->take_handle(opening_, handle_));
    if (error_)
        return;
    send_content();
    send_attributes_and_close();
}

void SftpSink::send_rename() {
    while (!steps_.empty())
        wait_for_oldest();
    if (!error_)
        renaming_ = session_->send_rename(temporary_, path_, replace_);
}

Error SftpSink::result() {
    if (error_ || !renaming_.sent())
        return error_;
    const Error error = session_->take_status(renaming_);
    if (!error) {
        exists_ = false;
        return refused_;
    }
    Attributes existing;
    if (!replace_ && error.number == EREMOTEIO && !session_->lstat(path_, existing))
        return EEXIST;
    fail(error);
    return error_;
}

}  // namespace relay_hub::engine::sftp
