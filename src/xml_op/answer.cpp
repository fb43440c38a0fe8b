#include "xml_op/answer.h"

#include <climits>
#include <cstring>

#include "link_engine/answer_slot.h"
#include "link_engine/message_names.h"
#include "xml_op/answer_readers.h"

namespace relay_hub {

Answer Answer::take(const CallSite& site) {
    Answer answer(get_xml_string(), site);
    release_xml_string();
    return answer;
}

Answer::Answer(const char* text, const CallSite& site)
    : text_(text == nullptr ? "" : text), form_(RET_XML_NULL) {
    if (text_.empty() || text_.size() > INT_MAX)
        return;
    xmlNode* root = nullptr;
    document_.reset(get_xml_structure(text_.c_str(), static_cast<int>(text_.size()), &root));
    if (document_ == nullptr)
        return;
    if (check_root_element(wire::kRoot, document_.get()) != 0) {
        report(site, "document of the wrong type, root node !=", wire::kRoot);
        form_ = RET_XML_FMT_ERROR;
        return;
    }
    fields_ = root->children;
    form_ = 0;
}

std::size_t Answer::field_count() const {
    return fields_ == nullptr ? 0 : xmlChildElementCount(fields_->parent);
}

XmlText Answer::field(const char* tag) const {
    return XmlText(get_xml_content_by_first(fields_, tag));
}

int Answer::result() const {
    if (form_ != 0)
        return form_;
    const XmlText told = field(wire::kResult);
    if (told == nullptr)
        return RET_XML_TAG_MISS;
    return std::strcmp(text_of(told), wire::kSuccess) == 0 ? 0 : -1;
}

XmlText Answer::reason() const {
    return field(wire::kReason);
}

}  // namespace relay_hub
