#include <cstdlib>
#include <limits>
#include <string_view>

#include "xml_doc/message_writer.h"
#include "xml_doc/zev_xml.h"

namespace {

// Such a component could never be created, and no element bears an empty name.
bool is_nameless(std::string_view component) {
    return component.empty() || (component.front() == '[' && component.find(']') != std::string_view::npos);
}

// The components of a path below the document's root, one after the other, without copies.
class Components {
  public:
    explicit Components(std::string_view path) : remaining_(path), more_(!path.empty()) {}
    bool next(std::string_view& component) {
        if (!more_)
            return false;
        const std::size_t slash = remaining_.find('/');
        more_ = slash != std::string_view::npos;
        component = remaining_.substr(0, slash);
        remaining_.remove_prefix(more_ ? slash + 1 : remaining_.size());
        return true;
    }

  private:
    std::string_view remaining_;
    bool more_;
};

bool has_nameless(std::string_view below_root) {
    Components components(below_root);
    for (std::string_view component; components.next(component);)
        if (is_nameless(component))
            return true;
    return false;
}

// Cuts the root off the path. False, with the status set, for a path that leads nowhere.
bool take_below_root(std::string_view path, std::string_view& below_root) {
    if (path.empty()) {
        CXML::SetFailure("TagName should not be empty string");
        return false;
    }
    if (path.back() == '/') {
        CXML::SetFailure("TagName format error");
        return false;
    }
    below_root = path;
    if (path.front() != '/')
        return true;
    const std::size_t slash = path.find('/', 1);
    if (path.substr(1, slash - 1) != wire::kRoot) {
        CXML::SetFailure("The root tag should be \"ZEVMSG\"");
        return false;
    }
    below_root = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    return true;
}

}  // namespace

void CZEVXML::Split(const std::string& path, std::vector<std::string>& parts) {
    parts.clear();
    size_t start = 0;
    for (size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', start)) {
        parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    parts.push_back(path.substr(start));
}

bool CZEVXML::ParseTag(const std::string& path, std::vector<std::string>& parts) {
    parts.clear();
    std::string_view below_root;
    if (!take_below_root(path, below_root))
        return false;
    parts.emplace_back(wire::kRoot);
    Components components(below_root);
    for (std::string_view component; components.next(component);)
        parts.emplace_back(component);
    return true;
}

CXML* CZEVXML::GetParent() {
    if (m_adding) {
        if (CXML* const last = m_root.GetChildByTag(wire::kRecord, -1))
            return last;
    }
    if (m_current >= 1) {
        if (CXML* const record = m_root.GetChildByTag(wire::kRecord, m_current))
            return record;
    }
    return &m_root;
}

bool CZEVXML::GetXMLByTag(const std::string& path, bool create, CXML** node, CXML** parent) {
    std::string_view below_root;
    if (!take_below_root(path, below_root))
        return false;
    if (create && has_nameless(below_root)) {
        CXML::SetFailure("No Valid Tag Name");
        return false;
    }
    *parent = GetParent();
    *node = *parent;
    Components components(below_root);
    for (std::string_view component; components.next(component);) {
        *parent = *node;
        CXML* child = (*parent)->GetChildByTag(component, 1);
        if (child == nullptr && create)
            child = append_missing(**parent, std::string(component));
        if (child == nullptr)
            return false;
        *node = child;
    }
    return true;
}

// After a lookup that found nothing: appends as many elements as the component's index asks for.
CXML* CZEVXML::append_missing(CXML& parent, const std::string& component) {
    const size_t bracket = component.find('[');
    const bool indexed = bracket != std::string::npos && component.find(']') != std::string::npos;
    const std::string name = indexed ? component.substr(0, bracket) : component;
    const long wanted = indexed ? strtol(component.c_str() + bracket + 1, nullptr, 10) + 1 : 1;
    const long missing = indexed ? wanted - parent.GetMatchCount() : 1;
    CXML* last = nullptr;
    for (long added = 0; added < missing; ++added) {
        auto element = std::make_unique<CXML>(name.c_str());
        last = element.get();
        if (!parent.Adopt(std::move(element)))
            return nullptr;
    }
    return last;
}

CXML* CZEVXML::find(const std::string& path, bool create) {
    CXML* node = nullptr;
    CXML* parent = nullptr;
    return GetXMLByTag(path, create, &node, &parent) ? node : nullptr;
}

int CZEVXML::AddNew() {
    m_adding = true;
    return m_root.Adopt(std::make_unique<CXML>(wire::kRecord)) ? 1 : 0;
}

void CZEVXML::Update() {
    m_adding = false;
}

int CZEVXML::GetCount() {
    return m_root.GetChildCountByTag(wire::kRecord);
}

int CZEVXML::GetMRSCount(const std::string& path) {
    const CXML* const element = find(path);
    return element != nullptr ? element->GetChildCountByTag(wire::kRecord) : 0;
}

int CZEVXML::MoveFirst() {
    m_current = GetCount() > 0 ? 1 : 0;
    return m_current;
}

void CZEVXML::MoveNext() {
    if (m_current < std::numeric_limits<int>::max())
        ++m_current;
}

bool CZEVXML::MovePrev() {
    const bool moved = m_current > 0;
    if (moved)
        --m_current;
    return moved;
}

void CZEVXML::MoveLast() {
    m_current = GetCount();
}

bool CZEVXML::IsBOF() {
    return GetCount() > 0 && m_current == 1;
}

bool CZEVXML::IsEOF() {
    return m_current > GetCount() || m_current < 1;
}
