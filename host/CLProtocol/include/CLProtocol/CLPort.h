#pragma once
// The host's CLProtocol module: finds Camera Link serial ports and CLProtocol drivers, probes
// cameras, and gives a connected camera's registers and description as a GenApi port.
#include <Base/GCString.h>
#include <CLProtocol/CLException.h>
#include <CLProtocol/CLProtocolDef.h>
#include <CLProtocol/ClSerialTypes.h>
#include <CLProtocol/DeviceID.h>
#include <CLProtocol/IXMLDownloadObserver.h>
#include <GenApi/IPort.h>

#include <memory>

namespace CLProtocol {

class CSerialPort;
class CProtocolDriver;

//! One connection to a camera. Every Camera Link failure leaves as a CLErrException carrying its
//! status code. An object is used by one thread at a time (its owner serialises the calls);
//! the static functions may be called from any thread.
class CLPROTOCOL_API CCLPort : public GenApi::IPort {
public:
  CCLPort();
  //! Disconnects and closes the serial port.
  ~CCLPort() override;
  CCLPort(const CCLPort&) = delete;
  CCLPort& operator=(const CCLPort&) = delete;

  //! "<manufacturer>#<port identifier>" of every port of every serial library found in
  //! <libdir>/vorla/clserial and in the folders of CLSERIALPATH.
  static void GetPortIDs(GenICam::gcstring_vector& portIDs);
  //! "<dir>#<file>#<short template>" for every template of every driver <file> found in a
  //! folder <dir> = <entry>/Linux64_x64 ("Win64_x64" on Windows), for each entry of the
  //! ';'-separated GENICAM_CLPROTOCOL and for <libdir>/vorla/clprotocol. An entry without that
  //! folder is skipped with a warning (log category "CLProtocol").
  static void GetDeviceIDTemplates(GenICam::gcstring_vector& templates);
  //! The full DeviceID of the camera on `portID` that matches the template, or an empty string
  //! when the driver finds no such camera. Other failures throw. Driver directory and file
  //! always come from the template, whatever the driver answers: a camera cannot choose the
  //! library that a DeviceID loads.
  static GenICam::gcstring ProbeDevice(const GenICam::gcstring& portID,
                                       const GenICam::gcstring& deviceIDTemplate,
                                       CLUINT32 timeoutMs = 500);

  //! Connects to the camera `deviceID` (full DeviceID or template) on `portID`, closing an
  //! earlier connection first. The driver must be one that discovery finds.
  void Connect(const GenICam::gcstring& portID, const GenICam::gcstring& deviceID);
  void Disconnect();
  bool IsConnected() const;

  void SetSerialTimeOut(CLUINT32 timeoutMs) { m_timeoutMs = timeoutMs; }
  CLUINT32 GetSerialTimeOut() const { return m_timeoutMs; }

  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  //! Waits out PENDING_WRITE answers of the driver.
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  //! RW while connected, NA otherwise.
  GenApi::EAccessMode GetAccessMode() const override;

  //! The camera's best description (highest schema, most specific template, newest version),
  //! empty when it has none. With `useMaxBaudrate` the line runs at the fastest rate of camera
  //! and port during the download and returns to its rate afterwards. The calling thread's
  //! IXMLDownloadObserver, if any, learns the progress.
  void GetXML(GenICam::gcstring& xml, bool useMaxBaudrate = true);

  //! Baud-rate bits that camera and port both support. Returns a Camera Link status, never
  //! throws; `mask` is 0 on failure.
  CLINT32 SupportedBaudrates(CLUINT32& mask);
  //! Switches camera and port to one CL_BAUDRATE_* bit.
  void SetDeviceBauderate(CLUINT32 baudRateBit);
  CLUINT32 GetDeviceBauderate();

  //! The full DeviceID of the connected camera, empty when not connected.
  GenICam::gcstring GetDeviceID() const { return m_deviceID; }
  GenICam::gcstring GetPortID() const { return m_portID; }

private:
  void CheckConnected() const;
  void DownloadXML(GenICam::gcstring& xml, bool useMaxBaudrate);

  std::unique_ptr<CSerialPort> m_serial;
  CProtocolDriver* m_driver = nullptr; // kept by the module registry for the whole process
  CLUINT32 m_cookie = 0;
  CLUINT32 m_timeoutMs = 500;
  GenICam::gcstring m_portID;
  GenICam::gcstring m_deviceID;
};

} // namespace CLProtocol
