#include "CXmlGuard.h"

#include <Base/GCException.h>

#include <xercesc/util/XMLString.hpp>

namespace GenApi {
namespace {

// With entity declarations refused nothing reaches it; it bounds what a Xerces change or a
// road missed here would let through.
constexpr XMLSize_t kEntityExpansionLimit = 10000;

GenICam::gcstring Narrow(const XMLCh* text) {
  GenICam::gcstring out;
  for (; text && *text && out.size() < 120; ++text)
    out += *text >= 0x20 && *text < 0x7F ? static_cast<char>(*text) : '?';
  return out;
}

} // namespace

CXmlGuard::CXmlGuard(const GenICam::gcstring& documentName, size_t maxElementText,
                     size_t maxDocumentText)
    : m_DocumentName(documentName), m_MaxElementText(maxElementText),
      m_MaxDocumentText(maxDocumentText) {
  m_Security.setEntityExpansionLimit(kEntityExpansionLimit);
}

void CXmlGuard::Reset(xercesc::ContentHandler* next) {
  m_pNext = next;
  m_ElementText = m_DocumentText = 0;
}

void CXmlGuard::CountText(size_t length) {
  m_ElementText += length;
  m_DocumentText += length;
  if (m_ElementText > m_MaxElementText)
    throw RUNTIME_EXCEPTION("%s: the text of an element is longer than %zu characters",
                            m_DocumentName.c_str(), m_MaxElementText);
  if (m_DocumentText > m_MaxDocumentText)
    throw RUNTIME_EXCEPTION("%s: the document holds more than %zu characters of text",
                            m_DocumentName.c_str(), m_MaxDocumentText);
}

void CXmlGuard::RefuseEntityDeclaration(const XMLCh* name) const {
  // Entities are how a document reads local files or expands a few bytes into gigabytes; no
  // description or configuration needs them.
  throw RUNTIME_EXCEPTION("%s: its DOCTYPE declares the entity '%s'; XML entities are refused",
                          m_DocumentName.c_str(), Narrow(name).c_str());
}

xercesc::InputSource* CXmlGuard::resolveEntity(const XMLCh* const, const XMLCh* const systemId) {
  throw RUNTIME_EXCEPTION("%s: refers to '%s' outside itself; nothing outside the document is "
                          "read",
                          m_DocumentName.c_str(), Narrow(systemId).c_str());
}

void CXmlGuard::characters(const XMLCh* chars, const XMLSize_t length) {
  CountText(length);
  m_pNext->characters(chars, length);
}

void CXmlGuard::ignorableWhitespace(const XMLCh* chars, const XMLSize_t length) {
  CountText(length);
  m_pNext->ignorableWhitespace(chars, length);
}

void CXmlGuard::startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                             const xercesc::Attributes& attrs) {
  m_ElementText = 0;
  m_pNext->startElement(uri, localname, qname, attrs);
}

void CXmlGuard::endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) {
  m_ElementText = 0;
  m_pNext->endElement(uri, localname, qname);
}

void CXmlGuard::setDocumentLocator(const xercesc::Locator* locator) {
  m_pNext->setDocumentLocator(locator);
}

} // namespace GenApi
