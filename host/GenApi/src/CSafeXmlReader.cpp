#include <GenApi/SafeXmlReader.h>

#include "CGuardedDomParser.h"
#include "CXmlGuard.h"

#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace GenApi {

using namespace xercesc;

CSafeXmlReader::CSafeXmlReader(const GenICam::gcstring& documentName, size_t maxElementText,
                               size_t maxDocumentText)
    : m_pGuard(std::make_unique<CXmlGuard>(documentName, maxElementText, maxDocumentText)) {}

CSafeXmlReader::~CSafeXmlReader() = default;

void CSafeXmlReader::Parse(const InputSource& source, ContentHandler& content,
                           ErrorHandler& errors) {
  std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader());
  reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
  reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  reader->setFeature(XMLUni::fgXercesSchema, false);
  reader->setFeature(XMLUni::fgXercesLoadSchema, false);
  reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  reader->setProperty(XMLUni::fgXercesSecurityManager, &m_pGuard->Security());
  reader->setEntityResolver(m_pGuard.get());
  reader->setDeclarationHandler(m_pGuard.get());
  m_pGuard->Reset(&content);
  reader->setContentHandler(m_pGuard.get());
  reader->setErrorHandler(&errors);
  reader->parse(source);
}

const DOMDocument* CSafeXmlReader::ParseDocument(const InputSource& source, ErrorHandler& errors) {
  m_pDomParser = std::make_unique<CGuardedDomParser>(*m_pGuard);
  CGuardedDomParser& parser = *m_pDomParser;
  parser.setValidationScheme(XercesDOMParser::Val_Never);
  parser.setDoSchema(false);
  parser.setLoadSchema(false);
  parser.setLoadExternalDTD(false);
  parser.setDisableDefaultEntityResolution(true);
  parser.setSecurityManager(&m_pGuard->Security());
  parser.setEntityResolver(m_pGuard.get());
  parser.setErrorHandler(&errors);
  m_pGuard->Reset(nullptr);
  parser.parse(source);
  return parser.getDocument();
}

} // namespace GenApi
