#pragma once
// The process-wide slots of the command runner: the answer text and the running task's argument block. A run
// has an answer cell of its own: its worker stores into it and its reader finds it in the slot's place, so
// that runs that nest never see each other's answers.
#include <optional>
#include <string>

#include "base/non_copyable.h"
#include "link_engine/send_args.h"

// Copies text into the cell bound to the calling thread, or into the slot when none is bound. 0, or -1
// when text is null.
int set_xml_string(const char* text);
// The text of the same cell or slot, or null when it is empty. Borrowed until its next change.
const char* get_xml_string();
// Empties the same cell or slot. 0.
int release_xml_string();

// Stores args unless it is null.
void SetArgument(__send_args* args);
__send_args* GetArgument();
void ReleaseArgument();

void release_notify_name_pipe();

namespace relay_hub {

using AnswerCell = std::optional<std::string>;

// As set_xml_string, without copying the text.
void set_answer(std::string text);
// Takes the text out, as get_xml_string and release_xml_string together; empty when there is none.
std::string take_answer();

// Puts a cell in the slot's place for the calling thread and the scope's life; the cell must outlive the
// scope. Scopes nest. Also for callers of a builder and its reader on a thread of their own.
class AnswerScope : NonCopyable {
  public:
    explicit AnswerScope(AnswerCell& cell);
    ~AnswerScope();

  private:
    AnswerCell* outer_;
};

}  // namespace relay_hub
