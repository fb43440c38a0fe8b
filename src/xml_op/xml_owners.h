#pragma once
// Owners of what libxml2 hands out.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>

namespace relay_hub {

struct XmlDocFree {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
struct XmlTextFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
struct XmlParserFree {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

using XmlDocPtr = std::unique_ptr<xmlDoc, XmlDocFree>;
using XmlText = std::unique_ptr<xmlChar, XmlTextFree>;
using XmlParser = std::unique_ptr<xmlParserCtxt, XmlParserFree>;

}  // namespace relay_hub
