#include "base/diagnostics.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>

#include "base/file_descriptor.h"

namespace relay_hub {
namespace {

std::string place(const CallSite& site) {
    std::string line = "[FILENAME:";
    line.append(site.file).append("][FUNC:").append(site.function).append("][LINE:");
    return line.append(std::to_string(site.line)).append("]");
}

std::string place(const CallSite& site, int error_number) {
    return place(site).append("[error code:").append(std::to_string(error_number)).append("]");
}

// Leaves errno alone, so that a caller may report first and act on its errno after.
void write_line(std::string line, std::initializer_list<std::string_view> parts) {
    const int caller_errno = errno;
    line += " >> ";
    for (const std::string_view part : parts)
        line += part;
    line += '\n';
    // Standard error is the last resort: nobody is left to tell of its failure.
    (void)write_all(STDERR_FILENO, line.data(), line.size());
    errno = caller_errno;
}

}  // namespace

void report(const CallSite& site, std::string_view message) {
    write_line(place(site), {message});
}

void report(const CallSite& site, std::string_view message, std::string_view argument) {
    write_line(place(site), {message, " ", argument});
}

void report_error(const CallSite& site, int error_number) {
    write_line(place(site, error_number), {error_text(error_number)});
}

void report_error(const CallSite& site, int error_number, std::string_view path) {
    write_line(place(site, error_number), {error_text(error_number), "; ", path});
}

void report_memory_error(const CallSite& site, int error_number, std::size_t size) {
    write_line(place(site, error_number), {error_text(error_number), "; mem_size:", std::to_string(size)});
}

// glibc keeps one buffer per thread for unknown numbers, and constants for all others.
const char* error_text(int error_number) {
    return std::strerror(error_number);
}

}  // namespace relay_hub
