#include <vorla/private/VorlaXercesHelper.h>

#include <boost/algorithm/string/trim.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include <memory>

namespace Vorla {
namespace {

[[noreturn]] void ThrowParseError(const xercesc::SAXParseException& exception) {
  const GenICam::gcstring systemId = TranscodeAndTrim(exception.getSystemId());
  const GenICam::gcstring message = TranscodeAndTrim(exception.getMessage());
  throw RUNTIME_EXCEPTION("Failed to parse XML file '%s' : '%s', line: %llu column: %llu",
                          systemId.c_str(), message.c_str(),
                          static_cast<unsigned long long>(exception.getLineNumber()),
                          static_cast<unsigned long long>(exception.getColumnNumber()));
}

// Without a transcoding service only ASCII survives; the rest becomes '?'.
GenICam::gcstring NarrowAscii(const XMLCh* text) {
  GenICam::gcstring result;
  for (; *text; ++text)
    result.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
  return result;
}

} // namespace

void DefaultRuntimeExceptionErrorHandler::warning(const xercesc::SAXParseException&) {}

void DefaultRuntimeExceptionErrorHandler::error(const xercesc::SAXParseException& exception) {
  ThrowParseError(exception);
}

void DefaultRuntimeExceptionErrorHandler::fatalError(const xercesc::SAXParseException& exception) {
  ThrowParseError(exception);
}

GenICam::gcstring TranscodeAndTrim(const XMLCh* text) {
  if (!text)
    return GenICam::gcstring();
  if (!xercesc::XMLPlatformUtils::fgTransService) {
    return boost::algorithm::trim_copy(NarrowAscii(text));
  }
  std::unique_ptr<char, SXercesRelease> narrow(xercesc::XMLString::transcode(text));
  if (!narrow)
    return GenICam::gcstring();
  xercesc::XMLString::trim(narrow.get());
  return GenICam::gcstring(narrow.get());
}

void RethrowAsGenICamException(const char* context, const char* sourceFile,
                               unsigned int sourceLine) {
  const GenICam::ExceptionReporter<GenICam::RuntimeException> reporter(sourceFile, sourceLine);
  try {
    throw;
  } catch (const xercesc::XMLException& e) {
    throw reporter.Report("%s: %s", context, TranscodeAndTrim(e.getMessage()).c_str());
  } catch (const xercesc::DOMException& e) {
    throw reporter.Report("%s: %s", context, TranscodeAndTrim(e.getMessage()).c_str());
  } catch (const xercesc::SAXException& e) {
    throw reporter.Report("%s: %s", context, TranscodeAndTrim(e.getMessage()).c_str());
  } catch (const std::exception&) {
    throw;
  } catch (...) {
    throw reporter.Report("%s: Unspecified exception occurred", context);
  }
}

} // namespace Vorla
