#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "xml_doc/mab_string.h"
#include "xml_doc/number_text.h"
#include "xml_doc/oper_status.h"

using relay_hub::print_number;
using relay_hub::read_number;

const CMabString CMabString::m_csNAN("NaN");
const CMabString CMabString::m_csNINF("-Inf");
const CMabString CMabString::m_csPINF("+Inf");

namespace {

constexpr int kReadBytes = 32;

}  // namespace

long CMabString::GetLong() const {
    return strtol(Left(kReadBytes).c_str(), nullptr, 10);
}

double CMabString::GetDouble() {
    TestExp();
    return read_number(Left(kReadBytes).c_str());
}

bool CMabString::IsInt() const {
    return Find('.') == 0;
}

bool CMabString::IsFloat() const {
    return Find('.') != 0;
}

void CMabString::TestExp() {
    const int sign = std::max(ReverseFind('+'), ReverseFind('-'));
    if (sign > 1 && strchr(" eE", GetAt(sign - 1)) == nullptr)
        Insert(sign, 'E');
}

int CMabString::atoin(const char* text, int n) {
    return static_cast<int>(strtol(CMabString(text, n).c_str(), nullptr, 10));
}

void CMabString::PutLong(long value, int width) {
    unsigned long remaining =
        value < 0 ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
    std::string text(static_cast<size_t>(std::max(width, 0)), '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit) {
        *digit = static_cast<char>('0' + remaining % 10);
        remaining /= 10;
    }
    const size_t last = text.empty() ? 0 : text.size() - 1;
    const size_t first = std::min(text.find_first_not_of('0'), last);
    std::fill_n(text.begin(), first, ' ');
    if (value < 0 && first == 0)
        text = "Error";
    else if (value < 0)
        text[first - 1] = '-';
    assign(text);
}

bool CMabString::put_special(double value) {
    if (std::isnan(value))
        *this = m_csNAN;
    else if (std::isinf(value))
        *this = value < 0 ? m_csNINF : m_csPINF;
    else
        return false;
    return true;
}

void CMabString::PutDouble(double value, int width, char exponent) {
    if (put_special(value))
        return;
    if (width < 4) {
        AllocString(0);
        OperStatus::SetFailure("Minimum String Length is 4 for error handling!");
        return;
    }
    const std::string rendering = print_number("%9.2E", value);
    const int magnitude = std::abs(atoin(rendering.c_str() + 6, kReadBytes));
    const bool too_narrow = (value >= 0 && width <= magnitude + 2) || (value <= 0 && width <= magnitude + 3);
    if (too_narrow || (magnitude >= 3 && std::fabs(value) <= 1))
        put_exponent(value, width);
    else if (value > 1)
        assign(print_number("%*.*f", width, width - 2 - magnitude, value));
    else if (value > 0)
        assign(print_number("%*.*f", width, width - 2, value));
    else
        assign(print_number("%*.*f", width - 1, width - 3 - magnitude, value));
    const int letter = Find('E');
    if (letter > 0 && exponent != 'E')
        SetAt(letter - 1, exponent);
    if (width >= 17)
        Accuracy(16, exponent);
}

void CMabString::put_exponent(double value, int width) {
    const int spare = value > 0 ? 0 : 1;
    const int decimals = std::max(width - 4 - spare, 0);
    std::string text = print_number("%*.*E", width - spare, decimals, value);
    while (text.size() >= 3 && text[text.size() - 3] == '0')
        text.erase(text.size() - 3, 1);
    size_t letter = text.find('E');
    if (letter != std::string::npos && text.compare(letter, 2, "E+") == 0)
        text.erase(letter + 1, 1);
    const auto limit = static_cast<size_t>(width);
    while (text.size() > limit && letter != std::string::npos && letter > 0)
        text.erase(--letter, 1);
    if (text.size() > limit && letter < 4)
        text = "ERR";
    assign(text);
}

void CMabString::PutDoubleS(double value, int digits, char exponent) {
    if (put_special(value))
        return;
    if (!std::isnormal(value)) {
        assign(print_number("%.*f", std::max(digits, 0), 0.0));
        Accuracy(16, exponent);
        return;
    }
    const double size = std::fabs(value);
    const int power = static_cast<int>(std::log10(size)) - (size < 1 ? 1 : 0);
    const int decimals = std::max(digits - 1, 0);
    if (digits <= power || power < -2)
        assign(print_number("%.*f%c%d", decimals, value / std::pow(10.0, power), exponent, power));
    else if (digits - 1 == power && power >= 2)
        assign(print_number("%.0f.", value));
    else
        assign(print_number("%.*f", std::max(decimals - power, 0), value));
}

void CMabString::Accuracy(int digits, char stop) {
    const size_t end = std::min(m_text.find(stop), m_text.size());
    const size_t first = m_text.find_first_not_of("0-.");
    if (m_text.starts_with('#') || first >= end)
        return;
    for (size_t at = first + static_cast<size_t>(std::max(digits, 0)); at < end; ++at)
        if (m_text[at] != '.')
            m_text[at] = '0';
}

void CMabString::UsCur() {
    const double amount = GetDouble() + 0.001;
    assign(amount > 0.01 ? print_number("%14.2f", amount) : "");
    Trim();
}
