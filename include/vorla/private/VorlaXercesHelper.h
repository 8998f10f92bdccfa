#pragma once
// Xerces-C glue of the plug-in: the error handler that turns parse errors into GenICam
// exceptions, and the conversion of parser texts into trimmed local 8-bit strings.
#include <Base/GCBase.h>

#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/XMLString.hpp>

namespace Vorla {

//! Deleter of the texts Xerces allocates (XMLString::transcode), for std::unique_ptr.
struct SXercesRelease {
  void operator()(char* text) const { xercesc::XMLString::release(&text); }
  void operator()(XMLCh* text) const { xercesc::XMLString::release(&text); }
};

//! Xerces error handler: warnings are ignored; errors and fatal errors throw a
//! GenICam::RuntimeException "Failed to parse XML file '<system id>' : '<message>', line: <l>
//! column: <c>" that leaves the parse unchanged.
class DefaultRuntimeExceptionErrorHandler : public xercesc::DefaultHandler {
public:
  void warning(const xercesc::SAXParseException& exception) override;
  void error(const xercesc::SAXParseException& exception) override;
  void fatalError(const xercesc::SAXParseException& exception) override;
};

//! Converts a parser text to the local code page and trims leading and trailing white space;
//! null gives an empty string. Falls back to plain ASCII when Xerces has no transcoder (not
//! initialised), so that it can describe an initialisation failure.
GenICam::gcstring TranscodeAndTrim(const XMLCh* text);

//! Throws the exception being handled on as a GenICam one, with the given place of the throw:
//! Xerces' XMLException, DOMException and SAXException become a RuntimeException
//! "<context>: <message>"; standard exceptions (GenICam's among them) pass unchanged; anything
//! else becomes "<context>: Unspecified exception occurred". Call only inside a catch block.
[[noreturn]] void RethrowAsGenICamException(const char* context, const char* sourceFile,
                                            unsigned int sourceLine);

} // namespace Vorla
