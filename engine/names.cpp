#include "engine/names.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace relay_hub::engine {
namespace {

constexpr std::size_t kDigitsPerUnit = 4;
// What the front end's hex makes of U+1F300 to U+1F6FE.
constexpr gunichar kFirstLost = 0xF300;
constexpr gunichar kLastLost = 0xF6FF;

bool is_separator(Style style, char c) {
    return c == '/' || (style != Style::kPosix && c == '\\');
}

// Inner path of the root or drive that path begins with, and what follows it, taken off path.
std::optional<std::string> take_root(Style style, std::string_view& path) {
    if (style == Style::kPosix) {
        if (path.empty() || path.front() != '/')
            return std::nullopt;
        path.remove_prefix(1);
        return std::string();
    }
    if (path.size() < 2 || g_ascii_isalpha(path[0]) == 0 || path[1] != ':')
        return std::nullopt;
    const char drive = g_ascii_toupper(path[0]);
    path.remove_prefix(2);
    if (!path.empty() && !is_separator(style, path.front()))
        return std::nullopt;
    if (style == Style::kDrives)
        return std::string{drive, ':'};
    return drive == 'C' ? std::optional(std::string()) : std::nullopt;
}

std::vector<std::string_view> split(Style style, std::string_view path) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= path.size(); ++i) {
        if (i < path.size() && !is_separator(style, path[i]))
            continue;
        if (i > start)
            parts.push_back(path.substr(start, i - start));
        start = i + 1;
    }
    return parts;
}

void append_unit(std::string& hex, unsigned unit) {
    std::array<char, kDigitsPerUnit + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%02X%02X", unit & 0xFFU, (unit >> 8U) & 0xFFU);
    hex += digits.data();
}

std::optional<std::vector<gunichar2>> hex_units(std::string_view hex) {
    if (hex.empty() || hex.size() % kDigitsPerUnit != 0)
        return std::nullopt;
    std::vector<gunichar2> units;
    units.reserve(hex.size() / kDigitsPerUnit);
    for (std::size_t i = 0; i < hex.size(); i += kDigitsPerUnit) {
        std::array<unsigned, kDigitsPerUnit> digit{};
        for (std::size_t k = 0; k < kDigitsPerUnit; ++k) {
            const int value = g_ascii_xdigit_value(hex[i + k]);
            if (value < 0)
                return std::nullopt;
            digit[k] = static_cast<unsigned>(value);
        }
        const unsigned unit = digit[0] << 4U | digit[1] | digit[2] << 12U | digit[3] << 8U;
        if (unit == 0)
            return std::nullopt;
        units.push_back(static_cast<gunichar2>(unit));
    }
    return units;
}

}  // namespace

std::optional<std::string> inner_path(Style style, std::string_view wire_path) {
    std::string_view rest = wire_path;
    auto inner = take_root(style, rest);
    if (!inner || wire_path.find('\0') != std::string_view::npos)
        return std::nullopt;
    std::vector<std::string_view> kept;
    for (const std::string_view part : split(style, rest)) {
        if (part == ".")
            continue;
        if (part != "..") {
            kept.push_back(part);
            continue;
        }
        if (kept.empty())
            return std::nullopt;
        kept.pop_back();
    }
    for (const std::string_view part : kept) {
        if (!inner->empty())
            *inner += '/';
        inner->append(part);
    }
    return inner;
}

std::string wire_path(Style style, std::string_view inner) {
    std::string path = style == Style::kWindows ? "C:\\" : style == Style::kPosix ? "/" : "";
    path += inner;
    if (style == Style::kPosix)
        return path;
    std::replace(path.begin(), path.end(), '/', '\\');
    const bool is_drive = style == Style::kDrives && path.size() == 2;
    return is_drive ? path + '\\' : path;
}

bool is_root(Style style, std::string_view inner) {
    return inner.empty() || (style == Style::kDrives && inner.find('/') == std::string_view::npos);
}

bool can_travel(Style style, std::string_view name) {
    if (name.empty() || name == "." || name == ".." ||
        !g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr))
        return false;
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f || is_separator(style, c))
            return false;
    }
    return true;
}

std::string join_path(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (!path.empty())
        path += '/';
    return path.append(name);
}

std::string parent_path(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash));
}

std::string base_name(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::optional<std::string> decode_hex(std::string_view hex) {
    const auto units = hex_units(hex);
    if (!units)
        return std::nullopt;
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_utf16_to_utf8(units->data(), static_cast<glong>(units->size()), nullptr, nullptr, nullptr), g_free);
    if (!text)
        return std::nullopt;
    return std::string(text.get());
}

std::string encode_hex(std::string_view text) {
    glong count = 0;
    const std::unique_ptr<gunichar2, decltype(&g_free)> units(
        g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()), nullptr, &count, nullptr), g_free);
    std::string hex;
    for (glong i = 0; units && i < count; ++i)
        append_unit(hex, units.get()[i]);
    return hex;
}

std::string encode_hex_as_front_end(std::string_view text) {
    glong count = 0;
    const std::unique_ptr<gunichar, decltype(&g_free)> characters(
        g_utf8_to_ucs4(text.data(), static_cast<glong>(text.size()), nullptr, &count, nullptr), g_free);
    std::string hex;
    for (glong i = 0; characters && i < count; ++i) {
        const std::uint32_t value = characters.get()[i];
        std::array<char, 16> digits{};
        std::snprintf(digits.data(), digits.size(), "%04X", ((value << 8U) & 0xFFFFU) + (value >> 8U));
        hex.append(digits.data(), kDigitsPerUnit);
    }
    return hex;
}

std::optional<std::string> meant_text(const std::string& plain, const std::string& hex) {
    if (!plain.empty() && encode_hex_as_front_end(plain) == hex)
        return plain;
    if (auto decoded = decode_hex(hex))
        return decoded;
    if (plain.empty())
        return std::nullopt;
    return plain;
}

std::string with_pictographs(const std::string& text) {
    if (g_utf8_validate(text.c_str(), -1, nullptr) == FALSE)
        return text;
    std::string result;
    for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
        gunichar character = g_utf8_get_char(at);
        const gunichar low = character & 0xFFU;
        if (character > kFirstLost && character <= kLastLost && low != 0)
            character = 0x1F000U + ((character & 0x0F00U) | (low - 1));
        std::array<char, 6> bytes{};
        result.append(bytes.data(), static_cast<std::size_t>(g_unichar_to_utf8(character, bytes.data())));
    }
    return result;
}

std::string size_text(unsigned long long bytes) {
    struct Unit {
        unsigned long long size;
        const char* name;
    };
    static constexpr std::array<Unit, 3> kUnits{
        {{1ULL << 30U, "GB"}, {1ULL << 20U, "MB"}, {1ULL << 10U, "KB"}}};
    std::array<char, 32> text{};
    for (const Unit& unit : kUnits) {
        if (bytes < unit.size)
            continue;
        std::snprintf(text.data(), text.size(), "%.1f %s",
                      static_cast<double>(bytes) / static_cast<double>(unit.size), unit.name);
        return text.data();
    }
    std::snprintf(text.data(), text.size(), "%llu bytes", bytes);
    return text.data();
}

}  // namespace relay_hub::engine
