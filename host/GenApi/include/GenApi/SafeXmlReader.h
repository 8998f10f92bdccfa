#pragma once
// The one Xerces-C set-up of the host for XML that it does not control: camera descriptions,
// the port configuration and the bindings file.
#include <Base/GCString.h>
#include <GenApi/GenApiDll.h>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/InputSource.hpp>
#include <xercesc/sax2/ContentHandler.hpp>

#include <cstddef>
#include <memory>

namespace GenApi {

class CXmlGuard;
class CGuardedDomParser;

//! Parses one untrusted XML document with Xerces so that it can neither reach outside itself nor
//! grow without bound; the callers only walk the elements.
//!
//! - no DTD is loaded and no external entity is opened: every entity the parser would resolve is
//!   refused, so a document can make the host read no local file, FIFO or URL;
//! - a DOCTYPE that declares an entity (general or parameter, internal or external) is refused at
//!   the declaration, before anything is expanded; Xerces' entity-expansion limit stays set as a
//!   second line;
//! - character data are bounded per element (between two tags) and per document.
//!
//! Each refusal throws a GenICam::RuntimeException whose text begins with the document's name,
//! out of the parse call, past the caller's handlers. Xerces must be initialised (hold a
//! CXercesScope or call XMLPlatformUtils::Initialize). One reader per parse and thread.
class GENAPI_API CSafeXmlReader {
public:
  //! `documentName` names the document in refusals, e.g. "GenApi description 'a.xml'".
  CSafeXmlReader(const GenICam::gcstring& documentName, size_t maxElementText,
                 size_t maxDocumentText);
  ~CSafeXmlReader();
  CSafeXmlReader(const CSafeXmlReader&) = delete;
  CSafeXmlReader& operator=(const CSafeXmlReader&) = delete;

  //! SAX2 with namespaces, without validation: the events go to `content`, parse errors to
  //! `errors`.
  void Parse(const xercesc::InputSource& source, xercesc::ContentHandler& content,
             xercesc::ErrorHandler& errors);

  //! A DOM of the document, owned by this reader; null when Xerces built none.
  const xercesc::DOMDocument* ParseDocument(const xercesc::InputSource& source,
                                            xercesc::ErrorHandler& errors);

  //! Limits of character data for documents of a few dozen entries written by people or
  //! installers (the port configuration, the bindings file).
  static constexpr size_t ConfigurationElementText = 64 * 1024;
  static constexpr size_t ConfigurationDocumentText = 1024 * 1024;
  //! ... and for camera descriptions, which are as large as the archives they come in.
  static constexpr size_t DescriptionElementText = 1024 * 1024;
  static constexpr size_t DescriptionDocumentText = 64 * 1024 * 1024;

private:
  std::unique_ptr<CXmlGuard> m_pGuard;
  std::unique_ptr<CGuardedDomParser> m_pDomParser;
};

} // namespace GenApi
