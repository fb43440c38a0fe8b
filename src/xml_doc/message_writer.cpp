#include "xml_doc/message_writer.h"

#include <utility>

#include "base/message_escape.h"

namespace relay_hub {

MessageWriter::MessageWriter() {
    begin(wire::kRoot);
}

void MessageWriter::add(std::string_view tag, std::string_view value) {
    if (value.empty())
        return;
    begin(tag);
    append_escaped(text_, value);
    end(tag);
}

void MessageWriter::add(std::string_view tag, std::uint64_t value) {
    add(tag, std::to_string(value));
}

void MessageWriter::begin(std::string_view tag) {
    text_.append("<").append(tag).push_back('>');
}

void MessageWriter::end(std::string_view tag) {
    text_.append("</").append(tag).push_back('>');
}

void MessageWriter::begin_record() {
    begin(wire::kRecord);
}

void MessageWriter::end_record() {
    end(wire::kRecord);
}

std::string MessageWriter::finish() {
    end(wire::kRoot);
    return std::move(text_);
}

}  // namespace relay_hub
