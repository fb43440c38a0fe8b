#pragma once
// The engine's answers as libxml2 trees. Parsing refuses a DOCTYPE, loads nothing and never expands entities
// of its own. Any thread; call-backs run on the calling one.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string_view>

#include "base/freed_by.h"

inline constexpr int RET_XML_NULL = -2;
inline constexpr int RET_XML_FMT_ERROR = -3;
inline constexpr int RET_XML_TAG_MISS = -4;

using record_callback = int (*)(xmlNode* node, void* context);

// Null, after a diagnostic, for a text that does not parse. The caller frees the document (xmlFreeDoc).
xmlDoc* get_xml_structure(const char* text, int length, xmlNode** root);
int check_root_element(const char* expected, xmlDoc* document);
// New text (xmlFree) or null.
xmlChar* get_xml_content_by_first(xmlNode* node, const char* tag);
xmlChar* get_xml_content_by_last(xmlNode* node, const char* tag);
int traversal_xml(xmlNode* node, const char* tag, record_callback callback, void* context);

namespace relay_hub {

// Owners of what libxml2 hands out.
// xmlFree is a variable.
struct XmlTextFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

using XmlDocPtr = std::unique_ptr<xmlDoc, FreedBy<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, XmlTextFree>;
using XmlParser = std::unique_ptr<xmlParserCtxt, FreedBy<xmlFreeParserCtxt>>;

// Null for an empty text, and, after a diagnostic, for one that does not parse or has no root. With a
// callback, each outermost record is handed to it when its end is read; its content is dropped then, unless
// the answer's result stands in it.
XmlDocPtr parse_answer(std::string_view text, record_callback callback, void* context);

}  // namespace relay_hub
