// One element of an XML tree (CXML) and one attribute (CAttribute). An element owns its children and
// attributes; who calls Copy owns the copy. Text is kept as it stands between the tags: entities are the
// document's matter. A tree belongs to one thread at a time; the status of the library is one per thread.
// Nothing throws on bad input.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/non_copyable.h"
#include "xml_doc/mab_string.h"
#include "xml_doc/mem_file.h"
#include "xml_doc/oper_status.h"

namespace relay_hub {
class TagIndex;
class TokenSource;
}  // namespace relay_hub

class CAttribute : relay_hub::NonCopyable {
  public:
    CAttribute() = default;
    explicit CAttribute(CMabString name, CMabString value = {})
        : m_value(std::move(value)), m_name(std::move(name)) {}
    virtual ~CAttribute() = default;

    void SetAttribute(const char* value) { m_value = value; }
    void SetAttribute(CMabString value) { m_value = std::move(value); }
    // Numbers are written eight bytes wide; the writer trims them.
    void SetAttribute(int value) { m_value = value; }
    void SetAttribute(long value) { m_value = value; }
    void SetAttribute(float value) { m_value = value; }
    void SetAttribute(double value) { m_value = value; }
    void AddToText(const char* text) { m_value += text; }
    void TrimValue() { m_value.Trim(); }

    const CMabString& GetAttributeText() const { return m_value; }
    const CMabString& GetAttributeName() const { return m_name; }
    int GetAttributeInt() const { return m_value.GetInt(); }
    long GetAttributeLong() const { return m_value.GetLong(); }
    float GetAttributeFloat() const { return CMabString(m_value).GetFloat(); }
    double GetAttributeDouble() const { return CMabString(m_value).GetDouble(); }
    std::unique_ptr<CAttribute> Copy() const { return std::make_unique<CAttribute>(m_name, m_value); }

    CMabString NextField(char delimiter) { return m_value.NextField(delimiter); }
    CMabString StepField(char delimiter) { return m_value.StepField(delimiter); }
    CMabString GetField(char delimiter, int n) const { return m_value.GetField(delimiter, n); }
    int GetFieldCount(char delimiter) const { return m_value.GetFieldCount(delimiter); }

  private:
    CMabString m_value;
    CMabString m_name;
};

class CXML : public OperStatus, relay_hub::NonCopyable {
  public:
    // The reader refuses more levels of elements than this.
    static constexpr int kMaxDepth = 1000;

    CXML();
    explicit CXML(const char* tag);
    virtual ~CXML();

    void SetTagName(const char* name);
    const CMabString& GetTagName() const { return m_tagName; }
    std::string GetTag() const { return m_tagName.c_str(); }
    void SetText(const char* text) { m_text = text; }
    const CMabString& GetText() const { return m_text; }
    void AddToText(const std::string& text) { m_text += text.c_str(); }
    // 1-based position that the last indexed GetChildByTag found this element at; -1 if there was none.
    int GetIndex() const { return m_index; }
    // How many children bore the name when the last GetChildByTag counted them all; -1 before.
    int GetMatchCount() const { return m_matchCount; }

    // Children. The adders take ownership when they return true. A null child is refused; so is one without a
    // tag name ("No Valid Tag Name").
    bool AddChild(CXML* child);
    bool InsertChild(CXML* child) { return AddChild(child); }
    bool InsertChildBefore(int position, CXML* child);  // false, too, for a position without a child
    // Before the first child with a greater "NAME", ignoring case, or a greater "ID".
    bool AddChildByName(CXML* child) { return add_before_greater(child, is_named_before); }
    bool AddChildById(CXML* child) { return add_before_greater(child, has_lower_id); }
    void SortByName() { sort(is_named_before); }
    void SortById() { sort(has_lower_id); }
    int GetChildCount() const { return static_cast<int>(m_children.size()); }
    CXML* GetChildAt(int position) const;
    // nth is 1-based; -1 finds the last match. "Name[i]" finds the (i+1)-th and ignores nth. Case does not
    // matter. The child cursor moves to the child found, or past the end. Null when there is none.
    CXML* GetChildByTag(std::string_view name, int nth);
    int GetChildCountByTag(const std::string& name) const;
    // nth is 1-based; -1 removes every child of that name.
    void RemoveChildByTag(const std::string& name, int nth);
    void RemoveAt(int position);
    // The first element of the sub-tree, this one included, that has the attribute with that value; else
    // null.
    CXML* FindByName(const std::string& name);
    CXML* FindByID(long id);

    // Cursors: null past either end, after which the cursor stands there still.
    CXML* GetFirstChild();
    CXML* GetLastChild();
    CXML* GetNextChild();
    CXML* GetPrevChild();
    CXML* GetCurrentChild() const;
    CXML* SetCurrentChild(CXML* child);  // null, and no move, when it is not a child of this element
    void RemoveCurrentChild();
    CAttribute* GetFirstAttribute();
    CAttribute* GetLastAttribute();
    CAttribute* GetNextAttribute();
    CAttribute* GetPrevAttribute();
    CAttribute* GetCurrentAttribute() const;
    CAttribute* SetCurrentAttr(CAttribute* attribute);
    void RemoveCurrentAttr();

    // Attributes: at most one of a name, in ascending byte order of the names.
    int GetAttrCount() const { return m_attributes ? static_cast<int>(m_attributes->set.size()) : 0; }
    void SetAttr(const char* name, const char* value) { set_attribute(name, value); }
    void SetAttr(const char* name, int value) { SetAttr(name, static_cast<long>(value)); }
    void SetAttr(const char* name, long value);
    void SetAttr(const char* name, float value) { SetAttr(name, static_cast<double>(value)); }
    void SetAttr(const char* name, double value);
    void SetAttrUS(const char* name, double value);  // value + 0.001 with two decimals
    void AddAttr(CAttribute* attribute);  // takes ownership; an attribute of that name takes its value
    CAttribute* GetAttributePointer(const char* name) const;
    std::string GetAttr(const char* name) const;  // empty when missing
    CMabString GetAttrText(const char* name) const;
    CMabString GetAttrTextUS(const char* name) const;  // "0.00" when missing or empty
    int GetAttrInt(const char* name) const { return GetAttrText(name).GetInt(); }
    long GetAttrLong(const char* name) const { return GetAttrText(name).GetLong(); }
    float GetAttrFloat(const char* name) const { return GetAttrText(name).GetFloat(); }
    double GetAttrDouble(const char* name) const { return GetAttrText(name).GetDouble(); }
    void RemoveAttr(const char* name);

    // Fields of the text.
    CMabString FirstField(char delimiter) { return m_text.FirstField(delimiter); }
    CMabString NextField(char delimiter) { return m_text.NextField(delimiter); }
    CMabString StepField(char delimiter) { return m_text.StepField(delimiter); }
    CMabString GetField(char delimiter, int n) const { return m_text.GetField(delimiter, n); }
    int GetFieldCount(char delimiter) const { return m_text.GetFieldCount(delimiter); }

    // Deep copy of tag name, text, file name, attributes and children.
    std::unique_ptr<CXML> Copy() const;
    // Drops children, attributes and text; the tag name stays.
    void ResetContents();

    // Reading. True: a start tag was found; m_bOperStatus says whether what follows it was well formed.
    bool LoadXML(const std::string& text);
    bool XMLRead(CVMemFile& file);
    bool XMLRead(int descriptor);
    // Parses the element whose start tag is `token`; the file goes on behind it. False when it cannot be
    // parsed.
    bool ParseBlock(const CMabString& token, CVMemFile& file);
    bool ParseBlock(const CMabString& token, int descriptor);
    // The next token with both brackets; the characters before it are added to the text. Empty at the end.
    CMabString GetNextLine(CVMemFile& file);
    CMabString GetNextLine(int descriptor);
    // False for a name that is empty or cannot be opened, else m_bOperStatus.
    bool OpenFile(const std::string& name);

    // Writing. Attribute values are trimmed where they are stored.
    std::string GetXML();
    std::string XMLDebug(int level);
    bool XMLWrite(CVMemFile& file);  // false when not everything could be written
    bool XMLWrite(int descriptor);
    // An empty name means the file that was opened. An older, longer file keeps its tail. False when the file
    // could not be opened or written.
    bool SaveFile(const std::string& name);

    static bool IsAlpha(char c);
    // 0 when equal after tolower; else as strcmp.
    static int CompareStringNoCase(std::string_view a, std::string_view b);

    // Moves a child in; as AddChild, but a refused child is destroyed.
    bool Adopt(std::unique_ptr<CXML> child);
    // Takes the children of `other`, in order, behind this element's own.
    void AdoptChildrenOf(CXML& other);

  private:
    struct ByName {
        using is_transparent = void;
        using Owned = std::unique_ptr<CAttribute>;
        static std::string_view name(std::string_view text) { return text; }
        static std::string_view name(const Owned& attribute) { return attribute->GetAttributeName().view(); }
        bool operator()(const auto& a, const auto& b) const { return name(a) < name(b); }
    };
    using AttributeSet = std::set<std::unique_ptr<CAttribute>, ByName>;
    struct Attributes {
        AttributeSet set;
        AttributeSet::iterator current = set.end();
    };
    using Children = std::vector<std::unique_ptr<CXML>>;

    struct Match {
        size_t position;  // npos when the count was not reached
        int count;        // how many matched up to there
    };

    void set_tag_name(CMabString name);
    bool insert(size_t position, CXML* child);
    void erase(size_t position);
    using Before = bool (*)(const CXML& a, const CXML& b);
    static bool is_named_before(const CXML& a, const CXML& b);
    static bool has_lower_id(const CXML& a, const CXML& b);
    bool add_before_greater(CXML* child, Before before);
    void sort(Before before);
    void forget_index();
    const relay_hub::TagIndex& tag_index() const;
    // The nth child of that name; -1 for the last one, which counts them all.
    Match match(std::string_view name, long nth) const;
    CXML* stand_on(size_t position);
    void set_attribute(CMabString name, CMabString value);
    Attributes& attributes();
    void erase_attribute(AttributeSet::iterator attribute);
    void append_start_tag(std::string& out) const;

    bool read(relay_hub::TokenSource& source);
    bool parse_block(std::string_view token, relay_hub::TokenSource& source, int depth);
    bool parse_attributes(std::string_view attributes);
    bool parse_content(relay_hub::TokenSource& source, int depth);
    CMabString next_line(relay_hub::TokenSource& source);

    CMabString m_tagName;
    int32_t m_index = -1;
    int32_t m_matchCount = -1;
    Children m_children;
    bool m_endOfData = false;
    size_t m_currentChild = 0;  // the number of children when it stands past the end
    CMabString m_text;
    // Messages have very many elements, and most have neither of these: they are made when first needed.
    std::unique_ptr<CMabString> m_fileName;
    std::unique_ptr<Attributes> m_attributes;
    CXML* m_parent = nullptr;
    // Built when a lookup by tag first meets many children; dropped by every change but appending.
    mutable std::unique_ptr<relay_hub::TagIndex> m_tagIndex;
};
