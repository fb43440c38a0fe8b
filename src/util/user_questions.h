#pragma once
// What a worker may ask or tell the user. The window supplies the implementation, which hands each call
// over to the window's thread and waits for the answer; closing the window or cancelling releases the
// waiting worker. Tests supply one with preset answers.
#include <optional>
#include <string>

#include "base/overwrite_question.h"

// Answers to the overwrite question. Any other value means that the question was closed otherwise.
inline constexpr int REQUEST_YES = 1024;
inline constexpr int REQUEST_NO = 2048;
inline constexpr int REQUEST_ALL = 4096;
inline constexpr int REQUEST_CANCEL = 8192;
// No, and no more questions: everything that is there already is skipped.
inline constexpr int kRequestSkipAll = 16384;

namespace relay_hub {

struct OverwriteQuestion {
    std::string text;
    // What stands at the destination and what is to take its place; nothing where that is not known.
    std::optional<FileFacts> existing{};
    std::optional<FileFacts> incoming{};
    // The window it opens over; null for the one on top when its turn comes.
    struct _GtkWidget* parent = nullptr;
};

class UserQuestions {
  public:
    virtual ~UserQuestions() = default;
    // Returns one of REQUEST_*, or what the dialog gave when it was closed (-4 for the window manager's
    // close). Any thread.
    virtual int ask_overwrite(const OverwriteQuestion& question) = 0;
    // Modal error box with one OK button; secondary may be empty. Returns once it is closed. Any thread.
    virtual void show_error(const std::string& primary, const std::string& secondary) = 0;
    // Modal error box of a delete job: one Close button and the text alone. Any thread.
    virtual void show_job_error(const std::string& text) = 0;
};

// The process-wide implementation; borrowed, must outlive its use. Null until the window sets it.
void set_user_questions(UserQuestions* questions);
UserQuestions* get_user_questions();

}  // namespace relay_hub
