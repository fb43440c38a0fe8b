#pragma once
// How paths are written on the wire and inside the engine. Inside, a path is components joined by "/" without
// a leading or trailing one; "" is the root. On the wire it is a text in one of the styles and, beside it,
// the same in unicode hex (base/unicode_hex.h). Pure functions.
#include <optional>
#include <string>
#include <string_view>

namespace relay_hub::engine {

// kWindows has one drive, "C:", which is the root: "C:\\a" is "a". In kDrives, too, paths have a drive and
// backslashes, but the drive is their first component: "D:\\a" is "D:/a", and nothing stands for the root.
enum class Style { kWindows, kPosix, kDrives };

// Inner path of a path on the wire. Nothing when it is not a full path in that style or leaves the root by
// "..". "." is dropped, ".." takes the component before it away. Beside backslashes "/" is taken too.
std::optional<std::string> inner_path(Style style, std::string_view wire_path);
std::string wire_path(Style style, std::string_view inner);
// Whether it is the root or a whole drive.
bool is_root(Style style, std::string_view inner);
// Whether a name can be sent to the front end at all: valid UTF-8 without control characters and separators
// of the style, and no name of the folder itself or the one above.
bool can_travel(Style style, std::string_view name);
// Whether a new entry would bear just this name: Windows drops the dots and blanks at its end.
bool keeps_name(Style style, std::string_view name);

// The same for all names that some file system may take for one: in capitals or not, composed or decomposed.
std::string common_form(const std::string& name);

std::string join_path(std::string_view folder, std::string_view name);
std::string parent_path(std::string_view path);
std::string base_name(std::string_view path);

// The text that a request means by a plain text and its hex. The plain one is believed when the front end
// would have written just that hex for it, since only it still tells characters above U+FFFF.
std::optional<std::string> meant_text(const std::string& plain, const std::string& hex);

// A text decoded from that hex alone, with the pictographs (U+1F300 to U+1F6FF) put back. They had become
// private characters, which nobody types.
std::string with_pictographs(const std::string& text);

}  // namespace relay_hub::engine
