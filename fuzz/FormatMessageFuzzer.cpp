// Texts that plug-ins and drivers hand to the host (error texts, names, log lines) end up as
// arguments of printf-style messages: exceptions cut at 255 characters, log lines without a
// limit. Whatever the text holds ('%' signs, multi-byte characters, no end), it is copied, never
// interpreted, and the cut message is the start of the whole one.
#include <Base/ForeignText.h>
#include <Base/GCException.h>
#include <VorlaBase/Logging.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

namespace {

// Message shapes of the product that take plug-in texts, all with arguments (text, text, number).
const char* const kFormats[] = {
    "%s",
    "%s: %s",
    "%s: Unspecified exception occurred%.0s",
    "Could not read CLBindings (%s)%s",
    "Failed to parse XML file '%s' : '%s', line: %I64u column: 1",
    "%-20s|%.5s|%I64#x",
    "%s%s%I64i",
    "%300s%s",
    "%.255s%s%I64u%%",
};

std::string Format256(const char* format, const char* a, const char* b, long long n) {
  return GenICam::FormatMessage256(format, a, b, n);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vxlog::LogSetFilter("4096");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const char* format = kFormats[input.ConsumeIntegralInRange<std::size_t>(
      0, sizeof kFormats / sizeof kFormats[0] - 1)];
  const long long number = input.ConsumeIntegral<long long>();
  const std::string a = input.ConsumeRandomLengthString(600);
  const std::string b = input.ConsumeRemainingBytesAsString();

  const std::string cut = Format256(format, a.c_str(), b.c_str(), number);
  vxlog::CLogCapture capture;
  vxlog::LogTrace(vxlog::LogGetCatID("Fuzz"), vxlog::Error, format, a.c_str(), b.c_str(), number);
  const std::string whole = capture.Entries().at(0).text;
  if (cut.size() > 255 || whole.compare(0, cut.size(), cut) != 0)
    __builtin_trap();

  // A plug-in's error text read as a format without arguments reads none and stays within 255.
  if (GenICam::FormatForeignText256(a.c_str()).size() > 255)
    __builtin_trap();

  try {
    throw RUNTIME_EXCEPTION(format, a.c_str(), b.c_str(), number);
  } catch (const GenICam::RuntimeException& e) {
    if (std::string(e.GetDescription()) != cut)
      __builtin_trap();
  }
  return 0;
}
