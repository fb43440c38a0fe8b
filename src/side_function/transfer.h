#pragma once
// Work of the engine that takes its time: copies between this machine and the remote one, and the remote
// trash. The progress dialog is open from the gathering of the items to the reading of the list that changed.
// Window's thread.
#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

#include "base/non_copyable.h"
#include "link_engine/command_runner.h"
#include "side_function/copy_source.h"
#include "window/dialogs/file_read_write_dialog.h"
#include "window/long_work.h"

namespace relay_hub {

// One such work from its beginning to the end of its dialog. The shared transfer state is its own meanwhile.
class Transfer : NonCopyable {
  public:
    // kind: TASK_COPY, or TASK_DEL for the trash.
    explicit Transfer(int kind);
    // Closes the dialog and shows the text that waits for the user.
    ~Transfer();

    [[nodiscard]] __send_args& args() { return args_; }
    // Sends args, unless the user cancelled meanwhile, and shows the pending message; a copy that failed is
    // sent again as often as the user wants it. As send_command_t, -1 when nothing was sent.
    int send(command_start_t start, command_finish_t finish);
    // The engine was left alone with the request: it may hang still.
    [[nodiscard]] bool was_given_up() const { return args_.given_up; }
    // Given up, or cancelled by the user.
    [[nodiscard]] bool was_cancelled();
    // The items of a move that have arrived completely, given the result of send(): by the engine's report on
    // each item where it sends one; else all of them, or none if anything failed or was skipped.
    [[nodiscard]] std::vector<std::string> arrived(int result);
    // Those that stay although nothing failed or was refused: they changed while they were copied.
    [[nodiscard]] std::vector<std::string> changed(int result);

  private:
    int send_once(command_start_t start, command_finish_t finish);
    [[nodiscard]] bool can_be_tried_again() const;

    LongWork long_work_;
    __send_args args_;
    int kind_;
    bool failure_shown_ = false;  // the user has been shown that something failed
    ProgressDialog dialog_;
};

// Gives what is copied; called with the progress dialog open, may turn the main loop. Each item that is moved
// goes to the trash of the side that it came from, once all of it has arrived.
using OfferSource = std::function<Offer()>;

// Local items into the remote folder, and the remote list read again. 0 success, negative as the reader
// judged, -1 when nothing was sent.
int copy_to_remote_folder(const OfferSource& source);
// The same the other way. attributes are what is known of the items from the time when they were copied or
// dragged; what the remote list shows of them now counts first.
int copy_to_local_folder(const OfferSource& source, const std::vector<RemoteItem>& attributes);

// Moves the items (full remote paths) into the remote trash, in the reverse of their order. As
// send_command_t, -1 when nothing was sent.
int trash_remotely(Transfer& transfer, const std::vector<std::string>& paths);

}  // namespace relay_hub

// Thread bodies that complete the block's item lists out of its item paths: the hex texts; and for items of
// the remote machine also the attributes that its list no longer shows.
int build_xml_string(void* job);
int build_xml_string_2(void* job);
int set_file_system_attribute(GtkWidget* tree_view, __send_args* args);
