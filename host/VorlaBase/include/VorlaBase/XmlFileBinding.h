#pragma once
#include <Base/GCString.h>
#include <VorlaBase/VorlaBaseDef.h>

namespace Vorla {

//! Where the GenICam description of one device comes from: downloaded from the device, or read
//! from a named XML file; in both cases optionally merged with a second file. Paths are complete
//! (environment variables replaced, relative paths resolved).
//!
//! A value type: copies are independent; a const object may be read from any thread.
class CXmlFileBinding {
public:
  //! Who decided.
  enum ESource {
    SourceDefault,     //!< nothing configured: download from the device
    SourceOverride,    //!< the record's "DeviceXMLFileOverride" property
    SourceBindingsFile //!< an entry of the XML bindings file
  };

  //! Download from the device, nothing merged.
  CXmlFileBinding() = default;
  //! `xmlFilePath` empty means download from the device.
  CXmlFileBinding(const GenICam::gcstring& xmlFilePath, const GenICam::gcstring& mergeFilePath,
                  ESource source, const GenICam::gcstring& origin)
      : m_xmlFile(xmlFilePath), m_mergeFile(mergeFilePath), m_source(source), m_origin(origin) {}

  //! True when the description is to be downloaded from the device.
  bool IsDownloadRequested() const { return m_xmlFile.empty(); }
  //! True when an XML file is named (and then no download is asked).
  bool IsXmlFileNamed() const { return !m_xmlFile.empty(); }
  const GenICam::gcstring& GetXmlFilePath() const { return m_xmlFile; }
  //! True when a file is to be merged into the description.
  bool IsMergeFileNamed() const { return !m_mergeFile.empty(); }
  const GenICam::gcstring& GetMergeFilePath() const { return m_mergeFile; }
  ESource GetSource() const { return m_source; }
  //! For messages: "DeviceXMLFileOverride", "<bindings file>:<line>" or "default".
  const GenICam::gcstring& GetOrigin() const { return m_origin; }

private:
  GenICam::gcstring m_xmlFile;
  GenICam::gcstring m_mergeFile;
  ESource m_source = SourceDefault;
  GenICam::gcstring m_origin = "default";
};

} // namespace Vorla
