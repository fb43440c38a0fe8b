#pragma once
// One answer of the engine, taken from the answer slot or given as a text, parsed, with its fields judged.
#include <string>

#include "base/diagnostics.h"
#include "xml_op/Zev_xml_op.h"

namespace relay_hub {

// The readers' diagnostics name the unit of the remote pane.
inline constexpr const char* kRightSideUnit = "../src/side_function/Zev_right_side.cpp";

class ParsedAnswer {
  public:
    // Empties the slot; a request nested in what the reader does next finds it free.
    static ParsedAnswer take(const CallSite& site);
    // Hands each record of the answer to `callback`, if given, as soon as it is read, and drops its content
    // then, so that a long list never stands in memory as a tree. What it handed over counts only if form()
    // is 0.
    ParsedAnswer(std::string text, const CallSite& site, record_callback callback = nullptr,
                 void* context = nullptr);

    // 0, RET_XML_NULL or RET_XML_FMT_ERROR.
    int form() const { return form_; }
    const std::string& text() const { return text_; }
    // The root's first child; null when the form is not 0.
    xmlNode* fields() const { return fields_; }
    // The first field of that name, null when there is none.
    XmlText field(const char* tag) const;
    // 0 success, -1 failure, or the form's code, or RET_XML_TAG_MISS without a "T1".
    int result() const;
    // The engine's reason for a failure; null when it gave none.
    XmlText reason() const;

  private:
    [[nodiscard]] int judge_form(const CallSite& site);

    std::string text_;
    XmlDocPtr document_;
    xmlNode* fields_ = nullptr;
    int form_;
};

// The text of a field, null when it is missing.
inline const char* text_of(const XmlText& text) {
    return reinterpret_cast<const char*>(text.get());
}

}  // namespace relay_hub

#define RIGHT_SIDE_HERE                               \
    relay_hub::CallSite {                             \
        relay_hub::kRightSideUnit, __func__, __LINE__ \
    }
