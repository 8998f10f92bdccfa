#pragma once
#include <VorlaBase/WaitObjectEx.h>

namespace Vorla {

enum EWaitExResult {
  waitex_timeout = 0,  //!< the time-out passed
  waitex_signaled = 1, //!< the object is signalled
  waitex_alerted = 2   //!< another thread called Alert
};

//! A wait object whose waits another thread can end early with Alert, e.g. to stop a consumer
//! thread that waits for results. Thread-safe, like WaitObjectEx.
class VORLABASE_API AlertableWaitObject : public WaitObjectEx {
public:
  explicit AlertableWaitObject(bool manualReset = true, bool initiallySignaled = false);

  //! Waits for the object or, with `alertable`, for an Alert as well.
  EWaitExResult WaitEx(unsigned timeoutMs, bool alertable) const;
  //! Ends one alertable wait: the current one, or the next one to start.
  void Alert();
};

} // namespace Vorla
