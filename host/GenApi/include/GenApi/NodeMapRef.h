#pragma once
#include <GenApi/INodeMap.h>

#include <memory>

namespace GenApi {

class CNodeMap;

//! Holds a node map built from a GenApi description. Copies share the map.
class GENAPI_API CNodeMapRef {
public:
  explicit CNodeMapRef(const gcstring& DeviceName = "Device");
  CNodeMapRef(const CNodeMapRef& other);
  CNodeMapRef& operator=(const CNodeMapRef& other);
  virtual ~CNodeMapRef();

  //! Each load throws RuntimeException "DLL already loaded" when the holder has a map; a failed
  //! load leaves the holder empty.
  void _LoadXMLFromFile(const gcstring& FileName);
  void _LoadXMLFromString(const gcstring& XmlText);
  //! Loads the description with a second one merged in: new nodes are added, a node of the same
  //! name replaces the first description's one unless that has the higher MergePriority.
  void _LoadXMLFromStringInject(const gcstring& XmlText, const gcstring& InjectXmlText);
  void _LoadXMLFromFileInject(const gcstring& FileName, const gcstring& InjectFileName);
  void _Destroy();

  //! Null when the map has no such node; throws AccessException when there is no map.
  INode* _GetNode(const gcstring& Name) const;
  void _GetNodes(NodeList_t& Nodes) const;
  void _InvalidateNodes() const;
  void _Poll(int64_t ElapsedTime);
  gcstring _GetDeviceName() const;
  bool _Connect(IPort* pPort, const gcstring& PortName) const;
  bool _Connect(IPort* pPort) const;
  static void _GetSupportedSchemaVersions(gcstring_vector& Versions);

  operator INodeMap*() const { return _Ptr; }

  //! The held map, null while empty.
  INodeMap* _Ptr = nullptr;

private:
  void Load(const gcstring& xml, const gcstring* injectXml);
  INodeMap& Checked() const;

  gcstring m_DeviceName;
  std::shared_ptr<CNodeMap> m_pMap;
};

} // namespace GenApi
