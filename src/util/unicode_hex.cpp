#include <langinfo.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>

#include "util/path_time_text.h"

namespace {

constexpr std::size_t kDigits = 4;
constexpr long kNotConverted = -1;
constexpr char kHexDigits[] = "0123456789ABCDEF";

using Byte = unsigned char;

bool is_tail(Byte byte) {
    return (byte & 0xC0U) == 0x80U;
}

// Decodes one well-formed sequence at text; returns its length, or 0 for anything unusual.
std::size_t decode_utf8(const Byte* text, wchar_t* out) {
    // Each test stops at the terminating zero, which is no tail byte.
    const Byte lead = text[0];
    if (lead >= 0xC2U && lead <= 0xDFU && is_tail(text[1])) {
        *out = static_cast<wchar_t>(((lead & 0x1FU) << 6U) | (text[1] & 0x3FU));
        return 2;
    }
    if ((lead & 0xF0U) == 0xE0U && is_tail(text[1]) && is_tail(text[2])) {
        *out = static_cast<wchar_t>(((lead & 0x0FU) << 12U) | ((text[1] & 0x3FU) << 6U) | (text[2] & 0x3FU));
        const bool surrogate = *out >= 0xD800 && *out <= 0xDFFF;
        return *out >= 0x800 && !surrogate ? 3 : 0;
    }
    if ((lead & 0xF8U) == 0xF0U && is_tail(text[1]) && is_tail(text[2]) && is_tail(text[3])) {
        *out = static_cast<wchar_t>(((lead & 0x07U) << 18U) | ((text[1] & 0x3FU) << 12U) |
                                    ((text[2] & 0x3FU) << 6U) | (text[3] & 0x3FU));
        return *out >= 0x10000 && *out <= 0x10FFFF ? 4 : 0;
    }
    return 0;
}

void write_hex(std::uint32_t value, char* out) {
    std::uint32_t swapped = ((value << 8U) & 0xFFFFU) + (value >> 8U);
    // A fifth digit pushes the last one out.
    while (swapped > 0xFFFFU)
        swapped >>= 4U;
    out[0] = kHexDigits[swapped >> 12U];
    out[1] = kHexDigits[(swapped >> 8U) & 0xFU];
    out[2] = kHexDigits[(swapped >> 4U) & 0xFU];
    out[3] = kHexDigits[swapped & 0xFU];
}

bool locale_is_utf8() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

// Hands each character to the sink. False when the text holds what only mbstowcs may judge.
template <typename Sink>
bool decode_plain_utf8(const char* text, std::size_t length, Sink sink) {
    const auto* next = reinterpret_cast<const Byte*>(text);
    const Byte* const end = next + length;
    while (next < end) {
        if (*next < 0x80U) {
            sink(static_cast<wchar_t>(*next++));
            continue;
        }
        wchar_t character = L'\0';
        const std::size_t used = decode_utf8(next, &character);
        if (used == 0)
            return false;
        sink(character);
        next += used;
    }
    return true;
}

// The same result as mbstowcs(wide, text, length), which alone is too slow for megabytes of names.
long to_wide(const char* text, std::size_t length, wchar_t* wide) {
    wchar_t* out = wide;
    if (locale_is_utf8() &&
        decode_plain_utf8(text, length, [&out](wchar_t character) { *out++ = character; }))
        return out - wide;
    // mbstowcs leaves what follows an invalid byte as the caller had it.
    std::wmemset(wide, L'\0', static_cast<std::size_t>(out - wide));
    return static_cast<long>(std::mbstowcs(wide, text, length));
}

// Not terminated: room for four bytes a value.
template <typename Value>
void write_hex_text(const Value* values, std::size_t count, char* hex_out) {
    for (std::size_t index = 0; index < count; ++index)
        write_hex(static_cast<std::uint32_t>(values[index]), hex_out + kDigits * index);
}

int hex_digit(char byte) {
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    if (byte >= 'A' && byte <= 'F')
        return byte - 'A' + 10;
    if (byte >= 'a' && byte <= 'f')
        return byte - 'a' + 10;
    return -1;
}

Byte hex_pair(const char* pair) {
    const int high = hex_digit(pair[0]);
    if (high < 0)
        return 0;
    const int low = hex_digit(pair[1]);
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
    if (wide_buffer == nullptr)
        return -1;
    if (text != nullptr)
        ansi_string_to_unicode_hex(text, wide_buffer, count_out);
    if (hex_out == nullptr)
        return -1;
    if (*count_out >= 1) {
        const auto count = static_cast<std::size_t>(*count_out);
        write_hex_text(wide_buffer, count, hex_out);
        hex_out[kDigits * count] = '\0';
    }
    return 0;
}

int unicode_hex_to_unicode_hex_string(const std::uint32_t* values, int count, char* hex_out) {
    if (count >= 1) {
        write_hex_text(values, static_cast<std::size_t>(count), hex_out);
        hex_out[kDigits * static_cast<std::size_t>(count)] = '\0';
    }
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
    std::string hex(kDigits * length, '\0');
    if (locale_is_utf8()) {
        char* out = hex.data();
        const auto write = [&out](wchar_t character) {
            write_hex(static_cast<std::uint32_t>(character), out);
            out += kDigits;
        };
        if (decode_plain_utf8(text.c_str(), length, write)) {
            hex.resize(static_cast<std::size_t>(out - hex.data()));
            return hex;
        }
    }
    const auto wide = std::make_unique<wchar_t[]>(length + 1);
    long count = 0;
    ansi_string_to_unicode_hex(text.c_str(), wide.get(), &count);
    const std::size_t characters = count < 1 ? 0 : static_cast<std::size_t>(count);
    write_hex_text(wide.get(), characters, hex.data());
    hex.resize(kDigits * characters);
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
