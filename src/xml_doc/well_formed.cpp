#include "xml_doc/well_formed.h"

#include <vector>

#include "xml_doc/element_syntax.h"
#include "xml_doc/token_source.h"
#include "xml_doc/xml.h"

namespace relay_hub {
namespace {

bool are_attributes(std::string_view rest) {
    AttributeText ignored;
    while (!rest.empty())
        if (!next_attribute(rest, ignored))
            return false;
    return true;
}

class Check {
  public:
    explicit Check(std::string_view text) : source_(text) {}

    bool run() {
        std::string_view token;
        do {
            if (!source_.next(token, nullptr))
                return false;
        } while (is_declaration(token));
        if (is_blank_token(token) || !open(token))
            return false;
        while (!open_.empty() && source_.next(token, nullptr)) {
            if (is_end_tag(token, open_.back()))
                open_.pop_back();
            else if (!is_declaration_or_comment(token) && !open(token))
                return false;
        }
        return true;
    }

  private:
    // False for a token that the reader would tell as a failure.
    bool open(std::string_view token) {
        if (open_.size() >= static_cast<size_t>(CXML::kMaxDepth))
            return false;
        if (is_blank_token(token))
            return true;
        const std::string_view bare = bare_name(token);
        if (bare.empty() || bare.starts_with('/'))
            return false;
        const StartTag tag = split_start_tag(token);
        if (!tag.complete || !are_attributes(tag.attributes))
            return false;
        if (!tag.self_closed)
            open_.push_back(tag.name);
        return true;
    }

    TokenSource source_;
    std::vector<std::string_view> open_;
};

}  // namespace

bool is_well_formed(std::string_view text) {
    return Check(text).run();
}

}  // namespace relay_hub
