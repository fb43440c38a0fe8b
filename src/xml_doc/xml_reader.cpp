#include <fcntl.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "base/file_descriptor.h"
#include "xml_doc/element_syntax.h"
#include "xml_doc/token_source.h"
#include "xml_doc/xml.h"

using relay_hub::AttributeText;
using relay_hub::CharacterData;
using relay_hub::StartTag;
using relay_hub::TokenSource;

namespace {

constexpr const char* kNoFile = "Fail to open input XML file";

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
    return parse_block(token.view(), source, 1);
}

bool CXML::ParseBlock(const CMabString& token, int descriptor) {
    TokenSource source(descriptor);
    return parse_block(token.view(), source, 1);
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
    std::string_view token;
    m_endOfData = !source.next(token, &text);
    m_text = CMabString(text.text());
    return CMabString(token);
}

bool CXML::OpenFile(const std::string& name) {
    if (name.empty()) {
        m_strOperErrDesc = "Input XML file name is empty";
        return false;
    }
    const relay_hub::FileDescriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        m_strOperErrDesc = kNoFile;
        return false;
    }
    m_fileName = std::make_unique<CMabString>(name);
    XMLRead(file.get());
    return m_bOperStatus;
}

bool CXML::SaveFile(const std::string& name) {
    const std::string target = name.empty() && m_fileName ? m_fileName->c_str() : name;
    const relay_hub::FileDescriptor file(open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    return file && XMLWrite(file.get());
}

bool CXML::read(TokenSource& source) {
    ResetContents();
    SetTagName("");
    m_endOfData = false;
    std::string_view token;
    do {
        m_endOfData = !source.next(token, nullptr);
    } while (relay_hub::is_declaration(token));
    const bool found = !m_endOfData;
    if (found)
        parse_block(token, source, 1);
    if (source.failed())
        SetFailure(kNoFile);
    else if (m_tagName.IsEmpty())
        SetFailure(relay_hub::kNoTagName);
    return found;
}

bool CXML::parse_block(std::string_view token, TokenSource& source, int depth) {
    ResetContents();
    if (depth > kMaxDepth) {
        SetFailure(relay_hub::kTooDeep);
        return false;
    }
    if (relay_hub::is_blank_token(token))
        return true;
    const std::string_view bare = relay_hub::bare_name(token);
    if (bare.empty()) {
        SetFailure(relay_hub::kNoTagName);
        return false;
    }
    if (bare.starts_with('/'))
        SetFailure(relay_hub::kStrayEndTag + std::string(bare));
    const StartTag tag = relay_hub::split_start_tag(token);
    if (!tag.complete)
        SetFailure(relay_hub::kIncompleteTag);
    set_tag_name(CMabString(tag.name));
    if (!parse_attributes(tag.attributes)) {
        SetFailure(relay_hub::kIncompleteTag);
        return false;
    }
    return tag.self_closed || parse_content(source, depth);
}

bool CXML::parse_attributes(std::string_view attributes) {
    AttributeText attribute;
    while (!attributes.empty()) {
        if (!relay_hub::next_attribute(attributes, attribute))
            return false;
        set_attribute(CMabString(attribute.name), CMabString(attribute.value));
    }
    return true;
}

bool CXML::parse_content(TokenSource& source, int depth) {
    CharacterData data;
    std::string_view token;
    bool parsed = true;
    while (parsed) {
        m_endOfData = !source.next(token, &data);
        if (m_endOfData || relay_hub::is_end_tag(token, m_tagName.view()))
            break;
        if (relay_hub::is_declaration_or_comment(token)) {
            data.add_cdata(token);
            continue;
        }
        auto child = std::make_unique<CXML>();
        parsed = child->parse_block(token, source, depth + 1);
        if (parsed && !child->m_tagName.IsEmpty())
            Adopt(std::move(child));
    }
    std::string text = data.take();
    if (text.ends_with('\n'))
        text.pop_back();
    m_text = CMabString(std::move(text));
    return parsed;
}
