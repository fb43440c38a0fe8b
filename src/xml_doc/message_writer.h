// Writes one message straight into a text, fields in the order they are added and escaped as the message
// document escapes them: a listing or a long request has a hundred thousand of them. One thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wire {

// The element around every message, and that around each record in it.
inline constexpr char kRoot[] = "ZEVMSG";
inline constexpr char kRecord[] = "Line";

}  // namespace wire

namespace relay_hub {

class MessageWriter {
  public:
    MessageWriter();
    // An empty value is not written: a missing field and an empty one look the same on the wire.
    void add(std::string_view tag, std::string_view value);
    void add(std::string_view tag, std::uint64_t value);
    // What is added up to the matching end stands inside of an element.
    void begin(std::string_view tag);
    void end(std::string_view tag);
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

}  // namespace relay_hub
