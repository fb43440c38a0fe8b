#pragma once
// Reads a command line by a table: switches, options with a value ("--name value" or "--name=value"), and,
// where the program takes them, words that are no option. Refusals are in the user's language: the
// catalogue is bound before.
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

#include "base/translated_text.h"

namespace relay_hub {

template <typename Options>
struct CommandOption {
    const char* name;
    bool Options::*field = nullptr;  // of a switch
    const char* needs = nullptr;     // of an option with a value: the id of the text that names it
    bool (*set)(Options& options,
                const std::string& value) = nullptr;  // false for a value that is not accepted
};

// Gets each word that is no option. False, with the reason in wrong, for one that is not accepted.
template <typename Options>
using WordTaker = bool (*)(Options& options, const std::string& word, std::string& wrong);

// Fills options. False, with the reason in wrong, for a command line that the table does not know.
template <typename Options, std::size_t kCount>
bool read_options(const CommandOption<Options> (&table)[kCount], const std::vector<std::string>& words,
                  Options& options, std::string& wrong, WordTaker<Options> take_word = nullptr) {
    for (std::size_t at = 0; at < words.size(); ++at) {
        const std::string& word = words[at];
        if (take_word != nullptr && !word.starts_with('-')) {
            if (!take_word(options, word, wrong))
                return false;
            continue;
        }
        const std::size_t equals = word.find('=');
        const bool has_equals = equals != std::string::npos;
        const auto* option = std::find_if(std::begin(table), std::end(table), [&](const auto& row) {
            return word.substr(0, row.field == nullptr ? equals : std::string::npos) == row.name;
        });
        if (option == std::end(table)) {
            wrong = fill_translated("IDS_OPTION_UNKNOWN", {word});
            return false;
        }
        if (option->field != nullptr) {
            options.*(option->field) = true;
            continue;
        }
        const bool has_value = has_equals || at + 1 < words.size();
        if (!has_value || !option->set(options, has_equals ? word.substr(equals + 1) : words[++at])) {
            wrong = fill_translated("IDS_OPTION_NEEDS", {option->name, translated(option->needs)});
            return false;
        }
    }
    return true;
}

// What a program says of a command line that it refuses.
inline std::string refusal(const std::string& wrong, const char* program) {
    return wrong + "\n" + fill_translated("IDS_OPTION_TRY_HELP", {program});
}

}  // namespace relay_hub
