#include "xml_doc/mab_string.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <utility>

#include "xml_doc/number_text.h"

namespace {

constexpr const char* kBlanks = " \t\n\v\f\r";

const char* or_empty(const char* text) {
    return text != nullptr ? text : "";
}

size_t not_negative(int n) {
    return n > 0 ? static_cast<size_t>(n) : 0;
}

std::string_view first_bytes(const char* text, int n) {
    const char* const known = or_empty(text);
    return {known, strnlen(known, not_negative(n))};
}

int found(size_t position) {
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

// The last match counts only where it does not lie before `start`.
int found_behind(size_t position, int start) {
    const bool before = position != std::string::npos && start > 0 && position < static_cast<size_t>(start);
    return found(before ? std::string::npos : position);
}

int lower(char c) {
    return std::tolower(static_cast<unsigned char>(c));
}

bool same_no_case(char a, char b) {
    return lower(a) == lower(b);
}

// Where the last search that may begin at or before `start` begins; npos (the end) for -1.
size_t search_no_case(std::string_view text, std::string_view wanted, size_t start) {
    if (start > text.size())
        return std::string::npos;
    const auto at = std::search(text.begin() + static_cast<ptrdiff_t>(start), text.end(), wanted.begin(),
                                wanted.end(), same_no_case);
    const bool none = at == text.end() && !wanted.empty();
    return none ? std::string::npos : static_cast<size_t>(at - text.begin());
}

size_t search_back_no_case(std::string_view text, std::string_view wanted) {
    if (wanted.size() > text.size())
        return std::string::npos;
    for (size_t at = text.size() - wanted.size() + 1; at-- > 0;)
        if (std::equal(wanted.begin(), wanted.end(), text.begin() + static_cast<ptrdiff_t>(at), same_no_case))
            return at;
    return std::string::npos;
}

size_t search_case(std::string_view text, std::string_view wanted, size_t start) {
    return text.find(wanted, start);
}

template <typename Search>
std::string replaced(std::string_view text, std::string_view from, std::string_view to, bool all,
                     Search search) {
    std::string result;
    size_t start = 0;
    while (!from.empty()) {
        const size_t at = search(text, from, start);
        if (at == std::string::npos)
            break;
        result.append(text.substr(start, at - start)).append(to);
        start = at + from.size();
        if (!all)
            break;
    }
    return result.append(text.substr(start));
}

}  // namespace

CMabString::CMabString(const char* text) {
    assign(or_empty(text));
}
CMabString::CMabString(const char* text, int n) {
    assign(first_bytes(text, n));
}
CMabString::CMabString(char c, int n) {
    assign(std::string(not_negative(n), c));
}
CMabString::CMabString(const std::string& text) {
    assign(text);
}
CMabString::CMabString(std::string&& text) : m_text(std::move(text)) {
    m_text.resize(std::min(m_text.find('\0'), m_text.size()));
    m_size = GetLength();
}
CMabString::CMabString(std::string_view text) {
    assign(text);
}
CMabString::CMabString(const CMabString& other) {
    assign(other.m_text);
}

CMabString::CMabString(CMabString&& other) noexcept
    : m_text(std::move(other.m_text)), m_size(static_cast<int>(m_text.size())) {
    other.Empty();
}

CMabString& CMabString::operator=(const char* text) {
    assign(or_empty(text));
    return *this;
}

CMabString& CMabString::operator=(const CMabString& other) {
    assign(other.m_text);
    return *this;
}

CMabString& CMabString::operator=(CMabString&& other) noexcept {
    if (this != &other) {
        m_text = std::move(other.m_text);
        m_cursor = 0;
        m_size = GetLength();
        other.Empty();
    }
    return *this;
}

CMabString& CMabString::operator=(long value) {
    PutLong(value, 8);
    return *this;
}

CMabString& CMabString::operator=(double value) {
    PutDouble(value, 8, 'E');
    return *this;
}

CMabString& CMabString::operator+=(char c) {
    ConcatCopy(c);
    return *this;
}

CMabString& CMabString::operator+=(const char* text) {
    ConcatCopy(text);
    return *this;
}

CMabString& CMabString::operator+=(const CMabString& other) {
    m_text += other.m_text;
    return *this;
}

// The bytes may be part of this very text.
void CMabString::assign(std::string_view text) {
    m_text.assign(text.substr(0, text.find('\0')));
    m_cursor = 0;
    m_size = GetLength();
}

void CMabString::SetAt(int position, char c) {
    const auto at = static_cast<size_t>(position);
    if (c == '\0')
        m_text.resize(at);
    else
        m_text[at] = c;
}

char* CMabString::GetBuffer(int n) {
    m_text.resize(std::max(m_text.size(), not_negative(n)));
    return m_text.data();
}

void CMabString::ReleaseBuffer(int n) {
    const size_t limit = n < 0 ? m_text.size() : std::min(m_text.size(), not_negative(n));
    m_text.resize(strnlen(m_text.data(), limit));
}

void CMabString::AllocString(int n) {
    m_text.clear();
    m_text.reserve(not_negative(n));
    m_cursor = 0;
    m_size = std::max(n, 0);
}

void CMabString::ReAllocString(int n) {
    m_text.resize(std::min(m_text.size(), not_negative(n)));
    m_text.reserve(not_negative(n));
}

void CMabString::ConcatCopy(const char* text) {
    m_text += or_empty(text);
}

void CMabString::ConcatCopy(char c) {
    if (c != '\0')
        m_text += c;
}

void CMabString::ConcatCopy2(const char* text, int n) {
    m_text += first_bytes(text, n);
}

void CMabString::ConcatCopy(const char* first, const char* second) {
    assign(std::string(or_empty(first)) + or_empty(second));
}

void CMabString::StringCopy(int n, const char* text) {
    assign(first_bytes(text, n));
}

void CMabString::StringCopy(CMabString& dest, int count, int first, int spare) const {
    dest = Mid(first, count);
    dest.m_text.reserve(dest.m_text.size() + not_negative(spare));
}

int CMabString::Find(char c, int start) const {
    return found(m_text.find(c, not_negative(start)));
}

int CMabString::Find(const char* text, int start) const {
    return found(m_text.find(or_empty(text), not_negative(start)));
}

int CMabString::FindNoCase(char c, int start) const {
    return found(search_no_case(m_text, {&c, 1}, not_negative(start)));
}

int CMabString::FindNoCase(const char* text, int start) const {
    return found(search_no_case(m_text, or_empty(text), not_negative(start)));
}

int CMabString::ReverseFind(char c) const {
    return found(m_text.rfind(c));
}

int CMabString::ReverseFind(const char* text, int start) const {
    return found_behind(m_text.rfind(or_empty(text)), start);
}

int CMabString::ReverseFindNoCase(char c, int start) const {
    return found_behind(search_back_no_case(m_text, {&c, 1}), start);
}

int CMabString::ReverseFindNoCase(const char* text, int start) const {
    return found_behind(search_back_no_case(m_text, or_empty(text)), start);
}

int CMabString::FindOneOf(const char* set) const {
    return found(m_text.find_first_of(or_empty(set)));
}

CMabString CMabString::SpanIncluding(const char* set) const {
    return Left(static_cast<int>(strspn(c_str(), or_empty(set))));
}

CMabString CMabString::SpanExcluding(const char* set) const {
    return Left(static_cast<int>(strcspn(c_str(), or_empty(set))));
}

int CMabString::Compare(const char* other) const {
    return strcmp(c_str(), or_empty(other));
}

int CMabString::Collate(const char* other) const {
    return strcoll(c_str(), or_empty(other));
}

int CMabString::tcsicmp(const char* a, const char* b) {
    const char* left = or_empty(a);
    const char* right = or_empty(b);
    while (*left != '\0' && same_no_case(*left, *right)) {
        ++left;
        ++right;
    }
    return lower(*left) - lower(*right);
}

int CMabString::tcsicoll(const char* a, const char* b) {
    CMabString left(a);
    CMabString right(b);
    left.MakeLower();
    right.MakeLower();
    return left.Collate(right);
}

void CMabString::MakeUpper() {
    for (char& c : m_text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

void CMabString::MakeLower() {
    for (char& c : m_text)
        c = static_cast<char>(lower(c));
}

void CMabString::MakeReverse() {
    std::reverse(m_text.begin(), m_text.end());
}

CMabString CMabString::Right(int n) const {
    return Mid(static_cast<int>(m_text.size() - std::min(m_text.size(), not_negative(n))));
}

CMabString CMabString::Mid(int first) const {
    return Mid(first, INT_MAX);
}

CMabString CMabString::Mid(int first, int n) const {
    const size_t from = std::min(not_negative(first), m_text.size());
    return CMabString(view().substr(from, not_negative(n)));
}

void CMabString::Insert(int position, char c) {
    const char text[] = {c, '\0'};
    Insert(position, text);
}

void CMabString::Insert(int position, const char* text) {
    m_text.insert(std::min(not_negative(position), m_text.size()), or_empty(text));
}

void CMabString::Remove(char c) {
    std::erase(m_text, c);
}

void CMabString::Replace(char from, char to) {
    std::replace(m_text.begin(), m_text.end(), from, to);
    m_text.resize(strlen(c_str()));
}

void CMabString::Replace(int first, int n, const char* text) {
    m_text.replace(std::min(not_negative(first), m_text.size()), not_negative(n), or_empty(text));
}

void CMabString::FindReplace(const char* find, const char* replacement, bool all) {
    m_text = replaced(m_text, or_empty(find), or_empty(replacement), all, search_case);
}

void CMabString::FindReplaceNoCase(const char* find, const char* replacement, bool all) {
    m_text = replaced(m_text, or_empty(find), or_empty(replacement), all, search_no_case);
}

void CMabString::Trim() {
    TrimRight();
    TrimLeft();
}

void CMabString::TrimLeft() {
    m_text.erase(0, std::min(m_text.find_first_not_of(kBlanks), m_text.size()));
}

void CMabString::TrimRight() {
    m_text.resize(m_text.find_last_not_of(kBlanks) + 1);
}

void CMabString::NoControlChar() {
    for (char& c : m_text)
        if (static_cast<signed char>(c) < 32)
            c = ' ';
}

void CMabString::NoDoubleSpace() {
    const auto two_blanks = [](char a, char b) { return a == ' ' && b == ' '; };
    m_text.erase(std::unique(m_text.begin(), m_text.end(), two_blanks), m_text.end());
}

void CMabString::Fill(int n, char c) {
    if (c != '\0')
        m_text.resize(std::max(m_text.size(), not_negative(n)), c);
}

void CMabString::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = relay_hub::print_text(format, arguments);
    va_end(arguments);
    assign(text);
}

int CMabString::GetFieldCount(char delimiter) const {
    return 1 + static_cast<int>(std::count(m_text.begin(), m_text.end(), delimiter));
}

int CMabString::GetFieldCount(const char* delimiter) const {
    const std::string_view wanted = or_empty(delimiter);
    int count = 1;
    for (size_t at = 0; !wanted.empty() && (at = m_text.find(wanted, at)) != std::string::npos; ++count)
        at += wanted.size();
    return count;
}

CMabString CMabString::FirstField(char delimiter) {
    m_cursor = 0;
    return NextField(delimiter);
}

CMabString CMabString::NextField(char delimiter) {
    if (m_cursor < 0 || m_cursor > m_size || m_cursor > GetLength())
        return {};
    const int end = Find(delimiter, m_cursor);
    CMabString field = end < 0 ? Mid(m_cursor) : Mid(m_cursor, end - m_cursor);
    m_cursor = end < 0 ? -1 : end + 1;
    return field;
}

CMabString CMabString::GetField(char delimiter, int n) const {
    const char text[] = {delimiter, '\0'};
    return GetField(text, n);
}

CMabString CMabString::GetField(const char* delimiter, int n) const {
    const std::string_view wanted = or_empty(delimiter);
    size_t start = 0;
    for (int field = 0; field < n; ++field) {
        const size_t at = wanted.empty() ? std::string::npos : m_text.find(wanted, start);
        if (at == std::string::npos)
            return {};
        start = at + wanted.size();
    }
    const size_t end = wanted.empty() ? std::string::npos : m_text.find(wanted, start);
    return CMabString(view().substr(start, end - start));
}

CMabString CMabString::GetDelimitedField(const char* open, const char* close, int n) const {
    const std::string_view opening = or_empty(open);
    const std::string_view closing = or_empty(close);
    if (n < 0)
        return {};
    size_t at = m_text.find(opening);
    // With an empty `close` each further search finds the same place.
    const int skipped = closing.empty() ? 0 : n;
    for (int field = 0; field < skipped && at != std::string::npos; ++field)
        at = m_text.find(opening, at + closing.size());
    if (at == std::string::npos)
        return {};
    at += opening.size();
    const size_t end = m_text.find(closing, at);
    return end == std::string::npos ? CMabString() : CMabString(view().substr(at, end - at));
}

namespace {

CMabString joined(std::string_view a, std::string_view b) {
    std::string text;
    text.reserve(a.size() + b.size());
    return {text.append(a).append(b)};
}

}  // namespace

CMabString operator+(const CMabString& a, const CMabString& b) {
    return joined(a.view(), b.view());
}
CMabString operator+(const CMabString& a, const char* b) {
    return joined(a.view(), or_empty(b));
}
CMabString operator+(const char* a, const CMabString& b) {
    return joined(or_empty(a), b.view());
}
