#include "xml_op/Zev_xml_op.h"

#include <climits>
#include <cstring>
#include <string>

#include "base/diagnostics.h"
#include "link_engine/message_names.h"
#include "xml_op/answer_text.h"
#include "xml_op/field_text.h"

namespace {

using relay_hub::XmlDocPtr;

// Readers of the logs know the failure of every parse by this function.
#define STRUCTURE_SITE                                                \
    relay_hub::CallSite {                                             \
        "../src/xml_op/Zev_xml_op.cpp", "get_xml_structure", __LINE__ \
    }

bool is_named(const xmlNode* node, const char* name) {
    return node->name != nullptr && std::strcmp(reinterpret_cast<const char*>(node->name), name) == 0;
}

// A document type is the way to entities that grow without bound or name other files: it ends the parse.
void refuse_document_type(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    xmlStopParser(parser);
    parser->wellFormed = 0;
}

// Who takes the records of the answer that is being parsed.
struct Records {
    record_callback callback;
    void* context;
};

bool is_outermost_record(const xmlNode* node) {
    if (!is_named(node, wire::kRecord))
        return false;
    for (const xmlNode* above = node->parent; above != nullptr; above = above->parent)
        if (is_named(above, wire::kRecord))
            return false;
    return true;
}

void hand_over(xmlNode* record, const Records& records) {
    records.callback(record, records.context);
    const relay_hub::XmlText result(get_xml_content_by_first(record->children, wire::kResult));
    if (result != nullptr)
        return;
    // The element itself stays: the parser knows it as the last one of its parent.
    xmlFreeNodeList(record->children);
    record->children = record->last = nullptr;
}

void end_element(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    const auto* parser = static_cast<xmlParserCtxt*>(context);
    xmlNode* const element = parser->node;
    xmlSAX2EndElementNs(context, name, prefix, uri);
    if (element != nullptr && is_outermost_record(element))
        hand_over(element, *static_cast<const Records*>(parser->_private));
}

XmlDocPtr parse(std::string_view text, Records records) {
    const relay_hub::XmlParser parser(xmlNewParserCtxt());
    if (parser == nullptr)
        return nullptr;
    parser->sax->internalSubset = refuse_document_type;
    if (records.callback != nullptr) {
        parser->_private = &records;
        parser->sax->endElementNs = end_element;
    }
    return XmlDocPtr(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr,
                                       "UTF-8", XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

// The nodes of a walk over first, its following siblings and what lies below them, in document order. The
// walk keeps no stack, so no depth of the answer can overflow ours.
class Walk {
  public:
    explicit Walk(xmlNode* first) : node_(first), above_(first == nullptr ? nullptr : first->parent) {}

    xmlNode* node() const { return node_; }
    void skip_children() { node_ = next_beside(node_); }
    void descend() {
        const bool has_elements_below = node_->type == XML_ELEMENT_NODE && node_->children != nullptr;
        node_ = has_elements_below ? node_->children : next_beside(node_);
    }

  private:
    xmlNode* next_beside(xmlNode* node) const {
        while (node->next == nullptr) {
            node = node->parent;
            if (node == nullptr || node == above_)
                return nullptr;
        }
        return node->next;
    }

    xmlNode* node_;
    xmlNode* above_;
};

xmlChar* content_copy(const xmlNode* node) {
    if (node->type == XML_ELEMENT_NODE)
        return xmlStrdup(reinterpret_cast<const xmlChar*>(relay_hub::FieldText(node).get()));
    return xmlStrdup(node->content != nullptr ? node->content : reinterpret_cast<const xmlChar*>(""));
}

}  // namespace

namespace relay_hub {

XmlDocPtr parse_answer(std::string_view text, record_callback callback, void* context) {
    if (text.empty())
        return nullptr;
    std::string storage;
    XmlDocPtr document;
    if (text.size() <= INT_MAX)
        document = parse(readable_answer(text, storage), {callback, context});
    if (document == nullptr) {
        report(STRUCTURE_SITE, "Document not parsed successfully.");
        return nullptr;
    }
    if (xmlDocGetRootElement(document.get()) == nullptr) {
        report(STRUCTURE_SITE, "empty document");
        return nullptr;
    }
    return document;
}

}  // namespace relay_hub

xmlDoc* get_xml_structure(const char* text, int length, xmlNode** root) {
    const bool given = text != nullptr && length > 0;
    XmlDocPtr document = relay_hub::parse_answer(
        given ? std::string_view(text, static_cast<std::size_t>(length)) : "", nullptr, nullptr);
    if (!given)
        relay_hub::report(STRUCTURE_SITE, "Document not parsed successfully.");
    *root = document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
    return document.release();
}

int check_root_element(const char* expected, xmlDoc* document) {
    const xmlNode* const root = xmlDocGetRootElement(document);
    return xmlStrcmp(root == nullptr ? nullptr : root->name, reinterpret_cast<const xmlChar*>(expected));
}

xmlChar* get_xml_content_by_first(xmlNode* node, const char* tag) {
    for (Walk walk(node); walk.node() != nullptr; walk.descend()) {
        if (is_named(walk.node(), tag))
            return content_copy(walk.node());
    }
    return nullptr;
}

xmlChar* get_xml_content_by_last(xmlNode* node, const char* tag) {
    xmlNode* last = nullptr;
    const auto keep = [](xmlNode* found, void* place) {
        *static_cast<xmlNode**>(place) = found;
        return 0;
    };
    (void)traversal_xml(node, tag, keep, &last);
    return last == nullptr ? nullptr : content_copy(last);
}

int traversal_xml(xmlNode* node, const char* tag, record_callback callback, void* context) {
    Walk walk(node);
    while (walk.node() != nullptr) {
        if (is_named(walk.node(), tag)) {
            if (callback(walk.node(), context) == -1)
                return -1;
            walk.skip_children();
        } else {
            walk.descend();
        }
    }
    return 0;
}
