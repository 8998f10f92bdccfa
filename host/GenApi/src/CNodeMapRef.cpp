#include <GenApi/NodeMapRef.h>
#include <GenApi/XercesScope.h>

#include "CNodeMap.h"
#include "CXmlLoader.h"

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

#include <fstream>
#include <sstream>

namespace GenApi {
namespace {

std::string ReadFile(const gcstring& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file)
    throw RUNTIME_EXCEPTION("Could not open '%s'", path.c_str());
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

const char kCameraText[] = "the camera's GenApi description";
const char kMergedText[] = "the GenApi description merged in";

gcstring FileNamed(const gcstring& path) {
  return "GenApi description '" + path + "'";
}

// A linked node map of a description and optionally a second one merged in; the names say in
// messages where each text came from.
std::shared_ptr<CNodeMap> Build(const gcstring& deviceName, const gcstring& xml,
                                const gcstring& name, const gcstring* injectXml,
                                const gcstring& injectName) {
  auto map = std::make_shared<CNodeMap>(deviceName);
  map->Reserve(xml.size() + (injectXml ? injectXml->size() : 0));
  {
    std::unique_ptr<CXercesScope> xerces;
    try {
      xerces = std::make_unique<CXercesScope>();
    } catch (const xercesc::XMLException&) {
      throw RUNTIME_EXCEPTION("Could not initialise the XML parser");
    }
    CXmlLoader(*map, 0).Parse(xml, name);
    if (injectXml)
      CXmlLoader(*map, 1).Parse(*injectXml, injectName);
  }
  map->Link();
  return map;
}

} // namespace

CNodeMapRef::CNodeMapRef(const gcstring& DeviceName) : m_DeviceName(DeviceName) {}

CNodeMapRef::CNodeMapRef(const CNodeMapRef& other)
    : _Ptr(other._Ptr), m_DeviceName(other.m_DeviceName), m_pMap(other.m_pMap) {}

CNodeMapRef& CNodeMapRef::operator=(const CNodeMapRef& other) {
  m_DeviceName = other.m_DeviceName;
  m_pMap = other.m_pMap;
  _Ptr = other._Ptr;
  return *this;
}

CNodeMapRef::~CNodeMapRef() = default;

void CNodeMapRef::Load(const gcstring& xml, const gcstring* injectXml) {
  if (m_pMap)
    throw RUNTIME_EXCEPTION("DLL already loaded");
  m_pMap = Build(m_DeviceName, xml, kCameraText, injectXml, kMergedText);
  _Ptr = m_pMap.get();
}

void CNodeMapRef::_LoadXMLFromFile(const gcstring& FileName) {
  if (m_pMap)
    throw RUNTIME_EXCEPTION("DLL already loaded");
  m_pMap = Build(m_DeviceName, ReadFile(FileName), FileNamed(FileName), nullptr, gcstring());
  _Ptr = m_pMap.get();
}

void CNodeMapRef::_LoadXMLFromString(const gcstring& XmlText) {
  Load(XmlText, nullptr);
}

void CNodeMapRef::_LoadXMLFromStringInject(const gcstring& XmlText, const gcstring& InjectXmlText) {
  Load(XmlText, &InjectXmlText);
}

void CNodeMapRef::_LoadXMLFromFileInject(const gcstring& FileName, const gcstring& InjectFileName) {
  if (m_pMap)
    throw RUNTIME_EXCEPTION("DLL already loaded");
  const std::string inject = ReadFile(InjectFileName);
  m_pMap = Build(m_DeviceName, ReadFile(FileName), FileNamed(FileName), &inject,
                 FileNamed(InjectFileName));
  _Ptr = m_pMap.get();
}

void CNodeMapRef::_Destroy() {
  m_pMap.reset();
  _Ptr = nullptr;
}

INodeMap& CNodeMapRef::Checked() const {
  if (!m_pMap)
    throw ACCESS_EXCEPTION("Feature not present (reference not valid)");
  return *m_pMap;
}

INode* CNodeMapRef::_GetNode(const gcstring& Name) const {
  return Checked().GetNode(Name);
}
void CNodeMapRef::_GetNodes(NodeList_t& Nodes) const {
  Checked().GetNodes(Nodes);
}
void CNodeMapRef::_InvalidateNodes() const {
  Checked().InvalidateNodes();
}
void CNodeMapRef::_Poll(int64_t ElapsedTime) {
  Checked().Poll(ElapsedTime);
}
gcstring CNodeMapRef::_GetDeviceName() const {
  return Checked().GetDeviceName();
}
bool CNodeMapRef::_Connect(IPort* pPort, const gcstring& PortName) const {
  return Checked().Connect(pPort, PortName);
}
bool CNodeMapRef::_Connect(IPort* pPort) const {
  return Checked().Connect(pPort);
}

void CNodeMapRef::_GetSupportedSchemaVersions(gcstring_vector& Versions) {
  Versions = {"1.0", "1.1"};
}

} // namespace GenApi
