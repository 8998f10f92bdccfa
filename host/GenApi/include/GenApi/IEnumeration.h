#pragma once
#include <GenApi/IEnumEntry.h>

namespace GenApi {

struct GENAPI_API IEnumeration : virtual public IValue {
  //! Symbolic names of the entries that are available now.
  virtual void GetSymbolics(gcstring_vector& Symbolics) = 0;
  //! Every entry node, available or not.
  virtual void GetEntries(NodeList_t& Entries) = 0;
  virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
  virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
  virtual IEnumEntry* GetEntryByName(const gcstring& Symbolic) = 0;
  virtual IEnumEntry* GetEntry(int64_t IntValue) = 0;
  virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;

  IEnumeration& operator=(const gcstring& Symbolic) {
    FromString(Symbolic);
    return *this;
  }
  gcstring operator*() { return ToString(); }
};

} // namespace GenApi
