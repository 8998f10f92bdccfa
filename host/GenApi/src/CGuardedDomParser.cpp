#include "CGuardedDomParser.h"

#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

namespace GenApi {

void CGuardedDomParser::docCharacters(const XMLCh* const chars, const XMLSize_t length,
                                      const bool cdataSection) {
  m_Guard.CountText(length);
  XercesDOMParser::docCharacters(chars, length, cdataSection);
}

void CGuardedDomParser::startElement(const xercesc::XMLElementDecl& elemDecl,
                                     const unsigned int urlId, const XMLCh* const elemPrefix,
                                     const xercesc::RefVectorOf<xercesc::XMLAttr>& attrList,
                                     const XMLSize_t attrCount, const bool isEmpty,
                                     const bool isRoot) {
  m_Guard.Tag();
  XercesDOMParser::startElement(elemDecl, urlId, elemPrefix, attrList, attrCount, isEmpty, isRoot);
}

void CGuardedDomParser::endElement(const xercesc::XMLElementDecl& elemDecl,
                                   const unsigned int urlId, const bool isRoot,
                                   const XMLCh* const elemPrefix) {
  m_Guard.Tag();
  XercesDOMParser::endElement(elemDecl, urlId, isRoot, elemPrefix);
}

void CGuardedDomParser::entityDecl(const xercesc::DTDEntityDecl& entityDecl, const bool,
                                   const bool) {
  m_Guard.RefuseEntityDeclaration(entityDecl.getName());
}

} // namespace GenApi
