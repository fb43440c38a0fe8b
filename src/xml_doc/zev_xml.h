// The message document: one XML tree whose elements are addressed by paths of tag names ("A/B", "/ZEVMSG/A",
// "Item[2]"), with a cursor over the root's "Line" records. It owns the tree. One thread at a time; failures
// are reported by the status of the library (xml.h), which is one per thread.
//
// A path that does not begin with "/" is relative to the start: the last "Line" between AddNew and Update,
// else the current "Line" of the cursor, else the root. LoadXML puts the cursor on the first "Line" if there
// is one.
#pragma once

#include <concepts>
#include <string>
#include <vector>

#include "base/non_copyable.h"
#include "xml_doc/xml.h"

class CZEVXML : relay_hub::NonCopyable {
  public:
    CZEVXML();
    virtual ~CZEVXML() = default;

    // The whole document.
    void ResetContent();
    // Replaces the content. False for an empty text (the document is then empty) and for one that is not well
    // formed (the document holds what could be read).
    bool LoadXML(const std::string& text);
    std::string GetXML();     // no declaration, no line ends
    std::string PrettyXML();  // indented
    bool OpenFile(const std::string& name);
    bool SaveFile(const std::string& name);
    void ReFormat();  // puts a root "ZEVMSG" around any other
    bool IsEmpty() const;

    std::string GetOperErrDesc() const;
    void ResetStatus();

    // Values. Generate creates the path where it is missing and replaces the text; "&", "<", ">" and the
    // double quote are escaped. An empty value without `force` does nothing.
    void Generate(const std::string& path, const std::string& value, bool force = false);
    template <std::integral Number>
    void Generate(const std::string& path, Number value, bool force = false) {
        Generate(path, std::to_string(value), force);
    }
    void Generate(const std::string& path, double value, bool force = false);
    // Query creates nothing; a missing element gives an empty text or 0.
    std::string Query(const std::string& path);
    int QueryInt(const std::string& path);
    long QueryLng(const std::string& path);
    double QueryDbl(const std::string& path);
    // Attribute values are neither escaped nor un-escaped.
    void GenerateAttribute(const std::string& path, const std::string& attribute, const std::string& value,
                           bool force = false);
    std::string QueryAttribute(const std::string& path, const std::string& attribute);
    void CopyRootAttr(const std::string& xml);

    // Elements.
    int GetTagCount(const std::string& path);  // children of the element; 0 when it is missing
    bool GetTagArray(const std::string& path, std::vector<std::string>& tags);
    // Tag name of the first child whose attribute has that value; empty when there is none.
    std::string FindTagByAttr(const std::string& path, const std::string& attribute,
                              const std::string& value);
    // Removes every element of that name beside the one found, unless it was ever looked up with an index:
    // then the one at that index.
    void Delete(const std::string& path);
    bool ChangePath(const std::string& from, const std::string& to);  // `from` becomes a child of `to`
    bool RevisePath(const std::string& from, const std::string& to);  // the content of `from` goes to `to`
    // Graft the parsed text (of a "ZEVMSG" its children) below, or beside, the element at `path`. False and
    // "Tag not found" when there is none.
    bool AppendChild(const std::string& path, const std::string& xml);
    void AppendSibling(const std::string& path, const std::string& xml);
    bool AppendXML(const std::string& xml);
    void MergeMRS(const std::string& path, const std::string& xml);  // creates `path`, then AppendChild
    // `out` becomes the sub-tree at `path`; its later LoadXML puts a "ZEVMSG" around foreign text.
    bool ExtractMRS(const std::string& path, CZEVXML& out);
    int GetMRSCount(const std::string& path);  // "Line" children of the element; 0 when it is missing

    // Records: the root's "Line" children, counted from 1; 0 stands before the first.
    int AddNew();  // what CXML::AddChild returned
    void Update();
    int GetCount();
    int MoveFirst();
    void MoveNext();
    bool MovePrev();
    void MoveLast();
    bool IsBOF();
    bool IsEOF();

    void LoadArray(CXML* element);  // visits every element below and changes nothing
    void ReplaceSubstring(std::string& text, const std::string& from, const std::string& to);
    void Split(const std::string& path, std::vector<std::string>& parts);
    bool ParseTag(const std::string& path, std::vector<std::string>& parts);
    // Both pointers belong to the document and live until it changes.
    bool GetXMLByTag(const std::string& path, bool create, CXML** node, CXML** parent);
    CXML* GetParent();

  private:
    CXML* find(const std::string& path, bool create = false);
    CXML* append_missing(CXML& parent, const std::string& component);

    CXML m_root;
    bool m_adding = false;
    int m_current = 0;
    bool m_rawLoad = true;
};
