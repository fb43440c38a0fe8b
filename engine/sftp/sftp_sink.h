#pragma once
// A file being written on the other computer under a temporary name. A small one stays in memory until it is
// committed, so that hundreds go together; a larger one is on its way while it is written. Used by
// SftpFileSystem alone, on its thread.
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "engine/remote_file_system.h"
#include "engine/sftp/part_name.h"
#include "engine/sftp/session.h"
#include "engine/sftp/write_pipeline.h"

namespace relay_hub::engine::sftp {

class SftpSink : public FileSink, public PipelinedFile {
  public:
    // line, which outlives the sink, takes it on once it is finished.
    SftpSink(std::shared_ptr<Session> session, WritePipeline& pipeline, std::string path, const Entry& entry,
             bool replace);
    // Without a commit the temporary file goes.
    ~SftpSink() override;

    Error write(const char* data, std::size_t size) override;
    [[nodiscard]] int descriptor() const override { return -1; }
    void start_flush() override;
    Error finish(const FileSource& source) override;

    [[nodiscard]] bool begun() const override { return exists_; }
    [[nodiscard]] bool answered() const override;
    [[nodiscard]] bool named() const override { return error_ || renaming_.sent(); }
    void next_step() override;
    // Waits for the final name, which was requested. What became of the file.
    Error result();

  private:
    void begin();
    void send_once_open();
    // Where all of it is on the disk.
    void send_rename();
    void send_content();
    void send_attributes_and_close();
    void wait_for_oldest();
    void fail(const Error& error);
    [[nodiscard]] bool opened() const { return !handle_.empty(); }

    struct Step {
        std::size_t bytes = 0;
        PendingReply reply;
        bool is_setting = false;  // of mode and times
    };

    std::shared_ptr<Session> session_;
    WritePipeline& pipeline_;
    const std::string path_;
    const PartName part_;
    const std::string temporary_;
    Attributes attributes_;
    const bool replace_;
    const std::size_t block_;
    std::string buffer_;  // what is not on its way yet
    PendingReply opening_;
    std::string handle_;
    bool exists_ = false;  // the temporary file was asked for, and was not renamed
    bool closed_ = false;
    std::uint64_t sent_ = 0;
    std::uint64_t synced_ = 0;  // how much of that when it was last asked for
    std::deque<Step> steps_;    // on their way
    std::size_t in_flight_ = 0;
    PendingReply renaming_;
    Error refused_;  // of mode and times
    Error error_;    // the first one
};

}  // namespace relay_hub::engine::sftp
