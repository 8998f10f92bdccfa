#include "XmlCommand.h"

#include "CameraSession.h"
#include "DownloadProgressLine.h"
#include "ToolError.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace VorlaCl {

int CXmlCommand::Run(CCameraSession& session, const std::string& output) {
  Vorla::IXmlFileProvider* provider = session.TransportLayer().GetXmlFileProvider();
  if (!provider)
    throw CToolError(ExitFailure, "The transport layer offers no camera descriptions.");
  Vorla::gcstring xml;
  {
    CDownloadProgressLine progress(stderr);
    const Vorla::CDeviceInfo& record = session.Record();
    if (!provider->IsXMLFileAvailable(record))
      throw CToolError(ExitFailure, "Camera '" + session.Name() + "' offers no description.");
    Vorla::gcstring fileName;
    provider->ProvideXMLFile(record, fileName, xml);
  }
  if (output.empty()) {
    std::fwrite(xml.data(), 1, xml.size(), stdout);
    return ExitSuccess;
  }
  std::ofstream file(output, std::ios::binary | std::ios::trunc);
  if (file)
    file.write(xml.data(), static_cast<std::streamsize>(xml.size()));
  if (!file || !file.flush())
    throw CToolError(ExitFailure,
                     "Cannot write '" + output + "': " + std::string(std::strerror(errno)));
  std::printf("Saved the description of '%s' (%zu bytes) to '%s'.\n", session.Name().c_str(),
              xml.size(), output.c_str());
  return ExitSuccess;
}

} // namespace VorlaCl
