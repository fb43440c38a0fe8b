#pragma once
// Owners of what libxml2 hands out.
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>

#include "base/freed_by.h"

namespace relay_hub {

// xmlFree is a variable.
struct XmlTextFree {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

using XmlDocPtr = std::unique_ptr<xmlDoc, FreedBy<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, XmlTextFree>;
using XmlParser = std::unique_ptr<xmlParserCtxt, FreedBy<xmlFreeParserCtxt>>;

}  // namespace relay_hub
