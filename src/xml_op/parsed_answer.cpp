#include "xml_op/parsed_answer.h"

#include <cstring>
#include <utility>

#include "link_engine/answer_slot.h"
#include "link_engine/message_names.h"

namespace relay_hub {

ParsedAnswer ParsedAnswer::take(const CallSite& site) {
    return {take_answer(), site};
}

ParsedAnswer::ParsedAnswer(std::string text, const CallSite& site, record_callback callback, void* context)
    : text_(std::move(text)), document_(parse_answer(text_, callback, context)), form_(judge_form(site)) {}

int ParsedAnswer::judge_form(const CallSite& site) {
    if (document_ == nullptr)
        return RET_XML_NULL;
    if (check_root_element(wire::kRoot, document_.get()) != 0) {
        report(site, "document of the wrong type, root node !=", wire::kRoot);
        return RET_XML_FMT_ERROR;
    }
    fields_ = xmlDocGetRootElement(document_.get())->children;
    return 0;
}

XmlText ParsedAnswer::field(const char* tag) const {
    return XmlText(get_xml_content_by_first(fields_, tag));
}

int ParsedAnswer::result() const {
    if (form_ != 0)
        return form_;
    const XmlText result_text = field(wire::kResult);
    if (result_text == nullptr)
        return RET_XML_TAG_MISS;
    return std::strcmp(text_of(result_text), wire::kSuccess) == 0 ? 0 : -1;
}

XmlText ParsedAnswer::reason() const {
    return field(wire::kReason);
}

}  // namespace relay_hub
