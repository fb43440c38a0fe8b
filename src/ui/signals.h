#pragma once
// The process's signal handlers. A handler writes its line with write(2); SIGINT and SIGSEGV end the process
// with status 255, SIGTERM and the others only tell.
#include <csignal>

struct signal_entry {
    int number;
    void (*handler)(int);
};

inline constexpr int kSignalEntries = 6;
extern const signal_entry signals[kSignalEntries];

void SIGCHLD_handler(int number);
void SIGINT_handler(int number);
void SIGTERM_handler(int number);
void SIGSEGV_handler(int number);
void SIGUSR1_handler(int number);
void SIGUSR2_handler(int number);

// Installs the table's handlers, last entry first. 0, or the failing sigaction's result.
int handle_register();
