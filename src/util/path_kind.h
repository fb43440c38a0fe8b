#pragma once
// Telling drive-letter paths and roots apart from others. Pure, any thread.

// 1 for a drive-letter path, 2 for a null or empty one, else 0.
int check_path_for_platform(const char* path);
// 0 if the path is a root, else 1.
int check_root_path(const char* path);
// 0 when the extended expression matches somewhere in text, else -1 (also for a bad pattern). Prints either.
int regular_expression(const char* text, const char* pattern);
