#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "xml_doc/token_source.h"
#include "xml_doc/xml.h"

using relay_hub::CharacterData;
using relay_hub::TokenSource;

namespace {

constexpr const char* kNoTagName = "No Valid Tag Name";
constexpr const char* kIncomplete = "Warning Tag Block is Incomplete";
constexpr const char* kStrayEnd = "Warning Element Terminator exists without matching initial Block ";
constexpr const char* kTooDeep = "Elements are nested too deeply";
constexpr const char* kNoFile = "Fail to open input XML file";

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    int get() const { return number_; }

  private:
    int number_;
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const size_t first = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

bool second_is(std::string_view token, std::string_view marks) {
    return token.size() > 1 && marks.find(token[1]) != std::string_view::npos;
}

bool is_end_tag(std::string_view token, std::string_view name) {
    return token.size() == name.size() + 3 && token.starts_with("</") && token.ends_with('>') &&
           token.substr(2, name.size()) == name;
}

}  // namespace

bool CXML::LoadXML(const std::string& text) {
    constexpr size_t limit = std::numeric_limits<unsigned int>::max();
    CVMemFile file;
    // The file is only read from.
    auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
    file.Attach(bytes, static_cast<unsigned int>(std::min(text.size(), limit)), 0);
    return XMLRead(file);
}

bool CXML::XMLRead(CVMemFile& file) {
    TokenSource source(file);
    return read(source);
}

bool CXML::XMLRead(int descriptor) {
    TokenSource source(descriptor);
    return read(source);
}

bool CXML::ParseBlock(const CMabString& token, CVMemFile& file) {
    TokenSource source(file);
    std::string current(token.view());
    return parse_block(current, source, 1);
}

bool CXML::ParseBlock(const CMabString& token, int descriptor) {
    TokenSource source(descriptor);
    std::string current(token.view());
    return parse_block(current, source, 1);
}

CMabString CXML::GetNextLine(CVMemFile& file) {
    TokenSource source(file);
    return next_line(source);
}

CMabString CXML::GetNextLine(int descriptor) {
    TokenSource source(descriptor);
    return next_line(source);
}

CMabString CXML::next_line(TokenSource& source) {
    CharacterData text(m_text.view());
    std::string token;
    m_endOfData = !source.next(token, text);
    m_text = CMabString(text.text());
    return token;
}

bool CXML::OpenFile(const std::string& name) {
    if (name.empty()) {
        m_strOperErrDesc = "Input XML file name is empty";
        return false;
    }
    const Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        m_strOperErrDesc = kNoFile;
        return false;
    }
    m_fileName = name;
    XMLRead(file.get());
    return m_bOperStatus;
}

bool CXML::SaveFile(const std::string& name) {
    const std::string target = name.empty() ? m_fileName.c_str() : name;
    const Descriptor file(open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    return file.get() >= 0 && XMLWrite(file.get());
}

bool CXML::read(TokenSource& source) {
    ResetContents();
    SetTagName("");
    m_endOfData = false;
    std::string token;
    CharacterData ignored;
    do {
        m_endOfData = !source.next(token, ignored);
    } while (second_is(token, "?"));
    const bool found = !m_endOfData;
    if (found)
        parse_block(token, source, 1);
    if (source.failed())
        SetFailure(kNoFile);
    else if (m_tagName.IsEmpty())
        SetFailure(kNoTagName);
    return found;
}

bool CXML::parse_block(std::string& token, TokenSource& source, int depth) {
    ResetContents();
    if (depth > kMaxDepth) {
        SetFailure(kTooDeep);
        return false;
    }
    if (token.size() == 2 || !token.starts_with('<'))
        return true;
    const bool complete = token.size() > 1 && token.ends_with('>');
    std::string_view body = std::string_view(token).substr(1, token.size() - (complete ? 2 : 1));
    std::string_view name = body.substr(0, body.find(' '));
    if (name.empty()) {
        SetFailure(kNoTagName);
        return false;
    }
    if (name.starts_with('/'))
        SetFailure(kStrayEnd + std::string(name));
    if (!complete)
        SetFailure(kIncomplete);
    const bool self_closed = complete && body.ends_with('/');
    if (self_closed) {
        body.remove_suffix(1);
        name = body.substr(0, body.find(' '));
    }
    set_tag_name(CMabString(name));
    if (!parse_attributes(trimmed(body.substr(name.size())))) {
        SetFailure(kIncomplete);
        return false;
    }
    return self_closed || parse_content(token, source, depth);
}

bool CXML::parse_attributes(std::string_view rest) {
    while (!rest.empty()) {
        const size_t equals = rest.find('=');
        const size_t open = rest.find('"', std::min(equals, rest.size()));
        const size_t close = open == std::string_view::npos ? open : rest.find('"', open + 1);
        if (close == std::string_view::npos)
            return false;
        set_attribute(CMabString(trimmed(rest.substr(0, equals))),
                      CMabString(rest.substr(open + 1, close - open - 1)));
        rest = trimmed(rest.substr(close + 1));
    }
    return true;
}

bool CXML::parse_content(std::string& token, TokenSource& source, int depth) {
    CharacterData data;
    bool parsed = true;
    while (parsed) {
        m_endOfData = !source.next(token, data);
        if (m_endOfData || is_end_tag(token, m_tagName.view()))
            break;
        if (second_is(token, "!?"))
            continue;
        auto child = std::make_unique<CXML>();
        parsed = child->parse_block(token, source, depth + 1);
        if (parsed && !child->m_tagName.IsEmpty())
            Adopt(std::move(child));
    }
    std::string_view text = data.text();
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    m_text = CMabString(text);
    return parsed;
}
