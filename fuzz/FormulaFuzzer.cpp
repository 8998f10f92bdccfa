// A formula of a SwissKnife or Converter from a camera description: parse it, then evaluate it in
// integer and in float mode. Bytes after the first NUL give the values of its variables (8 bytes
// each, the low bit of the first choosing integer or double). Only GenICam exceptions may leave.
#include "Formula.h"

#include "FuzzSupport.h"

#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::pair<std::string, std::string> input = FuzzSplitAtNul(data, size);
  const std::string& text = input.first;
  const std::string& values = input.second;

  const auto resolve = [&](size_t id) {
    unsigned char bytes[8] = {};
    for (size_t i = 0; i < sizeof bytes && !values.empty(); ++i)
      bytes[i] = static_cast<unsigned char>(values[(id * 8 + i) % values.size()]);
    if (bytes[0] & 1) {
      double d;
      std::memcpy(&d, bytes, sizeof d);
      return GenApi::FormulaValue::FromFloat(d);
    }
    int64_t v;
    std::memcpy(&v, bytes, sizeof v);
    return GenApi::FormulaValue::FromInt(v);
  };

  FuzzTry([&] {
    // "TO"/"FROM" and one-letter names are bound, as a converter's variables would be.
    const GenApi::CFormula formula(text, {"TO", "FROM", "E", "PI", "X"});
    for (const bool integerMode : {true, false})
      FuzzTry([&] { (void)formula.Evaluate(resolve, integerMode).AsInt(); });
  });
  return 0;
}
