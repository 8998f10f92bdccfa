#pragma once
// The DOM side of CSafeXmlReader.
#include "CXmlGuard.h"

#include <xercesc/parsers/XercesDOMParser.hpp>

namespace GenApi {

//! A Xerces DOM parser whose entity declarations and character data pass the guard first.
//! One parse at a time; bound to the parsing thread.
class CGuardedDomParser : public xercesc::XercesDOMParser {
public:
  explicit CGuardedDomParser(CXmlGuard& guard) : m_Guard(guard) {}

  void docCharacters(const XMLCh* const chars, const XMLSize_t length,
                     const bool cdataSection) override;
  void startElement(const xercesc::XMLElementDecl& elemDecl, const unsigned int urlId,
                    const XMLCh* const elemPrefix,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attrList,
                    const XMLSize_t attrCount, const bool isEmpty, const bool isRoot) override;
  void endElement(const xercesc::XMLElementDecl& elemDecl, const unsigned int urlId,
                  const bool isRoot, const XMLCh* const elemPrefix) override;
  void entityDecl(const xercesc::DTDEntityDecl& entityDecl, const bool isPEDecl,
                  const bool isIgnored) override;

private:
  CXmlGuard& m_Guard;
};

} // namespace GenApi
