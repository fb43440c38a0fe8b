#pragma once
// The one routine behind every diagnostic line on standard error. A line names the source unit, the
// function and the line it comes from, then the message:
//   [FILENAME:../src/util/Zev_file_op.cpp][FUNC:Gfile_get_file_size][LINE:128][error code:2] >> ...
// Units that span several files report under one fixed unit name, and some lines keep a fixed number, so
// the call site is spelled out by the caller. Every function may be called on any thread; each line is
// written with one write so that lines never mix.
#include <cstddef>
#include <string_view>

namespace relay_hub {

struct CallSite {
    const char* file;
    const char* function;
    int line;
};

// "... >> message"
void report(const CallSite& site, std::string_view message);
// "... >> message argument"
void report(const CallSite& site, std::string_view message, std::string_view argument);
// "...[error code:N] >> strerror(N)"
void report_error(const CallSite& site, int error_number);
// "...[error code:N] >> strerror(N); path"
void report_error(const CallSite& site, int error_number, std::string_view path);
// "...[error code:N] >> strerror(N); mem_size:SIZE"
void report_memory_error(const CallSite& site, int error_number, std::size_t size);

// strerror for any thread.
const char* error_text(int error_number);

}  // namespace relay_hub

// The call site where it stands, for units whose diagnostics carry their own file name.
#define RELAY_HUB_HERE               \
    relay_hub::CallSite {            \
        __FILE__, __func__, __LINE__ \
    }
