#pragma once
// One attribute of an entry onto another. Any thread. The copy job itself takes all of them at once, through
// open descriptors (base/file_attributes.h).
#include <string>

// Attributes from src's own record onto what dst leads to. 0, or -1 with errno set and a diagnostic.
int duplicate_file_mode(const std::string& src, const std::string& dst);
int duplicate_file_owner(const std::string& src, const std::string& dst);
int duplicate_file_access_time(const std::string& src, const std::string& dst);
int duplicate_file_modify_time(const std::string& src, const std::string& dst);
