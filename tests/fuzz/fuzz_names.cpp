// Names and paths: the unicode-hex form both ways, in the window and in the engine; path normalisation, and
// what the engine takes for a path of its tree. Times, sizes and other numbers as they stand in fields.
#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwchar>

#include "base/path_text.h"
#include "base/size_text.h"
#include "base/unicode_hex.h"
#include "engine/names.h"
#include "fuzz_input.h"
#include "util/ansi_unicode_hex.h"
#include "util/path_kind.h"
#include "util/path_stack.h"
#include "util/time_and_size.h"
#include "xml_doc/mab_string.h"

namespace {

namespace engine = relay_hub::engine;

void decode_into_buffers(const std::string& hex) {
    const std::size_t length = std::strlen(hex.c_str());
    std::string text(length / 4 * MB_CUR_MAX + MB_CUR_MAX + 1, '\0');
    check(unicode_hex_string_to_ansi_string(hex.c_str(), text.data()) == 0, "a text is decoded");
    check(text.starts_with(relay_hub::text_from_unicode_hex(hex) + '\0'), "both forms decode alike");
    for (const int size : {0, 1, 2, 7, static_cast<int>(length / 2 + 1)}) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        (void)HexStr2Binary(hex.c_str(), reinterpret_cast<unsigned char*>(bytes.data()), size);
        std::wstring wide(static_cast<std::size_t>(size) / sizeof(wchar_t) + 1, L'\0');
        (void)HexStr2UnicodeStr(hex.c_str(), wide.data(), size);
    }
    if (const auto decoded = relay_hub::text_from_utf16_hex(hex))
        check(engine::meant_text("", hex) == decoded, "the engine means what it decodes");
}

void encode(const std::string& text) {
    const std::size_t length = std::strlen(text.c_str());
    std::wstring wide(length + 1, L'\0');
    std::string hex(4 * length + 1, '\0');
    long count = 0;
    check(ansi_to_unicode_hex(text.c_str(), wide.data(), &count, hex.data()) == 0, "a text is taken");
    const std::string encoded = relay_hub::unicode_hex(text);
    check(hex.starts_with(encoded + '\0'), "both forms encode alike");
    check((count > 0 ? 4 * static_cast<std::size_t>(count) : 0) == encoded.size(), "four digits each");
    if (count > 0 && wide.find_first_of(L'\0') == static_cast<std::size_t>(count) &&
        *std::max_element(wide.begin(), wide.end()) <= 0xFFFF) {
        check(relay_hub::text_from_unicode_hex(encoded) == text.substr(0, length),
              "a text travels unchanged");
        check(relay_hub::text_from_utf16_hex(encoded) == text.c_str(), "the engine reads it alike");
    }
    (void)engine::meant_text(text, encoded);
    (void)engine::with_pictographs(text);
}

void normalise(const std::string& path, const char* delimiters, const char* separator) {
    std::string real, again;
    check(ConvertToRealPath(path.c_str(), delimiters, real, separator) == 0, "a path is resolved");
    ConvertToRealPath(real.c_str(), separator, again, separator);
    check(again == real || std::string_view(delimiters) != separator, "a resolved path stays");
    check(("/" + real).find(std::string("/..") + separator) == std::string::npos || *separator != '/',
          "nothing leads up any more");
}

void enter_the_tree(engine::Style style, const std::string& path) {
    const auto inner = engine::inner_path(style, path);
    if (!inner)
        return;
    const std::string framed = "/" + *inner + "/";
    for (const std::string_view never : {std::string_view("//"), std::string_view("/../"),
                                         std::string_view("/./"), std::string_view("\0", 1)})
        check(framed == "//" || framed.find(never) == std::string::npos,
              "an inner path stays below the root");
    check(engine::inner_path(style, engine::wire_path(style, *inner)) == inner, "a path travels unchanged");
    (void)engine::parent_path(*inner);
}

void read_numbers(const std::string& text) {
    _filetime filetime;
    std::uint64_t raw = 0;
    const bool taken = seconds_convert_to_ms_filetime(text.c_str(), &filetime, &raw) == 0;
    check(raw == std::strtoull(text.c_str(), nullptr, 10), "the number is the text's");
    check(!taken || ((std::uint64_t{filetime.high} << 32U) | filetime.low) == raw, "both halves are kept");
    std::time_t seconds = 0;
    check(ms_filetime_to_timet(&filetime, &seconds) == 0, "every time is one");
    check(!taken || raw > INT32_MAX || convert_to_timet_for_link_engine(raw) == static_cast<int>(raw),
          "seconds stay");
    const std::string shown = relay_hub::size_text(raw);
    check(shown.size() <= 24 && (raw >= 1024 || shown == std::to_string(raw) + " bytes"), "a size is short");
    CMabString number(text.c_str());
    check(number.GetInt() == static_cast<int>(number.GetLong()), "an integer is a cut long");
    (void)number.GetDouble();
    number.PutDouble(number.GetDouble(), 12, 'E');
    number.PutLong(number.GetLong(), 8);
    check(number.GetLength() == 8 || number.view() == "Error", "a field keeps its width, or says so");
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    check(std::setlocale(LC_ALL, "C.UTF-8") != nullptr, "a locale");
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(text_of(data, size));
    decode_into_buffers(text);
    encode(text);
    normalise(text, "/", "/");
    normalise(text, "\\/", "\\");
    (void)check_path_for_platform(text.c_str());
    (void)check_root_path(text.c_str());
    const std::string folder = text.substr(0, size / 2), name = text.substr(size / 2);
    for (const std::string& joined :
         {relay_hub::join_remote_path(folder, name), relay_hub::join_local_path(folder, name)})
        check(joined.size() <= size + 1, "joining adds one separator at most");
    for (const engine::Style style : {engine::Style::kWindows, engine::Style::kPosix, engine::Style::kDrives})
        enter_the_tree(style, text);
    read_numbers(text);
    return 0;
}
