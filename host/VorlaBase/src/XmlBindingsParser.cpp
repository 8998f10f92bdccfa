#include "XmlBindingsParser.h"

#include <Base/GCException.h>
#include <GenApi/SafeXmlReader.h>
#include <GenApi/XercesScope.h>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <memory>

namespace Vorla {
namespace {

using GenICam::gcstring;

const char kRoot[] = "XmlFileBindings";
const char kBinding[] = "Binding";
const char kDownload[] = "Download";
const char kXmlFile[] = "XmlFile";
const char kMergeFile[] = "MergeFile";
// The record properties an entry may match on.
const char* const kMatchKeys[] = {"DeviceClass", "VendorName", "ModelName", "SerialNumber",
                                  "FullName"};

gcstring Utf8(const XMLCh* text, XMLSize_t length) {
  if (!text || length == 0)
    return gcstring();
  xercesc::TranscodeToStr utf8(text, length, "UTF-8");
  return gcstring(reinterpret_cast<const char*>(utf8.str()), utf8.length());
}

gcstring Utf8(const XMLCh* text) {
  return text ? Utf8(text, xercesc::XMLString::stringLen(text)) : gcstring();
}

// Ends a parse from inside a handler: Xerces hands foreign exceptions on unchanged.
struct SParseFailure {
  gcstring message;
};

} // namespace

void CXmlBindingsParser::Fail(const xercesc::SAXParseException& e) {
  throw SParseFailure{"XML bindings file '" + m_path + "', line " +
                      std::to_string(e.getLineNumber()) + ", column " +
                      std::to_string(e.getColumnNumber()) + ": " + Utf8(e.getMessage())};
}

void CXmlBindingsParser::Fail(const gcstring& message) {
  const unsigned long line = m_locator ? m_locator->getLineNumber() : 0;
  const unsigned long column = m_locator ? m_locator->getColumnNumber() : 0;
  throw SParseFailure{"XML bindings file '" + m_path + "', line " + std::to_string(line) +
                      ", column " + std::to_string(column) + ": " + message};
}

void CXmlBindingsParser::startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                                      const xercesc::Attributes& attributes) {
  const gcstring name = Utf8(qname);
  const size_t depth = m_open.size();
  if (depth == 0 && name != kRoot)
    Fail("the root element must be <" + gcstring(kRoot) + ">, not <" + name + ">");
  if (depth == 1 && name != kBinding)
    Fail("<" + name + "> is not allowed in <" + kRoot + ">, only <" + kBinding + ">");
  if (depth == 2 && name != kDownload && name != kXmlFile && name != kMergeFile)
    Fail("<" + name + "> is not allowed in <" + kBinding + ">, only <" + kDownload + "/>, <" +
         kXmlFile + "> and <" + kMergeFile + ">");
  if (depth >= 3)
    Fail("<" + name + "> is not allowed in <" + m_open.back() + ">");
  if (depth != 1 && attributes.getLength() != 0)
    Fail("<" + name + "> takes no attributes");

  if (depth == 1) {
    m_entry = SXmlBindingEntry();
    m_entry.line = m_locator ? m_locator->getLineNumber() : 0;
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
      const gcstring key = Utf8(attributes.getQName(i));
      if (std::find(std::begin(kMatchKeys), std::end(kMatchKeys), key) == std::end(kMatchKeys))
        Fail("unknown attribute '" + key +
             "' (a Binding matches on DeviceClass, VendorName, ModelName, SerialNumber and "
             "FullName)");
      m_entry.match.emplace_back(key, Utf8(attributes.getValue(i)));
    }
  } else if (depth == 2) {
    const bool repeated = name == kDownload  ? m_entry.download
                          : name == kXmlFile ? !m_entry.xmlFile.empty()
                                             : !m_entry.mergeFile.empty();
    if (repeated)
      Fail("<" + name + "> is given twice in one <" + kBinding + ">");
    if (name == kDownload)
      m_entry.download = true;
    m_text.clear();
  }
  m_open.push_back(name);
}

void CXmlBindingsParser::characters(const XMLCh* chars, const XMLSize_t length) {
  const gcstring text = Utf8(chars, length);
  const bool inPath = m_open.size() == 3 && m_open.back() != kDownload;
  if (inPath)
    m_text += text;
  else if (!boost::algorithm::trim_copy(text).empty())
    Fail("text is not allowed in <" + m_open.back() + ">");
}

void CXmlBindingsParser::endElement(const XMLCh*, const XMLCh*, const XMLCh*) {
  const gcstring name = m_open.back();
  m_open.pop_back();
  if (m_open.size() == 2 && name != kDownload) {
    const gcstring path = boost::algorithm::trim_copy(m_text);
    if (path.empty())
      Fail("<" + name + "> names no file");
    (name == kXmlFile ? m_entry.xmlFile : m_entry.mergeFile) = path;
  } else if (m_open.size() == 1) {
    if (m_entry.download == !m_entry.xmlFile.empty())
      Fail("a <" + gcstring(kBinding) + "> needs either <" + kDownload + "/> or <" + kXmlFile +
           ">" + (m_entry.download ? ", not both" : ""));
    m_entries.push_back(m_entry);
  }
}

std::vector<SXmlBindingEntry> CXmlBindingsParser::Parse(const gcstring& path,
                                                        const gcstring& text) {
  CXmlBindingsParser handler(path);
  try {
    std::unique_ptr<GenApi::CXercesScope> xerces;
    try {
      xerces = std::make_unique<GenApi::CXercesScope>();
    } catch (const xercesc::XMLException&) {
      throw RUNTIME_EXCEPTION("Failed to initialize Xerces");
    }
    GenApi::CSafeXmlReader reader("XML bindings file '" + path + "'",
                                  GenApi::CSafeXmlReader::ConfigurationElementText,
                                  GenApi::CSafeXmlReader::ConfigurationDocumentText);
    xercesc::TranscodeFromStr systemId(reinterpret_cast<const XMLByte*>(path.c_str()),
                                       path.size() + 1, "UTF-8");
    xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                      systemId.str());
    reader.Parse(source, handler, handler);
  } catch (const SParseFailure& failure) {
    throw RUNTIME_EXCEPTION("%s", failure.message.c_str());
  } catch (const xercesc::XMLException& e) {
    throw RUNTIME_EXCEPTION("XML bindings file '%s': %s", path.c_str(),
                            Utf8(e.getMessage()).c_str());
  }
  return handler.m_entries;
}

} // namespace Vorla
