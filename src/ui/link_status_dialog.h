#pragma once
// The optional "Transfer Line Status" dialog, which no operation opens.
#include "ui/link_status_monitor.h"

// Builds and shows it. Window's thread.
wait_status* monitor_link_engine_status_dialog();
