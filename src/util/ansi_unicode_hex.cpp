#include "util/ansi_unicode_hex.h"

#include <glib.h>
#include <langinfo.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

#include "base/unicode_hex.h"

namespace {

constexpr long kNotConverted = -1;

using Byte = unsigned char;

bool locale_is_utf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

// The same result as mbstowcs(wide, text, length), which alone is too slow for megabytes of names.
long to_wide(const char* text, std::size_t length, wchar_t* wide) {
    if (!locale_is_utf8() || !g_utf8_validate(text, static_cast<gssize>(length), nullptr))
        return static_cast<long>(std::mbstowcs(wide, text, length));
    wchar_t* out = wide;
    for (const char* at = text; at < text + length; at = g_utf8_next_char(at))
        *out++ = static_cast<wchar_t>(g_utf8_get_char(at));
    return out - wide;
}

// As mbstowcs with no buffer counts.
long count_characters(const char* text) {
    const std::size_t length = std::strlen(text);
    const bool plain = locale_is_utf8() && g_utf8_validate(text, static_cast<gssize>(length), nullptr);
    const long count = plain ? g_utf8_strlen(text, static_cast<gssize>(length))
                             : static_cast<long>(std::mbstowcs(nullptr, text, 0));
    if (count == kNotConverted)
        std::printf("mbstowcs fail\n");
    return count;
}

// Four bytes a value and a final zero; nothing for no value.
template <typename Value>
void write_hex_text(const Value* values, long count, char* hex_out) {
    for (long index = 0; index < count; ++index, hex_out += relay_hub::kUnicodeHexDigits)
        relay_hub::write_character_hex(static_cast<std::uint32_t>(values[index]), hex_out);
    if (count > 0)
        *hex_out = '\0';
}

Byte hex_pair(const char* pair) {
    const int high = g_ascii_xdigit_value(pair[0]);
    if (high < 0)
        return 0;
    const int low = g_ascii_xdigit_value(pair[1]);
    return static_cast<Byte>(low < 0 ? high : high * 16 + low);
}

// Decodes at most limit bytes; returns how many.
std::size_t decode_hex(std::string_view hex, Byte* out, std::size_t limit) {
    std::size_t count = 0;
    // A lone last digit is read together with the text's terminating zero.
    for (std::size_t at = 0; at < hex.size() && count < limit; at += 2)
        out[count++] = hex_pair(hex.data() + at);
    return count;
}

void append_character(std::string& text, wchar_t character) {
    if (character == L'\0')
        return;
    if (character < 0x80) {
        text += static_cast<char>(character);
        return;
    }
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    const std::size_t length = std::wcrtomb(bytes, character, &state);
    if (length == static_cast<std::size_t>(-1))
        std::printf("wctomb faill!\n");
    else
        text.append(bytes, length);
}

}  // namespace

int ansi_string_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out) {
    if (text == nullptr)
        return -1;
    if (wide_buffer == nullptr)
        return -1;
    *count_out = to_wide(text, std::strlen(text), wide_buffer);
    if (*count_out == kNotConverted)
        std::printf("mbstowcs fail\n");
    return 0;
}

int ansi_to_unicode_hex(const char* text, wchar_t* wide_buffer, long* count_out, char* hex_out) {
    if (wide_buffer == nullptr) {
        if (text != nullptr && count_out != nullptr)
            *count_out = count_characters(text);
        return -1;
    }
    if (text != nullptr)
        ansi_string_to_unicode_hex(text, wide_buffer, count_out);
    if (hex_out == nullptr)
        return -1;
    write_hex_text(wide_buffer, *count_out, hex_out);
    return 0;
}

int unicode_hex_to_unicode_hex_string(const std::uint32_t* values, int count, char* hex_out) {
    write_hex_text(values, count, hex_out);
    return 0;
}

int HexStr2Binary(const char* hex, unsigned char* out, int size) {
    const std::string_view digits(hex);
    if (size == 0) {
        const int half = static_cast<int>(digits.size() / 2);
        std::printf("size is zero:%d\n", half);
        return half;
    }
    const int room = size - 1;
    if (room < 1)
        return room;
    return room - static_cast<int>(decode_hex(digits, out, static_cast<std::size_t>(room)));
}

int HexStr2UnicodeStr(const char* hex, wchar_t* wide_out, int size) {
    return HexStr2Binary(hex, reinterpret_cast<Byte*>(wide_out), size);
}

int unicode_hex_string_to_ansi_string(const char* hex_in, char* text_out) {
    if (hex_in == nullptr || text_out == nullptr)
        return -1;
    const std::string text = relay_hub::text_from_unicode_hex(hex_in);
    std::memcpy(text_out, text.c_str(), text.size() + 1);
    return 0;
}

namespace relay_hub {

std::string unicode_hex(const std::string& text) {
    const std::size_t length = std::strlen(text.c_str());
    if (locale_is_utf8()) {
        if (std::optional<std::string> hex = character_hex({text.c_str(), length}))
            return *std::move(hex);
    }
    std::string hex(kUnicodeHexDigits * length, '\0');
    const auto wide = std::make_unique<wchar_t[]>(length + 1);
    long count = 0;
    ansi_string_to_unicode_hex(text.c_str(), wide.get(), &count);
    write_hex_text(wide.get(), count, hex.data());
    hex.resize(relay_hub::kUnicodeHexDigits * static_cast<std::size_t>(std::max(count, 0L)));
    return hex;
}

std::string text_from_unicode_hex(const std::string& hex) {
    const std::string_view digits(hex.c_str());
    // One zero byte more, for a text whose last unit lacks its high byte.
    std::string bytes(digits.size() / 2 + 2, '\0');
    const std::size_t count = decode_hex(digits, reinterpret_cast<Byte*>(bytes.data()), digits.size());
    std::string text;
    text.reserve(count / 2);
    for (std::size_t at = 0; at < count; at += 2) {
        const auto low = static_cast<Byte>(bytes[at]);
        const auto high = static_cast<Byte>(bytes[at + 1]);
        append_character(text, static_cast<wchar_t>(low + 256 * high));
    }
    return text;
}

}  // namespace relay_hub
