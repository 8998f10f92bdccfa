#include "CXmlLoader.h"

#include "CBooleanNode.h"
#include "CCategoryNode.h"
#include "CCommandNode.h"
#include "CConverterNode.h"
#include "CEnumerationNode.h"
#include "CFloatNode.h"
#include "CFloatRegNode.h"
#include "CIntConverterNode.h"
#include "CIntRegNode.h"
#include "CIntSwissKnifeNode.h"
#include "CIntegerNode.h"
#include "CNodeMap.h"
#include "CPlainNode.h"
#include "CPortNode.h"
#include "CRegisterNode.h"
#include "CStringNode.h"
#include "CStringRegNode.h"
#include "CSwissKnifeNode.h"

#include <GenApi/SafeXmlReader.h>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/XMLString.hpp>

namespace GenApi {

using namespace xercesc;

namespace {

CRegisterAccess* RegisterOf(CNodeBase* node) {
  if (auto* n = dynamic_cast<CIntRegNode*>(node))
    return &n->Register();
  if (auto* n = dynamic_cast<CFloatRegNode*>(node))
    return &n->Register();
  if (auto* n = dynamic_cast<CStringRegNode*>(node))
    return &n->Register();
  if (auto* n = dynamic_cast<CRegisterNode*>(node))
    return &n->Register();
  return nullptr;
}

void Trim(std::string& text) {
  const char* blanks = " \t\r\n";
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string::npos) {
    text.clear();
    return;
  }
  text.erase(text.find_last_not_of(blanks) + 1);
  text.erase(0, first);
}

std::string Transcoded(const XMLCh* text) {
  std::string out;
  if (text) {
    char* bytes = XMLString::transcode(text);
    out = bytes;
    XMLString::release(&bytes);
  }
  return out;
}

} // namespace

void CXmlLoader::ToUtf8(const XMLCh* text, size_t length, std::string& out) {
  // Descriptions are nearly all ASCII: copy that part in one go.
  const size_t start = out.size();
  out.resize(start + length);
  char* ascii = &out[start];
  size_t i = 0;
  for (; i < length && text[i] < 0x80; ++i)
    ascii[i] = static_cast<char>(text[i]);
  out.resize(start + i);
  for (; i < length; ++i) {
    uint32_t c = text[i];
    if (c < 0x80) {
      out += static_cast<char>(c);
      continue;
    }
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 &&
        text[i + 1] < 0xE000)
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    if (c < 0x800) {
      out += static_cast<char>(0xC0 | c >> 6);
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | c >> 12);
      out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | c >> 18);
      out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
      out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
    }
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

std::string CXmlLoader::Attribute(const Attributes& attrs, const XMLCh* name) const {
  std::string value;
  if (const XMLCh* text = attrs.getValue(name))
    ToUtf8(text, XMLString::stringLen(text), value);
  Trim(value);
  return value;
}

void CXmlLoader::Fail(const std::string& what, const std::string& node) const {
  const auto line = m_pLocator ? static_cast<unsigned long long>(m_pLocator->getLineNumber()) : 0;
  const auto column =
      m_pLocator ? static_cast<unsigned long long>(m_pLocator->getColumnNumber()) : 0;
  if (node.empty())
    throw RUNTIME_EXCEPTION("%s (line %llu, column %llu)", what.c_str(), line, column);
  throw RUNTIME_EXCEPTION("Node '%s': %s (line %llu, column %llu)", node.c_str(), what.c_str(),
                          line, column);
}

void CXmlLoader::fatalError(const SAXParseException& e) {
  throw RUNTIME_EXCEPTION("Malformed XML at line %llu, column %llu: %s",
                          static_cast<unsigned long long>(e.getLineNumber()),
                          static_cast<unsigned long long>(e.getColumnNumber()),
                          Transcoded(e.getMessage()).c_str());
}

void CXmlLoader::Parse(const std::string& xml, const std::string& name) {
  CSafeXmlReader reader(name, CSafeXmlReader::DescriptionElementText,
                        CSafeXmlReader::DescriptionDocumentText);
  MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(),
                           "GenApi description", false);
  m_Stack.clear();
  try {
    reader.Parse(source, *this, *this);
  } catch (const GenICam::GenericException&) {
    throw;
  } catch (const SAXException& e) {
    throw RUNTIME_EXCEPTION("Malformed XML: %s", Transcoded(e.getMessage()).c_str());
  } catch (const XMLException& e) {
    throw RUNTIME_EXCEPTION("Malformed XML: %s", Transcoded(e.getMessage()).c_str());
  }
  if (!m_Stack.empty())
    throw RUNTIME_EXCEPTION("Malformed XML: the document ends early");
}

std::unique_ptr<CNodeBase> CXmlLoader::Create(ENodeType type, const Attributes& attrs) {
  std::unique_ptr<CNodeBase> node;
  switch (type) {
  case ENodeType::Category:
    node = std::make_unique<CCategoryNode>(m_Map);
    break;
  case ENodeType::Integer:
    node = std::make_unique<CIntegerNode>(m_Map);
    break;
  case ENodeType::IntReg:
  case ENodeType::MaskedIntReg:
  case ENodeType::StructEntry:
    node = std::make_unique<CIntRegNode>(m_Map, type);
    break;
  case ENodeType::Float:
    node = std::make_unique<CFloatNode>(m_Map);
    break;
  case ENodeType::FloatReg:
    node = std::make_unique<CFloatRegNode>(m_Map);
    break;
  case ENodeType::Enumeration:
    node = std::make_unique<CEnumerationNode>(m_Map);
    break;
  case ENodeType::EnumEntry:
    node = std::make_unique<CEnumEntryNode>(m_Map);
    break;
  case ENodeType::Boolean:
    node = std::make_unique<CBooleanNode>(m_Map);
    break;
  case ENodeType::Command:
    node = std::make_unique<CCommandNode>(m_Map);
    break;
  case ENodeType::String:
    node = std::make_unique<CStringNode>(m_Map);
    break;
  case ENodeType::StringReg:
    node = std::make_unique<CStringRegNode>(m_Map);
    break;
  case ENodeType::Register:
    node = std::make_unique<CRegisterNode>(m_Map);
    break;
  case ENodeType::Port:
    node = std::make_unique<CPortNode>(m_Map);
    break;
  case ENodeType::SwissKnife:
    node = std::make_unique<CSwissKnifeNode>(m_Map);
    break;
  case ENodeType::IntSwissKnife:
    node = std::make_unique<CIntSwissKnifeNode>(m_Map);
    break;
  case ENodeType::Converter:
    node = std::make_unique<CConverterNode>(m_Map);
    break;
  case ENodeType::IntConverter:
    node = std::make_unique<CIntConverterNode>(m_Map);
    break;
  default: // Node and the IIDC types
    node = std::make_unique<CPlainNode>(m_Map, type);
    break;
  }
  node->m_DocIndex = m_DocIndex;
  // One pass over the attributes; only Name is common to all.
  for (XMLSize_t i = 0; i < attrs.getLength(); ++i) {
    const XMLCh* name = attrs.getLocalName(i);
    if (XMLString::equals(name, u"Name")) {
      std::string value;
      const XMLCh* text = attrs.getValue(i);
      ToUtf8(text, XMLString::stringLen(text), value);
      Trim(value);
      node->SetName(value);
    } else if (XMLString::equals(name, u"NameSpace")) {
      if (Attribute(attrs, u"NameSpace") == "Standard")
        node->SetNameSpace(Standard);
    } else if (XMLString::equals(name, u"MergePriority")) {
      int64_t value = 0;
      if (ParseInt64(Attribute(attrs, u"MergePriority"), value))
        node->m_MergePriority = static_cast<int>(value);
    }
  }
  return node;
}

const CXmlLoader::Element& CXmlLoader::Classify(const XMLCh* localname) {
  const auto found = m_Elements.find(localname);
  if (found != m_Elements.end() && found->second.Key == localname)
    return found->second;
  Element element;
  element.Key = localname;
  ToUtf8(localname, element.Key.size(), element.Name);
  element.Prop = PropFromName(element.Name);
  element.Type = NodeTypeFromName(element.Name);
  static const std::pair<const char*, Element::ERole> roles[] = {
      {"Group", Element::Group},
      {"StructReg", Element::StructReg},
      {"StructEntry", Element::StructEntry},
      {"EnumEntry", Element::EnumEntry},
      {"IntSwissKnife", Element::IntSwissKnife},
      {"Extension", Element::Extension}};
  element.Role = Element::None;
  for (const auto& role : roles)
    if (element.Name == role.first)
      element.Role = role.second;
  return m_Elements[localname] = std::move(element);
}

void CXmlLoader::startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                              const Attributes& attrs) {
  const Element& element = Classify(localname);
  const std::string& name = element.Name;
  if (m_Stack.empty()) {
    if (name != "RegisterDescription")
      Fail("the document element is '" + name + "', not 'RegisterDescription'");
    int64_t major = 1, minor = 0;
    ParseInt64(Attribute(attrs, u"SchemaMajorVersion"), major);
    ParseInt64(Attribute(attrs, u"SchemaMinorVersion"), minor);
    if (m_DocIndex == 0) {
      m_Map.m_SchemaMajor = static_cast<int>(major);
      m_Map.m_SchemaMinor = static_cast<int>(minor);
    }
    m_Stack.push_back(Frame(EFrame::Root));
    return;
  }
  const EFrame parent = m_Stack.back().Kind;
  Frame frame(EFrame::Skip);
  auto property = [&] {
    frame.Kind = EFrame::Property;
    frame.Prop = element.Prop;
    if (attrs.getLength()) {
      m_Attr.Name = Attribute(attrs, u"Name");
      m_Attr.Index = Attribute(attrs, u"Index");
      m_Attr.Offset = Attribute(attrs, u"Offset");
      m_Attr.pOffset = Attribute(attrs, u"pOffset");
    } else if (!m_Attr.Name.empty() || !m_Attr.Index.empty() || !m_Attr.Offset.empty() ||
               !m_Attr.pOffset.empty()) {
      m_Attr = CPropAttr();
    }
    m_Text.clear();
  };
  switch (parent) {
  case EFrame::Root:
  case EFrame::Group:
    if (element.Role == Element::Group) {
      frame.Kind = EFrame::Group;
    } else if (element.Role == Element::StructReg) {
      frame.Kind = EFrame::StructReg;
      frame.Struct = std::make_unique<StructState>();
    } else {
      const ENodeType type = element.Type;
      if (type != ENodeType::None) {
        frame.Kind = EFrame::Node;
        frame.Node = Create(type, attrs);
        if (frame.Node->Name().empty())
          Fail("a " + name + " element has no Name");
      }
    }
    break;
  case EFrame::Node: {
    CNodeBase* owner = m_Stack.back().Node.get();
    if (element.Role == Element::EnumEntry && owner->Type() == ENodeType::Enumeration) {
      frame.Kind = EFrame::Node;
      frame.Node = Create(ENodeType::EnumEntry, attrs);
      if (frame.Node->Name().empty())
        Fail("an EnumEntry has no Name", owner->Name());
    } else if (element.Role == Element::IntSwissKnife && RegisterOf(owner)) {
      frame.Kind = EFrame::Node;
      frame.Node = Create(ENodeType::IntSwissKnife, attrs);
      frame.Node->SetName(owner->Name() + ".Address");
    } else if (element.Role != Element::Extension) {
      property();
    }
    break;
  }
  case EFrame::StructReg:
    if (element.Role == Element::StructEntry) {
      frame.Kind = EFrame::StructEntry;
      frame.Struct = std::make_unique<StructState>();
      m_Stack.back().Struct->EntryNames.push_back(Attribute(attrs, u"Name"));
      if (m_Stack.back().Struct->EntryNames.back().empty())
        Fail("a StructEntry has no Name");
    } else if (element.Role != Element::Extension) {
      property();
    }
    break;
  case EFrame::StructEntry:
    if (element.Role != Element::Extension)
      property();
    break;
  default:
    break;
  }
  m_Stack.push_back(std::move(frame));
}

void CXmlLoader::characters(const XMLCh* chars, const XMLSize_t length) {
  if (!m_Stack.empty() && m_Stack.back().Kind == EFrame::Property)
    ToUtf8(chars, length, m_Text);
}

void CXmlLoader::Apply(Frame& owner, EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Unknown)
    return; // elements this engine does not evaluate
  try {
    owner.Node->SetProperty(prop, text, attr);
  } catch (const GenICam::GenericException& e) {
    Fail(e.GetDescription(), owner.Node->Name());
  }
}

void CXmlLoader::endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) {
  Frame frame = std::move(m_Stack.back());
  m_Stack.pop_back();
  if (m_Stack.empty())
    return;
  Frame& parent = m_Stack.back();
  switch (frame.Kind) {
  case EFrame::Property:
    Trim(m_Text);
    if (parent.Kind == EFrame::Node)
      Apply(parent, frame.Prop, m_Text, m_Attr);
    else if (frame.Prop != EProp::Unknown && parent.Struct)
      parent.Struct->Records.push_back(Record{frame.Prop, m_Text, m_Attr});
    m_Text.clear();
    break;
  case EFrame::Node:
    if (parent.Kind == EFrame::Node) {
      if (frame.Node->Type() == ENodeType::EnumEntry) {
        std::unique_ptr<CEnumEntryNode> entry(static_cast<CEnumEntryNode*>(frame.Node.release()));
        static_cast<CEnumerationNode*>(parent.Node.get())->AddEntry(std::move(entry));
      } else {
        RegisterOf(parent.Node.get())->AddAddressTerm(std::move(frame.Node));
      }
    } else {
      try {
        m_Map.AddNode(frame.Node);
      } catch (const GenICam::GenericException& e) {
        Fail(e.GetDescription(), frame.Node->Name());
      }
    }
    break;
  case EFrame::StructEntry:
    parent.Struct->Entries.push_back(std::move(frame.Struct->Records));
    break;
  case EFrame::StructReg:
    // Each entry is a masked register with the common elements first, its own after them.
    for (size_t i = 0; i < frame.Struct->Entries.size(); ++i) {
      Frame entry(EFrame::Node, std::make_unique<CIntRegNode>(m_Map, ENodeType::StructEntry));
      entry.Node->SetName(frame.Struct->EntryNames[i]);
      entry.Node->m_DocIndex = m_DocIndex;
      for (const Record& record : frame.Struct->Records)
        Apply(entry, record.Prop, record.Text, record.Attr);
      for (const Record& record : frame.Struct->Entries[i])
        Apply(entry, record.Prop, record.Text, record.Attr);
      try {
        m_Map.AddNode(entry.Node);
      } catch (const GenICam::GenericException& e) {
        Fail(e.GetDescription(), frame.Struct->EntryNames[i]);
      }
    }
    break;
  default:
    break;
  }
}

} // namespace GenApi
