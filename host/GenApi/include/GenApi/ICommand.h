#pragma once
#include <GenApi/IValue.h>

namespace GenApi {

struct GENAPI_API ICommand : virtual public IValue {
  virtual void Execute(bool Verify = true) = 0;
  //! True once the device no longer reports the command as running.
  virtual bool IsDone(bool Verify = true) = 0;
  void operator()() { Execute(); }
};

} // namespace GenApi
