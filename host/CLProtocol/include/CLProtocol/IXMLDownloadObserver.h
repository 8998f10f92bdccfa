#pragma once
// Progress of camera description downloads, for applications that show it.
#include <CLProtocol/CLProtocolDef.h>

#include <cstdint>

namespace CLProtocol {

//! Learns how a description download of CCLPort::GetXML advances. A CLProtocol driver hands
//! over a description in one call and announces no size beforehand, so progress is counted in
//! bytes received on the serial line (protocol overhead included); the description's size is
//! known when the download ends. Called on the downloading thread; exceptions are swallowed.
class VORLA_INTERFACE IXMLDownloadObserver {
public:
  //! After every serial read of the download: the bytes received on the line so far.
  virtual void OnXMLDownloadProgress(uint64_t lineBytes) = 0;
  //! Once at the end: the bytes received and the description's size (0 when there is none or
  //! the download failed).
  virtual void OnXMLDownloadEnd(uint64_t lineBytes, uint64_t descriptionSize) = 0;

protected:
  virtual ~IXMLDownloadObserver() = default;
};

//! Installs `observer` for the downloads that the calling thread runs, also through a transport
//! layer (null removes it), and answers the one it replaces. The observer must stay alive while
//! it is installed. Each thread has its own; nothing is shared between threads.
CLPROTOCOL_API IXMLDownloadObserver* SetXMLDownloadObserver(IXMLDownloadObserver* observer);

} // namespace CLProtocol
