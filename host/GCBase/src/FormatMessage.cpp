#include <Base/ForeignText.h>
#include <Base/GCException.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace GenICam {
namespace {
// Messages were written for the Windows C library: "%I64i", "%I64u", "%I64x" and "%I64#x" carry
// 64-bit values. Rewrite them into the portable "ll" forms; flags after "I64" move in front.
gcstring PortableFormat(const char* format) {
  gcstring out;
  out.reserve(std::strlen(format) + 8);
  for (const char* p = format; *p;) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    out += *p++;
    if (*p == '%') {
      out += *p++;
      continue;
    }
    // flags, width, precision
    gcstring flags;
    while (*p && std::strchr("-+ #0123456789.*", *p))
      flags += *p++;
    if (std::strncmp(p, "I64", 3) == 0) {
      p += 3;
      while (*p && std::strchr("-+#0123456789.", *p))
        flags += *p++;
      out += flags + "ll";
      if (*p && std::strchr("diouxX", *p))
        out += *p++;
      else
        out += 'd'; // a bare "%I64" prints as decimal
      continue;
    }
    out += flags;
  }
  return out;
}
} // namespace

gcstring FormatMessage256V(const char* format, va_list args) {
  if (!format)
    return gcstring();
  char buffer[256];
  const gcstring portable = PortableFormat(format);
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
  const int n = std::vsnprintf(buffer, sizeof buffer, portable.c_str(), args);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
  if (n < 0)
    return gcstring();
  return gcstring(buffer);
}

gcstring FormatMessageV(const char* format, va_list args) {
  if (!format)
    return gcstring();
  const gcstring portable = PortableFormat(format);
  va_list copy;
  va_copy(copy, args);
  char small[512];
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
  const int n = std::vsnprintf(small, sizeof small, portable.c_str(), args);
  gcstring text;
  if (n >= 0 && static_cast<size_t>(n) < sizeof small) {
    text.assign(small, static_cast<size_t>(n));
  } else if (n >= 0) {
    text.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(&text[0], text.size(), portable.c_str(), copy);
    text.resize(static_cast<size_t>(n));
  }
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
  va_end(copy);
  return text;
}

gcstring FormatForeignText256(const char* text) {
  if (!text)
    return gcstring();
  gcstring out;
  for (const char* p = text; *p && out.size() < 255;) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    const char* start = p++;
    if (*p == '%') {
      out += *p++;
      continue;
    }
    // The directive's flags, width and precision as written; '*' would take an argument.
    gcstring directive = "%";
    bool readsArgument = false;
    while (*p && std::strchr("-+ #0123456789.*", *p)) {
      readsArgument = readsArgument || *p == '*';
      directive += *p++;
    }
    // Length modifiers, Windows' "I64"/"I32" among them, only say what the missing argument was.
    while (*p && std::strchr("hlLqjztI", *p)) {
      if (*p == 'I' && (std::strncmp(p, "I64", 3) == 0 || std::strncmp(p, "I32", 3) == 0))
        p += 2;
      ++p;
    }
    const char conversion = *p;
    char buffer[256];
    int n = -1;
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
    if (!readsArgument && conversion && std::strchr("diouxX", conversion))
      n = std::snprintf(buffer, sizeof buffer, (directive + "ll" + conversion).c_str(), 0LL);
    else if (!readsArgument && conversion && std::strchr("eEfFgGaA", conversion))
      n = std::snprintf(buffer, sizeof buffer, (directive + conversion).c_str(), 0.0);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    if (conversion)
      ++p;
    if (n >= 0)
      out.append(buffer, std::min<size_t>(static_cast<size_t>(n), sizeof buffer - 1));
    else
      out.append(start, static_cast<size_t>(p - start)); // harmless only as plain text
  }
  if (out.size() > 255)
    out.resize(255);
  return out;
}

gcstring FormatMessage256(const char* format, ...) {
  va_list args;
  va_start(args, format);
  gcstring text = FormatMessage256V(format, args);
  va_end(args);
  return text;
}

} // namespace GenICam
