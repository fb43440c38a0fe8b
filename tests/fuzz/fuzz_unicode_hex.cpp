// The unicode-hex form of names, both ways, in the window and in the engine.
#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwchar>

#include "engine/names.h"
#include "fuzz_input.h"
#include "util/path_time_text.h"

namespace {

void decode_into_buffers(const std::string& hex) {
    const std::size_t length = std::strlen(hex.c_str());
    const std::string decoded = relay_hub::text_from_unicode_hex(hex);
    std::string text(length / 4 * MB_CUR_MAX + MB_CUR_MAX + 1, '\0');
    fuzz::check(unicode_hex_string_to_ansi_string(hex.c_str(), text.data()) == 0, "a text is decoded");
    fuzz::check(decoded == text.c_str(), "both forms decode alike");
    for (const int size : {0, 1, 2, 7, static_cast<int>(length / 2 + 1)}) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        (void)HexStr2Binary(hex.c_str(), reinterpret_cast<unsigned char*>(bytes.data()), size);
        std::wstring wide(static_cast<std::size_t>(size) / sizeof(wchar_t) + 1, L'\0');
        (void)HexStr2UnicodeStr(hex.c_str(), wide.data(), size);
    }
}

void encode(const std::string& text) {
    const std::size_t length = std::strlen(text.c_str());
    std::wstring wide(length + 1, L'\0');
    std::string hex(4 * length + 1, '\0');
    long count = 0;
    fuzz::check(ansi_to_unicode_hex(text.c_str(), wide.data(), &count, hex.data()) == 0, "a text is taken");
    const std::string encoded = relay_hub::unicode_hex(text);
    fuzz::check(encoded == hex.c_str(), "both forms encode alike");
    fuzz::check((count > 0 ? 4 * static_cast<std::size_t>(count) : 0) == encoded.size(), "four digits each");
    if (count > 0 && wide.find_first_of(L'\0') == static_cast<std::size_t>(count) &&
        *std::max_element(wide.begin(), wide.end()) <= 0xFFFF) {
        fuzz::check(relay_hub::text_from_unicode_hex(encoded) == text.c_str(), "a text travels unchanged");
        fuzz::check(relay_hub::engine::decode_hex(encoded) == text.c_str(), "the engine reads it alike");
    }
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz::check(std::setlocale(LC_ALL, "C.UTF-8") != nullptr, "a locale");
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(fuzz::text_of(data, size));
    decode_into_buffers(text);
    encode(text);
    if (const auto decoded = relay_hub::engine::decode_hex(text))
        fuzz::check(relay_hub::engine::meant_text("", text) == decoded, "the engine means what it decodes");
    (void)relay_hub::engine::meant_text(text, relay_hub::unicode_hex(text));
    (void)relay_hub::engine::with_pictographs(text);
    return 0;
}
