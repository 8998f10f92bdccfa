#include "XmlCommand.h"

#include "CameraSession.h"
#include "DownloadProgressLine.h"
#include "DriverLogRoute.h"
#include "ToolError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace VorlaCl {

namespace {

// Writes all of `text` to `file` and flushes it; a failure names its cause as the system gives it.
void Write(std::FILE* file, const std::string& name, const Vorla::gcstring& text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fflush(file) != 0)
    throw CToolError(ExitFailure,
                     "Cannot write to " + name + ": " + std::strerror(errno ? errno : EIO));
}

} // namespace

int CXmlCommand::Run(CCameraSession& session, const std::string& output) {
  Vorla::IXmlFileProvider* provider = session.TransportLayer().GetXmlFileProvider();
  if (!provider)
    throw CToolError(ExitFailure, "The transport layer offers no camera descriptions.");
  Vorla::gcstring xml;
  CDriverLogRoute::Reset();
  {
    CDownloadProgressLine progress(stderr);
    const Vorla::CDeviceInfo& record = session.Record();
    if (!provider->IsXMLFileAvailable(record))
      throw CToolError(ExitFailure, "Camera '" + session.Name() + "' offers no description.");
    Vorla::gcstring fileName;
    provider->ProvideXMLFile(record, fileName, xml);
  }
  const char* source =
      CDriverLogRoute::DescriptionFromCache() ? "from the description cache" : "from the camera";
  if (output.empty()) {
    Write(stdout, "standard output", xml);
    return ExitSuccess;
  }
  std::FILE* file = std::fopen(output.c_str(), "wb");
  if (!file)
    throw CToolError(ExitFailure, "Cannot write '" + output + "': " + std::strerror(errno));
  try {
    Write(file, "'" + output + "'", xml);
  } catch (...) {
    std::fclose(file);
    throw;
  }
  if (std::fclose(file) != 0)
    throw CToolError(ExitFailure, "Cannot write '" + output + "': " + std::strerror(errno));
  std::printf("Saved the description of '%s' (%zu bytes, %s) to '%s'.\n", session.Name().c_str(),
              xml.size(), source, output.c_str());
  return ExitSuccess;
}

} // namespace VorlaCl
