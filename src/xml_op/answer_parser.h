#pragma once
// Parses a whole answer. Any thread; the callback runs on the calling one.
#include <string_view>

#include "xml_op/answer_readers.h"
#include "xml_op/xml_owners.h"

namespace relay_hub {

// Null for an empty text, and, after a diagnostic, for one that does not parse or has no root. With a
// callback, each outermost record is handed to it when its end is read; its content is dropped then, unless
// the answer's result stands in it.
XmlDocPtr parse_answer(std::string_view text, record_callback callback, void* context);

}  // namespace relay_hub
