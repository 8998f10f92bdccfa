#pragma once
#include "Props.h"

#include <xercesc/sax2/DefaultHandler.hpp>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace GenApi {

class CNodeBase;
class CNodeMap;

//! Builds nodes straight from the SAX2 events of a GenApi description and adds them to a node
//! map. Errors carry the line and column and, inside a node, its name.
class CXmlLoader : public xercesc::DefaultHandler {
public:
  CXmlLoader(CNodeMap& map, int docIndex) : m_Map(map), m_DocIndex(docIndex) {}
  //! Parses one document; `name` says in messages where it came from. Xerces must be
  //! initialised by the caller.
  void Parse(const std::string& xml, const std::string& name);

  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attrs) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  void characters(const XMLCh* chars, const XMLSize_t length) override;
  void setDocumentLocator(const xercesc::Locator* locator) override { m_pLocator = locator; }
  void fatalError(const xercesc::SAXParseException& e) override;
  void error(const xercesc::SAXParseException& e) override { fatalError(e); }

private:
  enum class EFrame { Root, Group, Node, StructReg, StructEntry, Property, Skip };
  //! What an element name means, worked out once per name and parse.
  struct Element {
    std::u16string Key; // the name as Xerces gave it
    std::string Name;
    EProp Prop;
    ENodeType Type;
    enum ERole { None, Group, StructReg, StructEntry, EnumEntry, IntSwissKnife, Extension } Role;
  };
  struct Record {
    EProp Prop;
    std::string Text;
    CPropAttr Attr;
  };
  struct StructState {
    std::vector<Record> Records;              // the common elements
    std::vector<std::vector<Record>> Entries; // each entry's own elements
    std::vector<std::string> EntryNames;
  };
  struct Frame {
    explicit Frame(EFrame kind, std::unique_ptr<CNodeBase> node = nullptr)
        : Kind(kind), Node(std::move(node)) {}
    EFrame Kind;
    EProp Prop = EProp::Unknown;         // Property frames
    std::unique_ptr<CNodeBase> Node;     // Node frames: the node being built
    std::unique_ptr<StructState> Struct; // StructReg and StructEntry frames
  };

  const Element& Classify(const XMLCh* localname);
  std::unique_ptr<CNodeBase> Create(ENodeType type, const xercesc::Attributes& attrs);
  void Apply(Frame& owner, EProp prop, const std::string& text, const CPropAttr& attr);
  void Finish(Frame& frame, Frame& parent);
  [[noreturn]] void Fail(const std::string& what, const std::string& node = std::string()) const;
  static void ToUtf8(const XMLCh* text, size_t length, std::string& out);
  std::string Attribute(const xercesc::Attributes& attrs, const XMLCh* name) const;

  CNodeMap& m_Map;
  int m_DocIndex;
  const xercesc::Locator* m_pLocator = nullptr;
  std::vector<Frame> m_Stack;
  // Xerces hands every element of one name the same name pointer: one lookup per element.
  std::unordered_map<const XMLCh*, Element> m_Elements;
  std::string m_Text; // text of the current property element
  CPropAttr m_Attr;   // attributes of the current property element
};

} // namespace GenApi
