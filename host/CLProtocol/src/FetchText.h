#pragma once
#include <CLProtocol/ClSerialTypes.h>

#include <string>
#include <vector>

namespace CLProtocol {

//! Calls a C text function with the in/out size protocol of clser* and clp* (`call(buffer,
//! &size)`), growing the buffer once to the size asked for, at most `maxSize` bytes. Returns the
//! call's status; `text` is set only on success.
template <class F>
CLINT32 FetchText(F&& call, std::string& text, CLUINT32 initialSize, CLUINT32 maxSize) {
  std::vector<CLINT8> buffer(initialSize);
  CLUINT32 size = static_cast<CLUINT32>(buffer.size());
  CLINT32 status = call(buffer.data(), &size);
  if (status == CL_ERR_BUFFER_TOO_SMALL && size > buffer.size() && size <= maxSize) {
    buffer.resize(size);
    size = static_cast<CLUINT32>(buffer.size());
    status = call(buffer.data(), &size);
  }
  if (status != CL_ERR_NO_ERR)
    return status;
  buffer.back() = 0; // never trust the terminator of a foreign library
  text = buffer.data();
  return status;
}

} // namespace CLProtocol
