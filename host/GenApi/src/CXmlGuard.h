#pragma once
// The checks of CSafeXmlReader, shared by its SAX2 and DOM parsers.
#include <Base/GCString.h>

#include <xercesc/sax/EntityResolver.hpp>
#include <xercesc/sax2/ContentHandler.hpp>
#include <xercesc/sax2/DeclHandler.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include <cstddef>

namespace GenApi {

//! Refuses every entity resolution and every entity declaration, and counts character data
//! against the limits; as a SAX2 content handler it counts and passes each event on to the
//! caller's handler. Every refusal is a GenICam::RuntimeException naming the document.
//! One guard per parse; bound to the parsing thread.
class CXmlGuard : public xercesc::EntityResolver,
                  public xercesc::DeclHandler,
                  public xercesc::ContentHandler {
public:
  CXmlGuard(const GenICam::gcstring& documentName, size_t maxElementText, size_t maxDocumentText);

  //! Starts a parse whose SAX2 events go to `next` (null for a DOM parse).
  void Reset(xercesc::ContentHandler* next);
  //! Character data of the open element.
  void CountText(size_t length);
  //! A start or end tag: the text of the next element begins.
  void Tag() { m_ElementText = 0; }
  [[noreturn]] void RefuseEntityDeclaration(const XMLCh* name) const;
  //! Xerces' entity-expansion limit for the parser.
  xercesc::SecurityManager& Security() { return m_Security; }

  // EntityResolver: nothing outside the document is read.
  xercesc::InputSource* resolveEntity(const XMLCh* const publicId,
                                      const XMLCh* const systemId) override;

  // DeclHandler
  void elementDecl(const XMLCh*, const XMLCh*) override {}
  void attributeDecl(const XMLCh*, const XMLCh*, const XMLCh*, const XMLCh*,
                     const XMLCh*) override {}
  void internalEntityDecl(const XMLCh* name, const XMLCh*) override {
    RefuseEntityDeclaration(name);
  }
  void externalEntityDecl(const XMLCh* name, const XMLCh*, const XMLCh*) override {
    RefuseEntityDeclaration(name);
  }

  // ContentHandler
  void characters(const XMLCh* chars, const XMLSize_t length) override;
  void ignorableWhitespace(const XMLCh* chars, const XMLSize_t length) override;
  void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                    const xercesc::Attributes& attrs) override;
  void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;
  void setDocumentLocator(const xercesc::Locator* locator) override;
  void startDocument() override { m_pNext->startDocument(); }
  void endDocument() override { m_pNext->endDocument(); }
  void processingInstruction(const XMLCh* target, const XMLCh* data) override {
    m_pNext->processingInstruction(target, data);
  }
  void startPrefixMapping(const XMLCh* prefix, const XMLCh* uri) override {
    m_pNext->startPrefixMapping(prefix, uri);
  }
  void endPrefixMapping(const XMLCh* prefix) override { m_pNext->endPrefixMapping(prefix); }
  void skippedEntity(const XMLCh* name) override { m_pNext->skippedEntity(name); }

private:
  const GenICam::gcstring m_DocumentName;
  const size_t m_MaxElementText;
  const size_t m_MaxDocumentText;
  size_t m_ElementText = 0;
  size_t m_DocumentText = 0;
  xercesc::ContentHandler* m_pNext = nullptr;
  xercesc::SecurityManager m_Security;
};

} // namespace GenApi
