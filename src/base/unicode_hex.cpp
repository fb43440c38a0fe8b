#include "base/unicode_hex.h"

#include <glib.h>

#include <memory>
#include <vector>

#include "base/glib_owners.h"

namespace relay_hub {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

void write_digits(std::uint32_t value, char* out) {
    for (unsigned digit = 0; digit < kUnicodeHexDigits; ++digit)
        out[digit] = kHexDigits[(value >> (12U - 4U * digit)) & 0xFU];
}

// 0 for what is no unit.
gunichar2 read_unit(const char* digits) {
    int digit[kUnicodeHexDigits];
    for (std::size_t index = 0; index < kUnicodeHexDigits; ++index) {
        digit[index] = g_ascii_xdigit_value(digits[index]);
        if (digit[index] < 0)
            return 0;
    }
    return static_cast<gunichar2>(digit[0] << 4 | digit[1] | digit[2] << 12 | digit[3] << 8);
}

}  // namespace

void write_character_hex(std::uint32_t character, char* out) {
    std::uint32_t swapped = ((character << 8U) & 0xFFFFU) + (character >> 8U);
    // A fifth digit pushes the last one out.
    while (swapped > 0xFFFFU)
        swapped >>= 4U;
    write_digits(swapped, out);
}

std::optional<std::string> character_hex(std::string_view text) {
    if (!g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        return std::nullopt;
    std::string hex(kUnicodeHexDigits * text.size(), '\0');
    char* out = hex.data();
    const char* const end = text.data() + text.size();
    for (const char* at = text.data(); at < end; at = g_utf8_next_char(at)) {
        write_character_hex(g_utf8_get_char(at), out);
        out += kUnicodeHexDigits;
    }
    hex.resize(static_cast<std::size_t>(out - hex.data()));
    return hex;
}

std::string utf16_hex(std::string_view text) {
    glong count = 0;
    const std::unique_ptr<gunichar2, FreedBy<g_free>> units(
        g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()), nullptr, &count, nullptr));
    std::string hex(units ? kUnicodeHexDigits * static_cast<std::size_t>(count) : 0, '\0');
    for (std::size_t at = 0; at < hex.size(); at += kUnicodeHexDigits)
        write_character_hex(units.get()[at / kUnicodeHexDigits], hex.data() + at);
    return hex;
}

std::optional<std::string> text_from_utf16_hex(std::string_view hex) {
    if (hex.empty() || hex.size() % kUnicodeHexDigits != 0)
        return std::nullopt;
    std::vector<gunichar2> units(hex.size() / kUnicodeHexDigits);
    for (std::size_t index = 0; index < units.size(); ++index) {
        units[index] = read_unit(hex.data() + kUnicodeHexDigits * index);
        if (units[index] == 0)
            return std::nullopt;
    }
    const GText text(
        g_utf16_to_utf8(units.data(), static_cast<glong>(units.size()), nullptr, nullptr, nullptr));
    if (!text)
        return std::nullopt;
    return std::string(text.get());
}

}  // namespace relay_hub
