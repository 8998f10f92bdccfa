#pragma once
#include <GenApi/INode.h>
#include <GenApi/IPort.h>
#include <GenApi/Synch.h>

namespace GenApi {

struct GENAPI_API INodeMap {
  //! Every node of the map (enumeration entries included).
  virtual void GetNodes(NodeList_t& Nodes) const = 0;
  //! The node of that name, or null.
  virtual INode* GetNode(const gcstring& Name) const = 0;
  //! Drops every cached value; fires no callbacks.
  virtual void InvalidateNodes() const = 0;
  //! Attaches a port to the Port node of that name; false when there is no such Port node.
  virtual bool Connect(IPort* pPort, const gcstring& PortName) const = 0;
  virtual bool Connect(IPort* pPort) const = 0;
  virtual gcstring GetDeviceName() = 0;
  //! Invalidates polled nodes whose polling time has elapsed and fires their callbacks.
  virtual void Poll(int64_t ElapsedTime) = 0;
  virtual CLock& GetLock() const = 0;
  virtual uint64_t GetNumNodes() const = 0;

protected:
  virtual ~INodeMap() = default;
};

} // namespace GenApi
