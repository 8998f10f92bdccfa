#pragma once
// Reader of the XML bindings file of the configuration registry.
#include <Base/GCString.h>

#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>

#include <utility>
#include <vector>

namespace Vorla {

//! One Binding element: the record properties it matches and what it decides.
struct SXmlBindingEntry {
  std::vector<std::pair<GenICam::gcstring, GenICam::gcstring>> match; // key, value
  bool download = false;
  GenICam::gcstring xmlFile;   // as written, empty when not given
  GenICam::gcstring mergeFile; // as written, empty when not given
  unsigned long line = 0;      // of the Binding element
};

//! Parses one bindings file with Xerces SAX2 and checks its structure as it goes; the first
//! fault ends the parse with a GenICam::RuntimeException naming file, line and column.
//! One parser per parse; not shared between threads.
class CXmlBindingsParser : public xercesc::DefaultHandler {
public:
  //! `text` is the file's content, `path` names it in messages.
  static std::vector<SXmlBindingEntry> Parse(const GenICam::gcstring& path,
                                             const GenICam::gcstring& text);

  void setDocumentLocator(const xercesc::Locator* locator) override { m_locator = locator; }
  void startElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* qname,
                    const xercesc::Attributes& attributes) override;
  void endElement(const XMLCh* uri, const XMLCh* localName, const XMLCh* qname) override;
  void characters(const XMLCh* chars, const XMLSize_t length) override;
  void error(const xercesc::SAXParseException& e) override { Fail(e); }
  void fatalError(const xercesc::SAXParseException& e) override { Fail(e); }

private:
  explicit CXmlBindingsParser(const GenICam::gcstring& path) : m_path(path) {}
  [[noreturn]] void Fail(const xercesc::SAXParseException& e);
  [[noreturn]] void Fail(const GenICam::gcstring& message);

  const GenICam::gcstring m_path;
  const xercesc::Locator* m_locator = nullptr;
  std::vector<GenICam::gcstring> m_open; // names of the open elements, root first
  std::vector<SXmlBindingEntry> m_entries;
  SXmlBindingEntry m_entry; // the Binding being read
  GenICam::gcstring m_text; // text of the open XmlFile or MergeFile
};

} // namespace Vorla
