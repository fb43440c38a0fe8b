#pragma once
// What went wrong with the items of one request, in the user's language. Pure but for the list itself; one
// thread at a time.
#include <cstddef>
#include <string>
#include <vector>

#include "engine/remote_file_system.h"

namespace relay_hub::engine {

struct Failure {
    std::string item;
    std::string reason;
};

// Counts every failure, and keeps as many as anybody reads.
class FailureList {
  public:
    void add(std::string item, std::string reason);
    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] std::size_t count() const { return count_; }
    [[nodiscard]] const std::vector<Failure>& kept() const { return kept_; }
    // The first names with their reasons, a line each.
    [[nodiscard]] std::string lines() const;
    // How many, and those lines, in the text of that id; empty for none.
    [[nodiscard]] std::string summary(const char* id) const;

  private:
    std::size_t count_ = 0;
    std::vector<Failure> kept_;
};

// Why it failed, without a full stop.
std::string reason_text(const Error& error);

}  // namespace relay_hub::engine
