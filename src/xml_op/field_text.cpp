#include "xml_op/field_text.h"

namespace relay_hub {
namespace {

const xmlNode* first_text(const xmlNode* node) {
    while (node != nullptr && ((node->type != XML_TEXT_NODE && node->type != XML_CDATA_SECTION_NODE) ||
                               node->content == nullptr))
        node = node->next;
    return node;
}

const char* content_of(const xmlNode* text) {
    return reinterpret_cast<const char*>(text->content);
}

}  // namespace

FieldText::FieldText(const xmlNode* field) {
    const xmlNode* piece = first_text(field->children);
    if (piece == nullptr)
        return;
    text_ = content_of(piece);
    const xmlNode* next = first_text(piece->next);
    if (next == nullptr)
        return;
    joined_ = text_;
    for (; next != nullptr; next = first_text(next->next))
        joined_ += content_of(next);
    text_ = joined_.c_str();
}

}  // namespace relay_hub
