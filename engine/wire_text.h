#pragma once
// Writes one message: fields in the order they are added, escaped as the message document escapes them.
// Written straight into one text, because a listing has a hundred thousand fields. One thread at a time.
#include <cstdint>
#include <string>
#include <string_view>

namespace relay_hub::engine {

class WireText {
  public:
    WireText();
    // An empty value is not written: a missing field and an empty one look the same on the wire.
    void add(std::string_view tag, std::string_view value);
    void add(std::string_view tag, std::uint64_t value);
    void begin_record();
    void end_record();
    [[nodiscard]] std::size_t size() const { return text_.size(); }
    // Takes back what was added since size() returned mark.
    void cut_back(std::size_t mark) { text_.resize(mark); }
    // The whole message; the writer is spent.
    std::string finish();

  private:
    std::string text_;
};

// "T1" success; failure with its reason in "T2".
std::string success_text();
std::string failure_text(std::string_view reason);

// The text as valid UTF-8 without control characters (a line end stays), cut at a character so that it has
// at most limit bytes.
std::string presentable(std::string_view text, std::size_t limit);
// The same without line ends: names, and what goes into a log.
std::string in_one_line(std::string_view text, std::size_t limit = 1000);

}  // namespace relay_hub::engine
