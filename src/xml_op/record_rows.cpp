#include "xml_op/record_rows.h"

#include <array>
#include <cstring>
#include <string_view>

#include "base/diagnostics.h"

namespace relay_hub {
namespace {

constexpr std::size_t kBlockSize = 65536;
// Before each text of a row: whether the column has one.
constexpr char kNoText = 0;
constexpr char kText = 1;

// The folder itself and the one above: the list has its own row for the latter.
bool is_dot_name(std::string_view name) {
    return name == "." || name == "..";
}

// Returns where the next row begins.
const char* read_row(const char* at, std::array<const char*, kColumnCount>& texts) {
    for (const char*& text : texts) {
        const bool present = *at++ == kText;
        text = present ? at : nullptr;
        at += present ? std::strlen(at) + 1 : 0;
    }
    return at;
}

}  // namespace

void RecordRows::append(const char* const* texts) {
    if (blocks_.empty() || blocks_.back().size() >= kBlockSize)
        blocks_.emplace_back().reserve(kBlockSize + kBlockSize / 4);
    std::string& block = blocks_.back();
    for (int column = 0; column < kColumnCount; ++column) {
        block += texts[column] == nullptr ? kNoText : kText;
        if (texts[column] != nullptr)
            block.append(texts[column], std::strlen(texts[column]) + 1);
    }
    ++size_;
}

void RecordRows::move_to(RowFiller& filler) {
    std::array<const char*, kColumnCount> texts{};
    for (bool go_on = true; go_on && !blocks_.empty(); blocks_.pop_front()) {
        const std::string& block = blocks_.front();
        const char* at = block.data();
        while (go_on && at < block.data() + block.size()) {
            at = read_row(at, texts);
            const char* const name = texts[kColumnName] == nullptr ? "" : texts[kColumnName];
            if (is_dot_name(name))
                report(RELAY_HUB_HERE, "entry left out, its name is no name: ", name);
            else
                go_on = filler.add(texts.data());
        }
    }
    blocks_.clear();
    size_ = 0;
}

}  // namespace relay_hub
