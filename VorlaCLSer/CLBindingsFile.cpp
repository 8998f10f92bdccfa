#include "CLBindingsFile.h"

#include "VorlaCLSerLog.h"

#include <GenApi/SafeXmlReader.h>

#include <vorla/private/VorlaXercesHelper.h>

#include <boost/algorithm/string/predicate.hpp>
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/framework/LocalFileInputSource.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUniDefs.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

namespace Vorla {
namespace {

using GenICam::gcstring;

const XMLCh kPortTag[] = {xercesc::chLatin_P, xercesc::chLatin_o, xercesc::chLatin_r,
                          xercesc::chLatin_t, xercesc::chNull};

// A directory opens like a file on some systems but cannot be parsed; report it as unreadable.
bool IsReadableFile(const char* path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec))
    return false;
  return std::ifstream(path, std::ios::binary).is_open();
}

bool IsEnabledText(const gcstring& text) {
  return boost::algorithm::iequals(text, "yes") || boost::algorithm::iequals(text, "true") ||
         text == "1";
}

} // namespace

unsigned int CCLBindingsFile::ParseCLBindingsFile(const char* path, PortConfigurationTable& table) {
  if (!path)
    return 0;
  vxlog::LogTrace(TlLog(), vxlog::Progress, "Trying to load CLBindings from file '%s'", path);
  if (!IsReadableFile(path)) {
    vxlog::LogTrace(TlLog(), vxlog::Error,
                    "CLBindings file '%s' does not exist or could not be read.", path);
    return 0;
  }

  // Declared before the reader: the reader's parser keeps a pointer to it.
  DefaultRuntimeExceptionErrorHandler errorHandler;
  GenApi::CSafeXmlReader reader(gcstring("CL binding file '") + path + "'",
                                GenApi::CSafeXmlReader::ConfigurationElementText,
                                GenApi::CSafeXmlReader::ConfigurationDocumentText);
  const xercesc::DOMDocument* document = nullptr;
  try {
    gcstring filePath(path);
#if defined(_WIN32)
    // Xerces takes a path that does not begin with '\' or a drive for a relative one and puts
    // the current folder in front, even "/dir/file", which the C runtime opened above.
    std::replace(filePath.begin(), filePath.end(), '/', '\\');
#endif
    const std::unique_ptr<XMLCh, SXercesRelease> xmlPath(
        xercesc::XMLString::transcode(filePath.c_str()));
    const xercesc::LocalFileInputSource source(xmlPath.get());
    document = reader.ParseDocument(source, errorHandler);
  } catch (...) {
    RethrowAsGenICamException("Failed to parse CL binding file", __FILE__, __LINE__);
  }

  unsigned int count = 0;
  try {
    if (!document)
      throw RUNTIME_EXCEPTION("Failed to get document of CL binding file.");
    if (!document->getDocumentElement())
      throw RUNTIME_EXCEPTION("Failed to get root node of CL binding doc.");

    const xercesc::DOMNodeList* ports = document->getElementsByTagName(kPortTag);
    const XMLSize_t portCount = ports->getLength();
    for (XMLSize_t i = 0; i < portCount; ++i) {
      const auto* port = static_cast<const xercesc::DOMElement*>(ports->item(i));
      SPortConfigurationEntry entry;
      if (!ReadPortEntry(port, entry))
        continue;
      // Entries with an id already present are kept on purpose: which one applies is decided
      // when a camera is matched, so there is nothing to look up here.
      table.push_back(std::move(entry));
      ++count;
    }
  } catch (...) {
    RethrowAsGenICamException("Failed to process CL binding file", __FILE__, __LINE__);
  }

  vxlog::LogTrace(TlLog(), vxlog::Progress, "Successfully parsed %u entries from CLbindings file.",
                  count);
  return count;
}

bool CCLBindingsFile::ReadPortEntry(const xercesc::DOMElement* port,
                                    SPortConfigurationEntry& entry) {
  entry = SPortConfigurationEntry();
  if (!port)
    return false;
  for (const xercesc::DOMNode* child = port->getFirstChild(); child;
       child = child->getNextSibling()) {
    if (child->getNodeType() != xercesc::DOMNode::ELEMENT_NODE)
      continue;
    const gcstring name = TranscodeAndTrim(child->getNodeName());
    const gcstring value = TranscodeAndTrim(child->getTextContent());
    if (boost::algorithm::iequals(name, "ID"))
      entry.ID = value;
    else if (name == "Enabled")
      entry.Enabled = IsEnabledText(value);
    else if (name == "Manufacturer")
      entry.Manufacturer = value;
    else if (name == "Family")
      entry.Family = value;
    else if (name == "Model")
      entry.Model = value;
    else if (name == "DeviceSpecificString")
      entry.DeviceSpecificString = value;
    else if (name == "BaudRate")
      entry.BaudRate = value;
  }
  return !entry.ID.empty();
}

} // namespace Vorla
