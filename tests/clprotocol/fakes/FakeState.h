#pragma once
// What the tests script and read of the fake serial library and the fake CLProtocol driver. Each
// module exports its state under a C name (fakeSerialState, fakeDriverState) that the tests look
// up in the loaded module.
#include <CLProtocol/ClSerialTypes.h>

#include <cstring>
#include <string>

struct SFakeSerialState {
  CLUINT32 m_Supported = 0xFF; //!< the rates every port can do
  CLUINT32 m_Baud = CL_BAUDRATE_9600;
  CLUINT32 m_LastReadTimeout = 0;
  int m_Open = 0; //!< ports open now
};

struct SFakeDriverState {
  int m_InitCalls = 0;
  std::string m_Answer = "Fake#Cam#Model1#V1#SN42";
  std::string m_XMLIDs = "SchemaVersion.1.0@Fake@XMLVersion.1.0.0\t"
                         "SchemaVersion.1.1@Fake#Cam@XMLVersion.1.5.0\t"
                         "SchemaVersion.1.1@Fake#Cam@XMLVersion.2.0.0\t"
                         "SchemaVersion.1.1@Other@XMLVersion.9.0.0";
  CLINT32 m_ProbeStatus = CL_ERR_NO_ERR; //!< answered after the probe's echo
  int m_PendingWrites = 0;               //!< writes still pending after a register write
  int m_Continuations = 0;
  bool m_Cancelled = false; //!< a pending write was given up
  CLUINT32 m_CameraBauds = 0x1F, m_Baud = CL_BAUDRATE_9600;
  int m_Connections = 0;
  std::string m_LastProbeQuery;
};

//! `text` with its NUL into `buffer`, or the size it needs.
inline CLINT32 FakeCopy(const std::string& text, CLINT8* buffer, CLUINT32* size) {
  const CLUINT32 needed = static_cast<CLUINT32>(text.size() + 1);
  if (!buffer || *size < needed) {
    *size = needed;
    return CL_ERR_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, text.c_str(), needed);
  *size = needed;
  return CL_ERR_NO_ERR;
}
