// Cuts a text, a memory file or a descriptor into markup tokens. What was read ahead is given back when it
// goes: the file then stands behind the last token. It borrows what it reads, which must stay alive and
// unchanged meanwhile.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "base/non_copyable.h"
#include "xml_doc/mem_file.h"

namespace relay_hub {

// What encloses character data in which markup means nothing.
inline constexpr std::string_view kCdataBegin = "<![CDATA[";
inline constexpr std::string_view kCdataEnd = "]]>";

// The character data of one element, collected piece by piece between its tags.
class CharacterData {
  public:
    explicit CharacterData(std::string_view text = {}) : text_(text) {}
    // Adds what stood between two tokens; a lone byte below 33 is layout and dropped.
    void add(std::string_view run);
    // Adds a CDATA section's token, escaped as its text would have to be outside of one. Any other token adds
    // nothing.
    void add_cdata(std::string_view token);
    std::string_view text() const { return std::string_view(text_).substr(dropped_); }
    // The text itself, without a copy where nothing was dropped; spent then.
    std::string take() { return dropped_ == 0 ? std::move(text_) : text_.substr(dropped_); }

  private:
    std::string text_;
    size_t dropped_ = 0;  // leading line feeds that no longer count
};

class TokenSource : NonCopyable {
  public:
    explicit TokenSource(CVMemFile& file);
    explicit TokenSource(std::string_view text);
    explicit TokenSource(int descriptor);
    ~TokenSource();

    // The next token from "<" to ">", valid until the next call, and what stood before it, which goes to
    // `text` unless that is null. A token that the input's end cut off comes as it is. False, with an empty
    // token, when there is no further "<".
    bool next(std::string_view& token, CharacterData* text);
    bool failed() const { return failed_; }

  private:
    enum class Stop { before, behind };
    std::string_view take(char mark, Stop stop);
    std::string_view take_unparsed();
    std::string_view unread() const { return window_.substr(std::min(at_, window_.size())); }
    bool begins_with(std::string_view mark);
    bool fill();
    bool grow();

    CVMemFile* file_ = nullptr;
    int descriptor_ = -1;
    bool seekable_ = false;
    bool ended_ = false;
    bool failed_ = false;
    std::string buffer_;
    std::string_view window_;
    size_t at_ = 0;
    std::string joined_;  // what is taken out of more than one window
};

}  // namespace relay_hub
