#pragma once
// The text of one field of an answer: all its text and CDATA children, one behind the other. Comments,
// processing instructions and elements within are passed over, so that nothing hides in front of a name.
#include <libxml/tree.h>

#include <string>

#include "base/non_copyable.h"

namespace relay_hub {

// Borrows the text from the tree where it stands there in one piece; the tree must outlive it unchanged.
class FieldText : NonCopyable {
  public:
    explicit FieldText(const xmlNode* field);

    // Never null.
    [[nodiscard]] const char* get() const { return text_; }

  private:
    std::string joined_;
    const char* text_ = "";
};

}  // namespace relay_hub
