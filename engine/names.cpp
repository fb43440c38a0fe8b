#include "engine/names.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "base/glib_owners.h"
#include "base/unicode_hex.h"

namespace relay_hub::engine {
namespace {

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

}  // namespace

std::optional<std::string> inner_path(Style style, std::string_view wire_path) {
    std::string_view remaining = wire_path;
    auto inner = take_root(style, remaining);
    if (!inner || wire_path.find('\0') != std::string_view::npos)
        return std::nullopt;
    std::string path(remaining);
    if (style != Style::kPosix)
        std::ranges::replace(path, '\\', '/');
    for (const auto& part : std::filesystem::path(path).relative_path().lexically_normal()) {
        // Only at its begin, where nothing is left to be taken away.
        if (part == "..")
            return std::nullopt;
        if (!part.empty() && part != ".")
            inner = join_path(*inner, part.native());
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
    return std::ranges::none_of(name, [style](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7f || is_separator(style, c);
    });
}

bool keeps_name(Style style, std::string_view name) {
    return style != Style::kDrives || !(name.ends_with('.') || name.ends_with(' '));
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

std::string common_form(const std::string& name) {
    const GText normal(g_utf8_normalize(name.data(), static_cast<gssize>(name.size()), G_NORMALIZE_NFD));
    return normal ? GText(g_utf8_casefold(normal.get(), -1)).get() : name;
}

std::optional<std::string> meant_text(const std::string& plain, const std::string& hex) {
    if (!plain.empty() && character_hex(plain) == hex)
        return plain;
    if (auto decoded = text_from_utf16_hex(hex))
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

}  // namespace relay_hub::engine
