#pragma once
// The argument block of one request. It lives on the caller's stack for the whole run; the caller fills the
// request's own fields, builders only read them. state is shared with the worker (get_atomic, set_atomic).
#include <pthread.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "util/job_state.h"

using GtkWidget = struct _GtkWidget;

// Command codes that the timing trace knows.
inline constexpr int kCodeDriverList = 1;
inline constexpr int kCodeFileList = 2;
inline constexpr int kCodeSpecialPath = 4;
inline constexpr int kCodeRemoteOnline = 6;
inline constexpr int kCodeConnectionStatus = 7;
inline constexpr int kCodeHeartbeat = 8;

inline constexpr int kFileItem = 0;
inline constexpr int kFolderItem = 1;

inline constexpr int kNoTimeLimit = -1;

// Sizes in bytes; times as the engine wrote them into its list.
struct ItemAttributes {
    int type = 0;  // kFileItem or kFolderItem; with any other the engine gets no times
    std::int64_t size = 0;
    std::int64_t created = 0;
    std::int64_t accessed = 0;
    std::int64_t modified = 0;
};

// One item of a copy or trash request.
struct RequestItem {
    std::string path;  // not in a trash request
    std::string path_hex;
    ItemAttributes attributes = {};  // of a remote item that is copied
};

struct __send_args {
    std::string list_path;
    std::string list_path_hex;
    std::string source_path;
    std::string source_path_hex;  // rename: the old full path
    std::string target_path;
    std::string target_path_hex;  // rename: the new full path
    std::vector<RequestItem> items;

    int task_kind = TASK_COPY;  // the operation: 0 copy, 2 delete, 3 rename, 4 create folder
    int state = kStateRunning;
    GtkWidget* parent_window = nullptr;  // the overwrite question opens over it
    pthread_t worker{};
    int timeout_seconds = kNoTimeLimit;
    // How long the engine may stay silent after the user cancelled.
    std::chrono::milliseconds cancel_grace{5000};
    std::time_t started_at = 0;
    // What became of the request; the window's thread reads and writes these.
    bool given_up = false;  // its waits were ended; what the engine does with it is not known
    bool refused = false;   // the user answered a question of its copy with anything but yes
    // Sent once more after a failure: its questions are answered without asking, with yes where the user
    // agreed before. What was refused stays refused, also where all that followed was agreed to.
    bool sent_again = false;
    bool agreed_to_all = false;
    bool refused_all = false;  // by the user, to all that followed
    std::set<std::string> agreed_questions;
    std::set<std::string> refused_questions;
    std::vector<std::string> left_unasked;  // questions of the last sending: no, without the user's word
    bool is_move = false;                   // a copy after which the source may go
    // Of a move: which items have arrived completely, 'Y' or 'N' each; empty: the engine sent no report.
    std::string arrived;
    // A file list: whether the user gets a message for a folder that the engine does not list, and whether it
    // was such a folder.
    bool tell_unlisted = true;
    bool unlisted = false;
    // A file list: reads the answer on the worker and keeps in parsed what its reader needs; may take the
    // text. False for an answer that is to be asked for again. Null: any answer but an empty one will do.
    bool (*parse)(__send_args& args, std::string& answer) = nullptr;
    std::shared_ptr<void> parsed;
    int command_code = 0;
};
