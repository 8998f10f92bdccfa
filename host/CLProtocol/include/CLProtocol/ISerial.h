#pragma once
// The serial channel a CLProtocol driver talks through. Four virtual functions in this order and
// no virtual destructor: drivers built by other compilers call through this exact table.
#include <CLProtocol/ClSerialTypes.h>

namespace CLProtocol {

class ISerial {
public:
  virtual CLINT32 CLPROTOCOL clSerialRead(CLINT8* buffer, CLUINT32* bufferSize,
                                          CLUINT32 serialTimeout) = 0;
  virtual CLINT32 CLPROTOCOL clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize,
                                           CLUINT32 serialTimeout) = 0;
  virtual CLINT32 CLPROTOCOL clGetSupportedBaudRates(CLUINT32* baudRates) = 0;
  virtual CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32 baudRate) = 0;

protected:
  // Not virtual (the table above is the whole ABI), so nobody may delete through this interface.
  ~ISerial() = default;
};

} // namespace CLProtocol
