// Path normalisation in the window, and what the engine takes for a path of its tree. The first byte chooses
// delimiters and separator.
#include "engine/names.h"
#include "fuzz_input.h"
#include "util/path_time_text.h"

namespace {

void normalise(const std::string& path, const char* delimiters, const char* separator) {
    std::string real;
    fuzz::check(ConvertToRealPath(path.c_str(), delimiters, real, separator) == 0, "a path is resolved");
    std::string again;
    ConvertToRealPath(real.c_str(), separator, again, separator);
    fuzz::check(again == real || std::string_view(delimiters) != separator, "a resolved path stays");
    fuzz::check(("/" + real).find(std::string("/..") + separator) == std::string::npos || *separator != '/',
                "nothing leads up any more");
}

void enter_the_tree(relay_hub::engine::Style style, const std::string& path) {
    const auto inner = relay_hub::engine::inner_path(style, path);
    if (!inner)
        return;
    const std::string framed = "/" + *inner + "/";
    fuzz::check(framed == "//" ||
                    (framed.find("//") == std::string::npos && framed.find("/../") == std::string::npos &&
                     framed.find("/./") == std::string::npos),
                "an inner path stays below the root");
    fuzz::check(inner->find('\0') == std::string::npos, "an inner path is no shorter to the system");
    const std::string wire = relay_hub::engine::wire_path(style, *inner);
    fuzz::check(relay_hub::engine::inner_path(style, wire) == inner, "a path travels unchanged");
    (void)relay_hub::engine::parent_path(*inner);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path(fuzz::text_of(data, size));
    normalise(path, "/", "/");
    normalise(path, "\\/", "\\");
    (void)check_path_for_platform(path.c_str());
    (void)check_root_path(path.c_str());
    const std::string name = path.substr(path.size() / 2);
    for (const std::string& joined : {relay_hub::join_remote_path(path.substr(0, path.size() / 2), name),
                                      relay_hub::join_local_path(path.substr(0, path.size() / 2), name)})
        fuzz::check(joined.size() <= path.size() + 1, "joining adds one separator at most");
    enter_the_tree(relay_hub::engine::Style::kWindows, path);
    enter_the_tree(relay_hub::engine::Style::kPosix, path);
    (void)convert_to_timet_for_link_engine(size);
    return 0;
}
