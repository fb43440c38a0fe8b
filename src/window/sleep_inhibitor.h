#pragma once
// Keeps the machine awake for as long as it lives, where a login service is there to be asked. Nothing waits
// for that service, and one that is missing or refuses is no error. Window's thread.
#include <gio/gio.h>

#include "base/file_descriptor.h"
#include "base/glib_owners.h"
#include "base/non_copyable.h"

namespace relay_hub {

class SleepInhibitor : NonCopyable {
  public:
    SleepInhibitor();
    ~SleepInhibitor();

  private:
    static void ask(GObject* source, GAsyncResult* result, gpointer self);
    static void take_lock(GObject* bus, GAsyncResult* result, gpointer self);

    GObjectPtr<GCancellable> asking_;
    FileDescriptor lock_;  // the machine stays awake while this is open
};

}  // namespace relay_hub
