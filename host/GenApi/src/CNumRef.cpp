#include "CNumRef.h"

#include "CNodeBase.h"

namespace GenApi {

int64_t CNumRef::GetInt(bool ignoreCache) const {
  return Ref.p ? Ref.p->GetIntV(false, ignoreCache) : Int;
}

double CNumRef::GetFloat(bool ignoreCache) const {
  return Ref.p ? Ref.p->GetFloatV(false, ignoreCache) : Float;
}

} // namespace GenApi
