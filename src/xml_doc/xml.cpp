#include "xml_doc/xml.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <iterator>

#include "xml_doc/element_syntax.h"
#include "xml_doc/tag_index.h"
#include "xml_doc/tree_walk.h"

namespace {

constexpr size_t kNowhere = std::string::npos;
// Up to so many children a plain walk is cheaper than an index.
constexpr size_t kWalkLimit = 16;
// A record has about so many: without it four vectors were made for each.
constexpr size_t kUsualChildren = 8;

int lower(char c) {
    return std::tolower(static_cast<unsigned char>(c));
}

bool same_name(std::string_view a, std::string_view b) {
    return a == b || (a.size() == b.size() && CXML::CompareStringNoCase(a, b) == 0);
}

}  // namespace

CXML::CXML() = default;

CXML::CXML(const char* tag) : m_tagName(tag) {}

// One level at a time: a recursion would overflow the stack on a deep tree.
CXML::~CXML() {
    if (m_children.empty())
        return;
    Children doomed = std::move(m_children);
    while (!doomed.empty()) {
        const std::unique_ptr<CXML> element = std::move(doomed.back());
        doomed.pop_back();
        std::move(element->m_children.begin(), element->m_children.end(), std::back_inserter(doomed));
        element->m_children.clear();
    }
}

bool CXML::is_named_before(const CXML& a, const CXML& b) {
    return a.GetAttrText("NAME").CompareNoCase(b.GetAttrText("NAME")) < 0;
}

bool CXML::has_lower_id(const CXML& a, const CXML& b) {
    return a.GetAttrLong("ID") < b.GetAttrLong("ID");
}

void CXML::SetTagName(const char* name) {
    set_tag_name(name);
}

void CXML::set_tag_name(CMabString name) {
    m_tagName = std::move(name);
    if (m_parent != nullptr)
        m_parent->forget_index();
}

bool CXML::IsAlpha(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}

int CXML::CompareStringNoCase(std::string_view a, std::string_view b) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t at = 0; at < common; ++at)
        if (const int difference = lower(a[at]) - lower(b[at]); difference != 0)
            return difference;
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

bool CXML::insert(size_t position, CXML* child) {
    if (child == nullptr)
        return false;
    if (child->m_tagName.IsEmpty()) {
        SetFailure(relay_hub::kNoTagName);
        return false;
    }
    const bool appended = position == m_children.size();
    if (m_children.empty())
        m_children.reserve(kUsualChildren);
    if (position <= m_currentChild)
        ++m_currentChild;
    m_children.emplace(m_children.begin() + static_cast<ptrdiff_t>(position), child);
    child->m_parent = this;
    if (!appended)
        forget_index();
    else if (m_tagIndex)
        m_tagIndex->append(child->m_tagName.view(), position);
    return true;
}

bool CXML::AddChild(CXML* child) {
    return insert(m_children.size(), child);
}

bool CXML::Adopt(std::unique_ptr<CXML> child) {
    const bool taken = AddChild(child.get());
    if (taken)
        (void)child.release();
    return taken;
}

void CXML::AdoptChildrenOf(CXML& other) {
    for (auto& child : other.m_children)
        Adopt(std::move(child));
    other.m_children.clear();
    other.m_currentChild = 0;
    other.forget_index();
}

bool CXML::InsertChildBefore(int position, CXML* child) {
    if (position < 0 || position >= GetChildCount())
        return false;
    return insert(static_cast<size_t>(position), child);
}

bool CXML::add_before_greater(CXML* child, Before before) {
    const auto place = std::find_if(m_children.begin(), m_children.end(), [&](const auto& other) {
        return child != nullptr && before(*child, *other);
    });
    return insert(static_cast<size_t>(place - m_children.begin()), child);
}

void CXML::sort(Before before) {
    CXML* const current = GetCurrentChild();
    std::stable_sort(m_children.begin(), m_children.end(),
                     [&](const auto& a, const auto& b) { return before(*a, *b); });
    forget_index();
    SetCurrentChild(current);
}

CXML* CXML::GetChildAt(int position) const {
    const auto at = static_cast<size_t>(position);
    return position >= 0 && at < m_children.size() ? m_children[at].get() : nullptr;
}

void CXML::forget_index() {
    m_tagIndex.reset();
}

const relay_hub::TagIndex& CXML::tag_index() const {
    if (!m_tagIndex) {
        m_tagIndex = std::make_unique<relay_hub::TagIndex>();
        for (size_t at = 0; at < m_children.size(); ++at)
            m_tagIndex->append(m_children[at]->m_tagName.view(), at);
    }
    return *m_tagIndex;
}

CXML::Match CXML::match(std::string_view name, long nth) const {
    if (m_children.size() > kWalkLimit) {
        const std::span<const size_t> positions = tag_index().positions(name);
        const int count = static_cast<int>(positions.size());
        if (nth == -1)
            return {positions.empty() ? kNowhere : positions.back(), count};
        if (nth < 1 || nth > count)
            return {kNowhere, count};
        return {positions[static_cast<size_t>(nth - 1)], static_cast<int>(nth)};
    }
    Match last{kNowhere, 0};
    for (size_t at = 0; at < m_children.size(); ++at) {
        if (!same_name(m_children[at]->m_tagName.view(), name))
            continue;
        last = {at, last.count + 1};
        if (last.count == nth)
            return last;
    }
    return nth == -1 ? last : Match{kNowhere, last.count};
}

CXML* CXML::GetChildByTag(std::string_view name, int nth) {
    long wanted = nth;
    const size_t bracket = name.find('[');
    const bool indexed = bracket != std::string_view::npos && name.find(']') != std::string_view::npos;
    if (indexed) {
        const std::string digits(name.substr(bracket + 1));
        wanted = std::clamp<long>(strtol(digits.c_str(), nullptr, 10), INT_MIN, INT_MAX - 1) + 1;
        name = name.substr(0, bracket);
    }
    const Match found = match(name, wanted);
    if (wanted == -1 || found.position == kNowhere)
        m_matchCount = found.count;
    CXML* const child = stand_on(found.position);
    if (child != nullptr && indexed)
        child->m_index = static_cast<int32_t>(wanted);
    return child;
}

int CXML::GetChildCountByTag(const std::string& name) const {
    return match(name, -1).count;
}

void CXML::RemoveChildByTag(const std::string& name, int nth) {
    if (nth != -1) {
        erase(match(name, nth).position);
        return;
    }
    const auto doomed = [&](const auto& child) { return same_name(child->m_tagName.view(), name); };
    const auto cursor = m_children.begin() + static_cast<ptrdiff_t>(m_currentChild);
    m_currentChild -= static_cast<size_t>(std::count_if(m_children.begin(), cursor, doomed));
    std::erase_if(m_children, doomed);
    forget_index();
}

void CXML::erase(size_t position) {
    if (position >= m_children.size())
        return;
    m_children.erase(m_children.begin() + static_cast<ptrdiff_t>(position));
    if (position < m_currentChild)
        --m_currentChild;
    forget_index();
}

void CXML::RemoveAt(int position) {
    erase(static_cast<size_t>(position));
}

void CXML::RemoveCurrentChild() {
    erase(m_currentChild);
}

CXML* CXML::FindByName(const std::string& name) {
    const CXML* found = nullptr;
    const auto differs = [&](const CXML& element, int) {
        const CAttribute* const attribute = element.GetAttributePointer("NAME");
        if (attribute != nullptr && same_name(attribute->GetAttributeText().view(), name))
            found = &element;
        return found == nullptr;
    };
    relay_hub::walk_tree(*this, differs, [](const CXML&, int) {});
    return const_cast<CXML*>(found);
}

CXML* CXML::FindByID(long id) {
    const CXML* found = nullptr;
    const auto differs = [&](const CXML& element, int) {
        const CAttribute* const attribute = element.GetAttributePointer("ID");
        if (attribute != nullptr && attribute->GetAttributeLong() == id)
            found = &element;
        return found == nullptr;
    };
    relay_hub::walk_tree(*this, differs, [](const CXML&, int) {});
    return const_cast<CXML*>(found);
}

CXML* CXML::stand_on(size_t position) {
    m_currentChild = std::min(position, m_children.size());
    return GetCurrentChild();
}

CXML* CXML::GetFirstChild() {
    return stand_on(0);
}

CXML* CXML::GetLastChild() {
    return stand_on(m_children.empty() ? 0 : m_children.size() - 1);
}

CXML* CXML::GetNextChild() {
    return stand_on(m_currentChild + 1);
}

CXML* CXML::GetPrevChild() {
    return m_currentChild == 0 ? nullptr : stand_on(m_currentChild - 1);
}

CXML* CXML::GetCurrentChild() const {
    return m_currentChild < m_children.size() ? m_children[m_currentChild].get() : nullptr;
}

CXML* CXML::SetCurrentChild(CXML* child) {
    const auto place = std::find_if(m_children.begin(), m_children.end(),
                                    [&](const auto& own) { return own.get() == child; });
    return place == m_children.end() ? nullptr : stand_on(static_cast<size_t>(place - m_children.begin()));
}

void CXML::ResetContents() {
    m_children.clear();
    m_currentChild = 0;
    forget_index();
    m_attributes.reset();
    m_text = "";
}

std::unique_ptr<CXML> CXML::Copy() const {
    std::unique_ptr<CXML> result;
    std::vector<CXML*> path;
    const auto enter = [&](const CXML& from, int) {
        auto copy = std::make_unique<CXML>();
        CXML* const made = copy.get();
        made->m_tagName = from.m_tagName;
        made->m_text = from.m_text;
        if (from.m_fileName)
            made->m_fileName = std::make_unique<CMabString>(*from.m_fileName);
        if (from.m_attributes)
            for (const auto& attribute : from.m_attributes->set)
                made->attributes().set.insert(made->attributes().set.end(), attribute->Copy());
        if (path.empty())
            result = std::move(copy);
        else
            path.back()->Adopt(std::move(copy));
        path.push_back(made);
        return true;
    };
    relay_hub::walk_tree(*this, enter, [&](const CXML&, int) { path.pop_back(); });
    return result;
}
